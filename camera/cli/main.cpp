// The virtual camera's command line.

#include "camera/base/ProgramFrame.h"
#include "camera/cli/Command.h"

int main(int argc, char** argv)
{
    return camera::base::runProgram(argc, argv, camera::cli::cameraProgram());
}
