// The virtual camera's command line: reads the arguments, hands them to a command, returns its exit code.

#include "camera/cli/ProgramFrame.h"
#include "camera/cli/commands/Command.h"

int main(int argc, char** argv)
{
    return camera::cli::runProgram(argc, argv, camera::cli::performCommand);
}
