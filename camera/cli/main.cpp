// The virtual camera's command line: reads the arguments, hands them to a command, returns its exit code.

#include "camera/base/ProgramFrame.h"
#include "camera/cli/Command.h"

int main(int argc, char** argv)
{
    return camera::base::runProgram(argc, argv, camera::cli::performCommand);
}
