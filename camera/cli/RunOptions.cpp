#include "camera/cli/RunOptions.h"

#include "camera/cli/CameraOptions.h"
#include "camera/cli/OptionTable.h"
#include "camera/video/SceneParameters.h"

namespace camera::cli {

namespace {

const std::string kCommand = "camera run";

void setOrientation(RunOptions& options, const std::string& text)
{
    if (text != "0" && text != "90" && text != "180" && text != "270") {
        throw UsageError("--orientation takes 0, 90, 180 or 270, not '" + text + "'.");
    }
    options.orientation = std::stoi(text);
}

void setSpeed(RunOptions& options, const std::string& text)
{
    if (text != "real" && text != "max") {
        throw UsageError("--speed takes real or max, not '" + text + "'.");
    }
    options.realSpeed = text == "real";
}

OptionTable makeTable(RunOptions& options)
{
    OptionTable table(kCommand);
    table.list("--config", "FILE.xml", "give the camera this configuration", options.configFiles);
    table.value("--orientation", "0|90|180|270", "how the camera is mounted, degrees",
                [&options](const std::string& text) { setOrientation(options, text); });
    table.value("--frames", "N", "end after N frames", [&options](const std::string& text) {
        options.frames = wholeNumber("--frames", text, 1, 1000000000000);
    });
    table.value("--speed", "real|max", "as fast as the video, or as fast as it goes; real without it",
                [&options](const std::string& text) { setSpeed(options, text); });
    table.flag("--loop", "begin again at the end of the input", [&options] { options.loop = true; });
    table.text("--metadata", "FILE", "write the metadata documents", options.metadata);
    table.text("--overlay", "FILE.mp4", "write the video with what the engines see", options.overlay);
    table.text("--picture", "FILE.png", "write the frame with the most to see", options.picture);
    addCameraOptions(table, options.camera, options.help);
    return table;
}

} // namespace

RunOptions parseRun(const std::vector<std::string>& arguments)
{
    RunOptions options;
    const std::vector<std::string> rest = makeTable(options).parse(arguments);
    if (options.help) {
        return options;
    }
    if (rest.empty()) {
        throw UsageError(kCommand + ": the input is missing; name a video file, a URL, or scene: for a generated "
                                    "scene.");
    }
    if (rest.size() > 1) {
        throw UsageError(kCommand + ": there is one input, '" + rest[0] + "' and '" + rest[1] + "' are two.");
    }
    options.input = rest[0];
    settle(options.camera);
    return options;
}

std::string runHelp()
{
    RunOptions options;
    return "usage: camera run INPUT [OPTION]...\n\n"
           "Runs a camera whose picture is INPUT: a video file, a URL (rtsp://...), a video device (/dev/video0),\n"
           "or a generated scene (scene:name=value,...). Ctrl-C ends it.\n\n" +
           makeTable(options).help() + "\nA generated scene has:\n" + video::sceneHelp();
}

} // namespace camera::cli
