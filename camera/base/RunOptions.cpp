#include "camera/base/RunOptions.h"

#include "camera/base/InputName.h"
#include "camera/base/Log.h"
#include "camera/base/SceneParameters.h"

#include <tuple>
#include <utility>

namespace camera::base {

namespace {

constexpr Option::Count kRepeatable = Option::Count::repeatable;

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

// NAME=PAN,TILT,ZOOM
PlaceOption placeOf(const std::string& what, const std::string& text)
{
    const std::size_t equals = text.rfind('=');
    const std::vector<std::string> numbers =
        equals == std::string::npos ? std::vector<std::string>() : split(text.substr(equals + 1), ',');
    if (equals == 0 || numbers.size() != 3) {
        throw UsageError(what + " takes NAME=PAN,TILT,ZOOM (degrees and magnification), not '" + text + "'.");
    }
    return {text.substr(0, equals), decimalNumber(what, numbers[0], -360, 360),
            decimalNumber(what, numbers[1], -90, 90), decimalNumber(what, numbers[2], 1, 100)};
}

// NAME[:SECONDS],...
std::vector<TourStopOption> tourOf(const std::string& what, const std::string& text)
{
    std::vector<TourStopOption> stops;
    for (const std::string& part : split(text, ',')) {
        const std::size_t colon = part.rfind(':');
        TourStopOption stop{part.substr(0, colon)};
        if (stop.preset.empty()) {
            throw UsageError(what + " takes NAME[:SECONDS],..., not '" + text + "'.");
        }
        if (colon != std::string::npos) {
            stop.seconds = decimalNumber(what, part.substr(colon + 1), 0, 86400);
        }
        stops.push_back(std::move(stop));
    }
    return stops;
}

std::pair<int, int> sizeOf(const std::string& what, const std::string& text)
{
    const std::vector<std::string> parts = split(text, 'x');
    if (parts.size() != 2) {
        throw UsageError(what + " takes WIDTHxHEIGHT, 1280x720 for instance, not '" + text + "'.");
    }
    const auto width = static_cast<int>(wholeNumber(what, parts[0], 16, 8192));
    const auto height = static_cast<int>(wholeNumber(what, parts[1], 16, 8192));
    if (width % 2 != 0 || height % 2 != 0) {
        throw UsageError(what + " takes even numbers, not '" + text + "'.");
    }
    return {width, height};
}

// A value that a function above reads.
template <class Read>
Value readBy(const Read& read, const std::string& name)
{
    Value value{name};
    value.check = [read](const std::string& what, const std::string& text) { read(what, text); };
    return value;
}

Value inputValue()
{
    Value value{"INPUT", Offer::files};
    value.check = [](const std::string& /*what*/, const std::string& text) {
        try {
            if (isSceneUrl(text)) {
                parseSceneParameters(text);
            }
            if ((text.compare(0, 5, "pipe:") == 0 && !isStandardInput(text)) || pathOfInput(text).empty()) {
                throw UsageError("cannot read '" + text + "'; of pipes - or pipe:0 is read, of files file:PATH.");
            }
        } catch (const std::exception& error) {
            throw UsageError(error.what());
        }
    };
    return value;
}

Command videoCommand(const std::string& name, const std::string& summary)
{
    Command command(name, summary);
    command.takes(inputValue(), "a video file, a URL (rtsp://...), a video device (/dev/video0), a generated scene "
                                "(scene:name=value,...), or - for the standard input; a name that begins like one of "
                                "these is a file behind file:");
    command.option("--config", {"FILE.xml", Offer::files}, "store this configuration at the start", kRepeatable);
    command.flag("--no-factory", "a new camera begins without the modules of the factory configuration");
    command.option("--orientation", choiceValue("DEGREES", {"0", "90", "180", "270"}),
                   "how the camera is mounted, in degrees");
    command.option("--frames", wholeValue("N", 1, 1000000000000), "end after N frames");
    command.option("--speed", choiceValue("SPEED", {"real", "max"}),
                   "as fast as the video, or as fast as possible; without it real");
    command.flag("--loop", "begin again at the end of the input; at real speed this is the default");
    command.flag("--oneshot", "end with the input; at full speed this is the default");
    command.flag("--wait-source", "wait for an input that cannot be opened at the start, instead of ending with 1");
    command.option("--size", readBy(sizeOf, "WxH"),
                   "the size of the picture for the plug-in; without it chosen by the input");
    command.option("--place", readBy(placeOf, "NAME=PAN,TILT,ZOOM"),
                   "a preset of a PTZ camera, in degrees and magnification", kRepeatable);
    command.option("--tour", readBy(tourOf, "NAME[:SECONDS],..."), "start a tour of these presets");
    command.option("--metadata", outputValue("FILE.xml", {".xml"}), "write the metadata documents");
    command.option("--overlay", videoValue(), "write the video with what the engines see");
    command.option("--picture", pictureValue(), "write the frame with the most to see");
    command.option("--state", {"DIR", Offer::folders}, "keep settings in this folder over restarts");
    command.flag("--ptz", "a PTZ camera instead of a fixed one");
    command.option("--model", {"NAME|FILE.json", Offer::models}, "the model of a PTZ camera");
    command.option("--preset", {"NAME"}, "a PTZ camera that stands at this preset at the start");
    command.option("--plugin", {"PATH", Offer::files}, "the plug-in, if not the one beside the program");
    command.option("--engine", {"PATH.so", Offer::files},
                   "load an engine module; none: forget those that the state folder remembers", kRepeatable);
    command.flag("--json", kJsonHelp);
    command.flag("--quiet", "print nothing but errors, and with --json the events");
    withLogOptions(command);
    command.details = "A generated scene has:\n" + sceneHelp();
    return command;
}

void withNetworkOptions(Command& command)
{
    command.option("--http", wholeValue("PORT", 0, 65535),
                   "serve ONVIF clients on this port, 0: on any; without it on the first free one from 8080 to 8099, "
                   "and not at all with --speed max, --oneshot or --frames");
    command.option("--https", wholeValue("PORT", 0, 65535), "serve them with TLS, too, on this port, 0: on any");
    command.option("--bind", {"ADDRESS"},
                   "the address of this computer on which they are served; without it 127.0.0.1, for programs on this "
                   "computer only; 0.0.0.0: for all that reach it");
    command.option("--advertise-host", hostValue(),
                   "where ONVIF discovery tells others to reach the camera, a name or an address; without it the "
                   "address of their link");
    command.flag("--no-discovery", "do not let others on the network find the camera by themselves");
    command.flag("--no-network", "serve no ONVIF clients");
    command.option("--users", {"FILE", Offer::files},
                   "only these users may log in: lines NAME:LEVEL:PASSWORD, where the level is administrator, operator "
                   "or user; -: from the standard input; without it those that the state folder keeps, at first admin "
                   "with a password that is made");
    command.option("--user", {"NAME:PASSWORD:LEVEL"},
                   "only this user may log in, and others that are given; for tests: everybody on this computer can "
                   "read the password in the list of processes",
                   kRepeatable);
}

} // namespace

Command runCommand()
{
    Command command = videoCommand("run", "Runs a camera whose picture is INPUT until Ctrl-C.");
    command.option("--restarts", wholeValue("N", 0, 1000000),
                   "start the pipeline again after N crashes at most; without it 0 with --speed max, --oneshot or "
                   "--frames, else 2 before the first frame; later crashes of such a run have no limit");
    command.option("--watchdog", wholeValue("SECONDS", 0, 86400),
                   "tell and restart a process that does not answer for so long, tell an engine that takes so long; "
                   "without it 10, 0: never");
    command.option("--watchdog-frames", wholeValue("SECONDS", 1, 86400),
                   "restart the pipeline when a frame or an operation of an engine takes so long");
    withNetworkOptions(command);
    return command;
}

Command pipelineCommand()
{
    Command command =
        videoCommand("", "Runs the plug-in of a virtual camera on a video; camera run starts this process.");
    command.option("--bus", {"ADDRESS"}, "the camera's bus; camera run starts one and gives its address",
                   Option::Count::required);
    command.flag("--temporary-state", "the state folder is removed when the camera ends");
    command.flag("--again", "started again after a crash: the tour is told when it cannot start, and no more");
    command.option("--onvif", {"ADDRESS"}, "tell at the start that ONVIF clients begin there", kRepeatable);
    command.option("--activity", {"FILE", Offer::files}, "tell the process that started this one what is being done");
    command.option("--counts", {"FILE", Offer::files}, "what a process that dies leaves to the next one of this run");
    return command;
}

Value pictureValue()
{
    return outputValue("FILE.png|FILE.jpg", {".png", ".jpg", ".jpeg"});
}

Value videoValue()
{
    return outputValue("FILE.mp4", {".mp4"});
}

Command& withLogOptions(Command& command)
{
    return command.flag("-v", "log more; -vv: log everything")
        .option("--log-format", choiceValue("FORMAT", {"text", "json"}),
                "json: print errors and log as one JSON object a line; without it text");
}

void setLog(const Arguments& arguments)
{
    Log::instance().setLevel(levelOfVerbosity(static_cast<int>(arguments.count("-v"))));
    Log::instance().setFormat(arguments.text("--log-format") == "json" ? LogFormat::json : LogFormat::text);
}

std::vector<std::string> logWords()
{
    std::vector<std::string> words(static_cast<std::size_t>(verbosityOf(Log::instance().level())), "-v");
    if (Log::instance().format() == LogFormat::json) {
        words.emplace_back("--log-format=json");
    }
    return words;
}

RunOptions runOptions(const Arguments& arguments)
{
    if (arguments.has("--loop") && arguments.has("--oneshot")) {
        throw UsageError("camera run: --loop and --oneshot exclude each other; keep one of them.");
    }
    RunOptions options;
    CameraOptions& camera = options.camera;
    camera.stateDir = arguments.text("--state");
    camera.plugin = arguments.text("--plugin");
    camera.engines = arguments.all("--engine");
    camera.model = arguments.text("--model");
    camera.preset = arguments.text("--preset");
    camera.factory = !arguments.has("--no-factory");
    // Only a camera that can move has a model, stands at a preset, or has places and tours.
    for (const char* name : {"--ptz", "--model", "--preset", "--place", "--tour"}) {
        camera.ptz = camera.ptz || arguments.has(name);
    }
    options.input = arguments.text("INPUT");
    options.configFiles = arguments.all("--config");
    for (const std::string& place : arguments.all("--place")) {
        options.places.push_back(placeOf("--place", place));
    }
    if (arguments.has("--tour")) {
        options.tour = tourOf("--tour", arguments.text("--tour"));
    }
    if (arguments.has("--size")) {
        std::tie(options.width, options.height) = sizeOf("--size", arguments.text("--size"));
    }
    options.orientation = static_cast<int>(arguments.whole("--orientation"));
    options.frames = arguments.whole("--frames");
    options.realSpeed = arguments.text("--speed") != "max";
    options.oneshot = arguments.has("--oneshot");
    options.waitSource = arguments.has("--wait-source");
    options.loop = arguments.has("--loop") || (options.realSpeed && !options.oneshot);
    if (arguments.has("--restarts")) {
        options.restarts = static_cast<unsigned int>(arguments.whole("--restarts"));
    }
    options.watchdogSeconds = static_cast<int>(arguments.whole("--watchdog", options.watchdogSeconds));
    options.watchdogFramesSeconds = static_cast<int>(arguments.whole("--watchdog-frames"));
    options.metadata = arguments.text("--metadata");
    options.overlay = arguments.text("--overlay");
    options.picture = arguments.text("--picture");
    options.json = arguments.has("--json");
    options.quiet = arguments.has("--quiet");
    return options;
}

PipelineOptions pipelineOptions(const Arguments& arguments)
{
    return {runOptions(arguments),
            arguments.text("--bus"),
            arguments.text("--activity"),
            arguments.has("--again"),
            arguments.has("--temporary-state"),
            arguments.all("--onvif"),
            arguments.text("--counts")};
}

bool isBatch(const RunOptions& options)
{
    return isReadOnce(options.input) || !options.realSpeed || options.oneshot || options.frames != 0;
}

Value hostValue()
{
    return {"HOST", Offer::nothing, {}, [](const std::string& what, const std::string& text) {
                constexpr const char* kOfHosts = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-.:";
                constexpr std::size_t kLongest = 253;
                if (text.size() > kLongest || text.find_first_not_of(kOfHosts) != std::string::npos) {
                    throw UsageError(what + " takes the name or the address of a host, not '" + text + "'.");
                }
            }};
}

} // namespace camera::base
