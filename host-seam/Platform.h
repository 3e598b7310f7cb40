#pragma once

#include "korva/meridan/Buffer.h"
#include "korva/meridan/PluginManager.h"
#include "korva/meridan/PositioningManager.h"
#include "plugin/analytics/IAnalyticsPtz.h"
#include "plugin/analytics/IOnvifAnalytics.h"
#include "ravel/day_night.h"
#include "ravel/rotate.h"
#include "ravel/window_blanking.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class RavelApiAnalyticsTargetImplBase;

namespace host_seam {

/// The positioning unit. By default a camera that cannot move. An output is written whatever the answer is, unless
/// a flag says that it is not.
struct Positioning {
    struct Location {
        unsigned int pan = 0;
        int tilt = 0;
        unsigned int zoom = 0;
    };

    template <typename Callback>
    using Registrations = std::vector<std::pair<Callback, void*>>;

    using Manager = korva::meridan::PositioningManager;

    bool available = false;
    bool journalAvailability = false; ///< whether isAvailable shows in the journal

    bool positionKnown = true; ///< what the query answers
    bool writesPosition = true;
    Location position;
    unsigned int angleOfView = 0;

    bool infoResult = true; ///< what the queries of limits and sensor dimensions answer
    bool writesAngleLimits = true;
    unsigned int angleLimits[2] = {0, 0};
    bool writesFocalLimits = true;
    unsigned int focalLimits[2] = {0, 0};
    bool writesSensorDimensions = true;
    unsigned int sensorDimensions[2] = {0, 0};

    bool startResult = true;
    bool stopResult = true;
    bool zoomResult = true;
    bool goToResult = true;
    std::map<std::string, Location> presets;   ///< what getPresetLocation knows
    Location unknownPreset = {777, -777, 777}; ///< what it writes for any other
    std::string activePreset;

    Registrations<Manager::MotionStateCallback> motionState;
    Registrations<Manager::CommandPriorityCallback> commandPriority;
    Registrations<Manager::PresetStateCallback> presetState;
    Registrations<Manager::PresetModifiedCallback> presetModified;
    Registrations<Manager::TourStateCallback> tourState;

    /// Each event goes to every callback. What the plug-in has no use for (position, flags, user, tour, index) is
    /// another of `variants` with every event, beginning with number `variant`.
    static constexpr unsigned int kVariants = 3;
    unsigned int variant = 0;
    void fireMotionState(bool moving);
    void fireCommandPriority(unsigned int priority);
    void firePresetState(int state, const std::string& presetName);
    void firePresetModified(const std::string& presetName, bool created, bool changed, bool removed);
    void fireTourState(int state, int stopType);
};

/// The transmitter: memory that it hands out and takes back.
struct Transmitter {
    std::uint32_t maxBufferSize = 1000;
    std::uint32_t sizeStep = 0; ///< what maxBufferSize grows by with each question
    bool givesDrawing = true;   ///< false: gives null
    bool givesMotion = true;
    std::vector<std::uint8_t> drawing = std::vector<std::uint8_t>(16000);
    std::vector<std::uint8_t> motion = std::vector<std::uint8_t>(1000);
    int drawingGiven = 0;
    int motionGiven = 0;
    std::vector<unsigned int> drawingReturned;
    std::vector<unsigned int> motionReturned;

    /// Buffers that never came back.
    int notReturned() const;
};

/// The logging service. A line on a handle that is not open is journaled as dropped.
struct Logging {
    bool rendersAlways = false; ///< also without a journal, so that a wrong pointer among the arguments is found
    ravel_core_status initStatus = 0;
    bool initWritesHandle = true;
    void* initHandle = nullptr;       ///< what the last init wrote
    std::vector<void*> closedHandles; ///< in order of closing
};

/// The settings store and the device's configuration values.
struct Settings {
    std::map<std::string, std::string> documents;
    bool keepsDocuments = true; ///< false: a document that is set is taken and forgotten
    std::map<std::string, std::string> defaults;
    ravel_core_status setDefaultStatus = 0;
    ravel_core_status getStatus = 0;
    ravel_core_status setStatus = 0;
    std::vector<std::string> written; ///< every document given to settingsSetJson while the journal records
    unsigned long writes = 0;         ///< documents that were stored
    std::map<std::string, int> values;
    ravel_core_status missingValueStatus = 2;

