#pragma once

#include "camera/base/Subscribers.h"
#include "camera/pipeline/ActiveRules.h"
#include "camera/pipeline/DeviceOptions.h"
#include "camera/pipeline/FrameResult.h"
#include "camera/pipeline/TargetClient.h"
#include "camera/serviceapi/EventBus.h"
#include "camera/video/Frame.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace camera::framework {
class EngineFactory;
}
namespace camera::ptz {
class PositioningUnit;
}
namespace camera::serviceapi {
class ControlThread;
class ServiceApi;
} // namespace camera::serviceapi

namespace camera::pipeline {

/// Counters since the device was built.
struct Statistics {
    std::uint64_t frames = 0;           ///< delivered to the plug-in
    std::uint64_t framesFailed = 0;     ///< of those, left the plug-in with an exception
    std::uint64_t events = 0;           ///< raised by engines
    std::uint64_t eventsDropped = 0;    ///< of those, lost to a full queue
    std::uint64_t documents = 0;        ///< metadata documents sent by the plug-in
    std::uint64_t documentsWritten = 0; ///< of those, written to the metadata file
    std::uint64_t documentsDropped = 0; ///< of those, lost to a full queue or a failing file
    std::uint64_t controlFailures = 0;  ///< callbacks on the control thread that threw
    std::string metadataError;          ///< why the metadata file is incomplete; empty when it is not
};

/**
 * One virtual camera in this process: the plug-in, loaded and built, and everything it calls.
 *
 * The plug-in reaches its host through process-wide functions, so one Device lives at a time; a
 * second one is refused.
 *
 * Threads: deliver() belongs to one frame thread; everything else may be called from any thread. Target operations,
 * positioning and service callbacks, the plug-in's construction and its destruction run on the device's control thread,
 * one at a time.
 *
 * XML: destroying the plug-in cleans up libxml2's process-wide state. Close every demuxer and have no
 * other use of that library in the process before shutdown() or the destructor.
 */
class Device {
public:
    /**
     * Takes the state folder's lock, opens the settings, loads the plug-in, builds it on the control
     * thread and connects its output. A camera that stands at a preset reports it as reached last.
     *
     * @throws std::invalid_argument for options that do not fit together,
     * @throws std::runtime_error with one sentence that says what, where and what to do: another
     *         process holds the state folder, the folder or the metadata file is not writable, the
     *         plug-in is missing, is no library, needs something that this program lacks, registers no
     *         "DetectionPlugin", or failed to build. Nothing is left behind.
     */
    explicit Device(DeviceOptions options);

    /// As shutdown().
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /**
     * Hands one frame to the plug-in and returns when it has been analysed.
     *
     * A frame that leaves the plug-in with an exception is logged and counted; the next one may be delivered.
     * Thread: the frame thread. The plug-in works on its own reference to the pixels.
     */
    FrameResult deliver(const video::Frame& frame);

    /// The analytics service target; valid as long as the device.
    TargetClient& target();

    /// Called for each analytics event, on the event thread, in order.
    [[nodiscard]] serviceapi::EventBus::Subscription onEvent(serviceapi::EventBus::Listener listener);

    /// The rules or modules of the analytics configuration are others now.
    struct ConfigurationChange {};

    /// Called on the control thread, after the task that changed them; several changes of one task are told once. The
    /// events of properties whose rules went were raised before.
    [[nodiscard]] base::Subscription onConfigurationChange(std::function<void(const ConfigurationChange&)> listener);

    /// The last event of each property, see LiveProperties.
    std::vector<base::Event> liveProperties() const;

    /// When it was built.
    std::chrono::system_clock::time_point startTime() const;

    /// Returns when everything posted to the control thread, every raised event and every sent
    /// document has been dealt with. Not from a callback.
    void drain();

    Statistics statistics() const;

    /**
     * Ends the device in order: no frame, request or event is accepted any more and those running are
     * waited for; the plug-in is destroyed on the control thread; what it left registered is
     * discarded; events and documents on their way are delivered. The state folder stays locked until
     * the destructor. Idempotent; not from a callback. No exception leaves it.
     */
    void shutdown();

    /// What is known of the engines, also after shutdown().
    const framework::EngineFactory& engines() const;

    /// What every engine evaluates. @throws std::runtime_error after shutdown(), and what an engine throws.
    std::vector<ActiveRules> activeRules();

    ptz::PositioningUnit& positioning();
    serviceapi::ServiceApi& serviceApi(); ///< settings, device services
    serviceapi::ControlThread& control();

private:
    class Impl;
    std::unique_ptr<Impl> _impl;
};

} // namespace camera::pipeline
