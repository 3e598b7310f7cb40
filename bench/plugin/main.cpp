#include "bench/plugin/Rows.h"

int main(int argc, char** argv)
{
    const bench::Pairs pairs(argc, argv);
    bench::compareFramePath(pairs);
    bench::compareIntake(pairs);
    bench::compareStartUp(pairs);
}
