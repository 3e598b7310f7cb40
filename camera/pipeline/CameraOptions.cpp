#include "camera/pipeline/CameraOptions.h"

namespace camera::pipeline {

void addCameraOptions(base::OptionTable& table, CameraOptions& options, bool& help)
{
    table.text("--state", "DIR", "keep settings here, over restarts", options.stateDir);
    table.flag("--ptz", "a PTZ camera instead of a fixed one", [&options] { options.ptz = true; });
    table.text("--model", "NAME|FILE.json", "the model of a PTZ camera", options.model);
    table.text("--preset", "NAME", "a PTZ camera that stands at this preset", options.preset);
    table.text("--plugin", "PATH", "the plug-in, if not the one beside the program", options.plugin);
    table.list("--engine", "PATH.so", "load an engine module; none: forget those that the state folder remembers", options.engines);
    table.flag("-v", "say more, twice: everything", [&options] { ++options.verbosity; });
    table.flag("-h", "this text", [&help] { help = true; });
    table.flag("--help", "this text", [&help] { help = true; });
}

void settle(CameraOptions& options)
{
    // Only a camera that can move stands at a preset.
    options.ptz = options.ptz || !options.preset.empty() || !options.model.empty();
}

} // namespace camera::pipeline
