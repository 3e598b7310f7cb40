// An engine that fails where FAULTY_WHERE says (create, name, configure, handler, frame, rules, end), as FAULTY_HOW
// says (exit, crash, hang, throw: what is no std::exception). With FAULTY_ONCE it makes that file first, and does not
// fail when the file is there.
#include "camera/kit/EngineModule.h"
#include "kit/FakeEngine.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

std::string environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

void failHere(const std::string& where)
{
    const std::string once = environment("FAULTY_ONCE");
    if (environment("FAULTY_WHERE") != where ||
        (!once.empty() && ::open(once.c_str(), O_CREAT | O_EXCL | O_CLOEXEC, 0600) < 0)) {
        return;
    }
    const std::string how = environment("FAULTY_HOW");
    if (how == "exit") {
        std::_Exit(0); // at once: what std::exit() destroys other threads still use, and they may crash first
    }
    if (how == "crash") {
        ::signal(SIGSEGV, SIG_DFL);
        ::raise(SIGSEGV);
    }
    if (how == "throw") {
        throw 7;
    }
    for (;;) {
        ::pause();
    }
}

class FaultyEngine final : public kit::FakeEngine {
public:
    FaultyEngine() : FakeEngine("Faulty")
    {
        failHere("create");
        frameScript = [](const analytics_lib::YuvFrame&, MetadataBuffers& outputs) {
            outputs.drawingBufferUsed = 0;
            failHere("frame");
            return true;
        };
    }

    bool isEngineConfiguration(const std::string& config) override
    {
        failHere("configure");
        return FakeEngine::isEngineConfiguration(config);
    }

    std::string getName() const override
    {
        failHere("name");
        return FakeEngine::getName();
    }

    void setEventHandler(analytics_lib::IEventHandler* handler) override
    {
        failHere("handler");
        FakeEngine::setEventHandler(handler);
    }

    void clearAllRules() override
    {
        failHere("end");
        FakeEngine::clearAllRules();
    }

    std::vector<std::string> getSupportedRules() override
    {
        failHere("rules");
        return FakeEngine::getSupportedRules();
    }
};

} // namespace

DETECTION_ENGINE_MODULE("Faulty",
                        [](void* /*log*/, std::shared_ptr<analytics_lib::IAnalyticsPtz> /*ptz*/)
                            -> std::shared_ptr<analytics_lib::IOnvifAnalytics> {
                            return std::make_shared<FaultyEngine>();
                        })
