#pragma once

#include "camera/base/CommandLine.h"

#include <optional>
#include <string>
#include <vector>

namespace camera::base {

/// The camera that a run begins with.
struct CameraOptions {
    std::string stateDir;
    std::string plugin;               ///< empty: the one beside the program
    std::vector<std::string> engines; ///< engine modules; "none": not even those that the state folder remembers
    bool enginesRemembered = false;   ///< they come from the state folder; one that is gone is left out
    bool ptz = false;
    std::string model;   ///< a camera description: a name or a file; empty: the usual one
    std::string preset;  ///< empty: at none
    bool factory = true; ///< a new camera's engines get their factory configuration
};

/// A preset that a run begins with; degrees and magnification.
struct PlaceOption {
    std::string name;
    double pan = 0;
    double tilt = 0;
    double zoom = 1;
};

struct TourStopOption {
    std::string preset;
    double seconds = 5; ///< how long it stays
};

/// The input of a camera that has no frames: it answers questions only.
constexpr const char* kNoInput = "none";

struct RunOptions {
    CameraOptions camera;
    std::string input;
    std::vector<std::string> configFiles;
    std::vector<PlaceOption> places;
    std::vector<TourStopOption> tour; ///< started with the run; empty: none
    int width = 0;                    ///< of the picture that the plug-in gets; 0: chosen by the input
    int height = 0;
    int orientation = 0;
    long long frames = 0;    ///< 0: to the end
    bool loop = false;       ///< begin again at the end of the input
    bool oneshot = false;    ///< end with the input
    bool waitSource = false; ///< wait for an input that cannot be opened at the start
    bool realSpeed = true;
    std::optional<unsigned int> restarts; ///< after crashes; nothing: as usual
    int watchdogSeconds = 10;             ///< a process that is silent for so long hangs; 0: nobody watches
    int watchdogFramesSeconds = 0;        ///< a frame or an operation may take so long; 0: for ever
    std::string metadata;
    std::string overlay;
    std::string picture;
    bool json = false;  ///< what is printed is for programs
    bool quiet = false; ///< only errors are printed, and events for programs
};

/// The options of the pipeline process.
struct PipelineOptions {
    RunOptions run;
    std::string bus;                ///< the address of the bus
    std::string activity;           ///< the file that tells its supervisor what it does; empty: none
    bool again = false;             ///< started again after a crash
    bool temporaryState = false;    ///< the state folder is removed when the camera ends, for the summary
    std::vector<std::string> onvif; ///< where ONVIF clients begin, for the line that tells the start
    std::string counts;             ///< the file with what the processes of the run leave to each other; empty: none
};

/// Whether the run is to end by itself, with its input for instance: a crash is then no interruption but a failure.
bool isBatch(const RunOptions& options);

/// The commands `camera run` and camera-pipeline, which has some more options, without their functions.
Command runCommand();
Command pipelineCommand();

/// A file to be written as a picture or as a video, as the ending of its name says.
Value pictureValue();
Value videoValue();

/// The name or the numeric address of a host.
Value hostValue();

/// Adds -v and --log-format to a command, and gives the log of this process what they say.
Command& withLogOptions(Command& command);
void setLog(const Arguments& arguments);

/// What gives another program of the camera the level and the format of this process' log.
std::vector<std::string> logWords();

/// Reads the arguments. @throws UsageError when two of them exclude each other.
RunOptions runOptions(const Arguments& arguments);
PipelineOptions pipelineOptions(const Arguments& arguments);

} // namespace camera::base