    /// The document stored for the analytics configuration.
    std::string& analytics() { return documents["OnvifAnalytics"]; }
};

/// One device service that reports by a handler. Queries write their outputs also when they fail.
template <typename Handler>
struct DeviceService {
    ravel_core_status initStatus = 0;
    bool initWritesCookie = true; ///< a failed init may still leave a handle behind
    ravel_core_status registerStatus = 0;
    ravel_core_status queryStatus = 0;
    int connections = 0; ///< opened and not closed again
    std::vector<std::pair<Handler, void*>> handlers;

    /// Each event names another target, once none.
    unsigned int variant = 0;

    template <typename Value>
    void fire(Value value)
    {
        static constexpr const char* kTargets[] = {"target", nullptr, ""};
        const char* const target = kTargets[variant++ % 3];
        const auto registered = handlers;
        for (const auto& [handler, context] : registered) {
            handler(value, target, context);
        }
    }
};

struct DayNight : DeviceService<ravel_api_day_night_movement_change_handler> {};

struct WindowBlanking : DeviceService<ravel_api_window_blanking_settings_changed_handler> {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t enable = 0;
    ravel_core_status enableStatus = 0; ///< queryStatus is the colour's
};

struct Rotation : DeviceService<ravel_api_rotate_orientation_changed_handler> {
    std::uint32_t angle = 0; ///< written even when the query fails
};

/// The metadata streamer.
struct MetadataStreamer {
    struct Sent {
        std::uint64_t cookie;
        std::string targetId;
        std::string xml;
        int flag;
    };

    ravel_core_status initStatus = 0;
    std::uint64_t cookie = 77; ///< what a successful init writes
    bool failedInitWritesCookie = false;
    ravel_core_status sendStatus = 0;
    std::vector<Sent> sent; ///< while the journal records
};

/// What the service runner and the framework were given.
struct Framework {
    struct Served {
        std::string serviceName;
        void* logHandle;
        RavelApiAnalyticsTargetImplBase* target;
        const void* runner;
    };

    std::vector<Served> serving; ///< targets that are served now
    ravel_core_status sendEventStatus = 0;
    const void* filterConfiguration = nullptr; ///< what the filter base was last built from
    std::vector<std::unique_ptr<korva::meridan::Buffer>> pushed;
};

/// What the engine factory gives and was given.
struct EngineLibrary {
    std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> engines;
    bool keepsPtz = true;
    std::shared_ptr<analytics_lib::IAnalyticsPtz> ptz;
    std::weak_ptr<analytics_lib::IAnalyticsPtz> ptzSeen;
    void* logContext = nullptr;
    /// Is told of every image that a rotation made, which the plug-in frees.
    std::function<void(void* image)> imageMade;
};

/**
 * Everything around the plug-in, one per process: what the symbols of the seam answer, and what they were given.
 *
 * It is set up before the plug-in runs. Only the journal, the log handles and the events that are sent may be reached
 * from several threads. With the journal switched off, which it is at first, and nothing in `before` a call costs no
 * more than its answer and allocates nothing on the frame path.
 */
struct Platform {
    Positioning positioning;
    Transmitter transmitter;
    Logging logging;
    Settings settings;
    DayNight dayNight;
    WindowBlanking windowBlanking;
    Rotation rotation;
    MetadataStreamer streamer;
    Framework framework;
    EngineLibrary engineLibrary;

    /// Target ids by service; a service that is not listed is unknown.
    std::map<std::string, std::vector<std::string>> targetIds;
    bool lookUpsFail = false; ///< the ids are written all the same

    /// Runs before the call of that name takes effect: to throw anything, to call back into the plug-in or to look
    /// around. Names are those of the journal up to the first blank or bracket, "getTargetIds <service>", or "log".
    /// What a frame calls looks here only while the journal records.
    std::map<std::string, std::function<void()>, std::less<>> before;

    /// A log handle that is open from the start, for objects that are built without the plug-in.
    static void* logHandle();

    /// Lets all four device services exist.
    void offerAllServices();

    void reached(std::string_view call) const
    {
        if (!before.empty()) {
            runBefore(call);
        }
    }

    /// Back to defaults: an empty journal, no service, a camera that cannot move. Factories stay recorded.
    void reset();

private:
    void runBefore(std::string_view call) const;
};

inline Platform& platform()
{
    static auto* const thePlatform = new Platform; // outlives every static object of a loaded module
    return *thePlatform;
}

/// Every factory that a module registered since the process began.
std::vector<std::pair<std::string, korva::meridan::PluginManager::Factory>>& pluginFactories();

} // namespace host_seam
