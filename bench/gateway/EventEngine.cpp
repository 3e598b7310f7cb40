// An engine that raises events when it is told to: for each line of the named pipe in BENCH_EVENTS, which is a number,
// so many at once. Each carries the time of its raising, in nanoseconds of the steady clock.
#include "camera/kit/EngineModule.h"
#include "kit/FakeEngine.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

namespace {

class EventEngine final : public kit::FakeEngine {
public:
    EventEngine() : FakeEngine("Event"), _pipe(std::getenv("BENCH_EVENTS")), _thread([this] { raiseAsTold(); }) {}
    ~EventEngine() override
    {
        std::ofstream(_pipe) << "0\n";
        _thread.join();
    }
    EventEngine(const EventEngine&) = delete;
    EventEngine& operator=(const EventEngine&) = delete;

private:
    void raiseAsTold()
    {
        std::fstream lines(_pipe); // for writing too, so that it does not end with the first writer
        for (int count = 0; lines >> count && count > 0;) {
            while (count-- > 0) {
                const auto now = std::chrono::steady_clock::now().time_since_epoch();
                raiseAlways("tns1:RuleEngine/Bench", "Bench",
                            "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" "
                            "UtcTime=\"2024-06-30T12:00:00Z\"><tt:Source><tt:SimpleItem Name=\"Rule\" "
                            "Value=\"Bench\"/></tt:Source><tt:Data><tt:SimpleItem Name=\"Raised\" Value=\"" +
                                std::to_string(std::chrono::nanoseconds(now).count()) + "\"/></tt:Data></tt:Message>");
            }
        }
    }

    const std::string _pipe;
    std::thread _thread; ///< last: it uses the rest
};

} // namespace

DETECTION_ENGINE_MODULE("Event",
                        [](void* /*log*/, std::shared_ptr<analytics_lib::IAnalyticsPtz> /*ptz*/)
                            -> std::shared_ptr<analytics_lib::IOnvifAnalytics> {
                            return std::make_shared<EventEngine>();
                        })
