#include "camera/pipeline/RunOptions.h"

#include "camera/base/OptionTable.h"
#include "camera/pipeline/CameraOptions.h"
#include "camera/video/SceneParameters.h"

#include <cstdlib>
#include <sstream>
#include <utility>

namespace camera::pipeline {

namespace {

const std::string kCommand = "camera run";

void setOrientation(RunOptions& options, const std::string& text)
{
    if (text != "0" && text != "90" && text != "180" && text != "270") {
        throw base::UsageError("--orientation takes 0, 90, 180 or 270, not '" + text + "'.");
    }
    options.orientation = std::stoi(text);
    options.orientationGiven = true;
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    while (true) {
        const std::size_t end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string::npos) {
            return parts;
        }
        begin = end + 1;
    }
}

double number(const std::string& option, const std::string& text, double lowest, double highest)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value >= lowest && value <= highest)) {
        std::ostringstream range;
        range << lowest << " to " << highest;
        throw base::UsageError(option + ": '" + text + "' is no number from " + range.str() + ".");
    }
    return value;
}

// NAME=PAN,TILT,ZOOM
void addPlace(RunOptions& options, const std::string& text)
{
    const std::string option = "--place";
    const std::size_t equals = text.rfind('=');
    const std::vector<std::string> numbers =
        equals == std::string::npos ? std::vector<std::string>() : split(text.substr(equals + 1), ',');
    if (equals == 0 || numbers.size() != 3) {
        throw base::UsageError(option + " takes NAME=PAN,TILT,ZOOM (degrees and magnification), not '" + text + "'.");
    }
    options.places.push_back({text.substr(0, equals), number(option, numbers[0], -360, 360),
                              number(option, numbers[1], -90, 90), number(option, numbers[2], 1, 100)});
}

// NAME[:SECONDS],...
void setTour(RunOptions& options, const std::string& text)
{
    for (const std::string& part : split(text, ',')) {
        const std::size_t colon = part.rfind(':');
        TourStopOption stop{part.substr(0, colon)};
        if (stop.preset.empty()) {
            throw base::UsageError("--tour takes NAME[:SECONDS],..., not '" + text + "'.");
        }
        if (colon != std::string::npos) {
            stop.seconds = number("--tour", part.substr(colon + 1), 0, 86400);
        }
        options.tour.push_back(std::move(stop));
    }
}

void setSize(RunOptions& options, const std::string& text)
{
    const std::vector<std::string> parts = split(text, 'x');
    if (parts.size() != 2) {
        throw base::UsageError("--size takes WIDTHxHEIGHT, 1280x720 for instance, not '" + text + "'.");
    }
    options.width = static_cast<int>(base::wholeNumber("--size", parts[0], 16, 8192));
    options.height = static_cast<int>(base::wholeNumber("--size", parts[1], 16, 8192));
    if (options.width % 2 != 0 || options.height % 2 != 0) {
        throw base::UsageError("--size takes even numbers, not '" + text + "'.");
    }
}

void setSpeed(RunOptions& options, const std::string& text)
{
    if (text != "real" && text != "max") {
        throw base::UsageError("--speed takes real or max, not '" + text + "'.");
    }
    options.realSpeed = text == "real";
}

base::OptionTable makeTable(RunOptions& options)
{
    base::OptionTable table(kCommand);
    table.list("--config", "FILE.xml", "give the camera this configuration", options.configFiles);
    table.value("--orientation", "0|90|180|270", "how the camera is mounted, degrees",
                [&options](const std::string& text) { setOrientation(options, text); });
    table.value("--frames", "N", "end after N frames", [&options](const std::string& text) {
        options.frames = base::wholeNumber("--frames", text, 1, 1000000000000);
    });
    table.value("--speed", "real|max", "as fast as the video, or as fast as it goes; real without it",
                [&options](const std::string& text) { setSpeed(options, text); });
    table.flag("--loop", "begin again at the end of the input, as a run at real speed does anyway",
               [&options] { options.loop = true; });
    table.flag("--oneshot", "end with the input, as a run at full speed does anyway",
               [&options] { options.oneshot = true; });
    table.value("--size", "WxH", "the picture that the plug-in gets; what suits the input without it",
                [&options](const std::string& text) { setSize(options, text); });
    table.repeated("--place", "NAME=PAN,TILT,ZOOM", "a preset of a PTZ camera, degrees and magnification",
                   [&options](const std::string& text) { addPlace(options, text); });
    table.value("--tour", "NAME[:SECONDS],...", "begin with a tour of these presets",
                [&options](const std::string& text) { setTour(options, text); });
    table.text("--metadata", "FILE", "write the metadata documents", options.metadata);
    table.text("--overlay", "FILE.mp4", "write the video with what the engines see", options.overlay);
    table.text("--picture", "FILE.png", "write the frame with the most to see", options.picture);
    addCameraOptions(table, options.camera, options.help);
    return table;
}

// What the options say together, once the table has read them.
void settleRun(RunOptions& options, const std::vector<std::string>& rest)
{
    if (rest.empty()) {
        throw base::UsageError(kCommand + ": the input is missing; name a video file, a URL, or scene: for a generated "
                                          "scene.");
    }
    if (rest.size() > 1) {
        throw base::UsageError(kCommand + ": there is one input, '" + rest[0] + "' and '" + rest[1] + "' are two.");
    }
    options.input = rest[0];
    if (options.loop && options.oneshot) {
        throw base::UsageError(kCommand + ": --loop and --oneshot exclude each other; keep one of them.");
    }
    options.loop = options.loop || (options.realSpeed && !options.oneshot);
    settle(options.camera);
    options.camera.ptz = options.camera.ptz || !options.places.empty() || !options.tour.empty();
}

base::OptionTable pipelineTable(PipelineOptions& options)
{
    base::OptionTable table = makeTable(options.run);
    table.text("--bus", "ADDRESS", "the camera's bus", options.bus);
    table.flag("--temporary-state", "the state folder will be removed", [&options] { options.temporaryState = true; });
    return table;
}

} // namespace

RunOptions parseRun(const std::vector<std::string>& arguments)
{
    RunOptions options;
    const std::vector<std::string> rest = makeTable(options).parse(arguments);
    if (!options.help) {
        settleRun(options, rest);
    }
    return options;
}

PipelineOptions parsePipeline(const std::vector<std::string>& arguments)
{
    PipelineOptions options;
    const std::vector<std::string> rest = pipelineTable(options).parse(arguments);
    if (!options.run.help) {
        settleRun(options.run, rest);
        if (options.bus.empty()) {
            throw base::UsageError("camera-pipeline: --bus is missing; camera run starts a bus and gives its address.");
        }
    }
    return options;
}

std::string pipelineHelp()
{
    PipelineOptions options;
    return "usage: camera-pipeline INPUT [OPTION]...\n\n"
           "The process of a virtual camera that has the plug-in. camera run starts it, with everything around "
           "it.\n\n" +
           pipelineTable(options).help();
}

std::string runHelp()
{
    RunOptions options;
    return "usage: camera run INPUT [OPTION]...\n\n"
           "Runs a camera whose picture is INPUT: a video file, a URL (rtsp://...), a video device (/dev/video0),\n"
           "or a generated scene (scene:name=value,...). Ctrl-C ends it.\n\n" +
           makeTable(options).help() + "\nA generated scene has:\n" + video::sceneHelp();
}

} // namespace camera::pipeline
