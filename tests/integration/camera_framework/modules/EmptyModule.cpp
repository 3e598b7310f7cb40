// A shared library that is no engine module.
extern "C" __attribute__((visibility("default"))) int nothingOfInterest()
{
    return 0;
}
