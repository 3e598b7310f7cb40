// An engine that detects nothing and writes down what it is told, a line each, into the file that JOURNAL_FILE names.
#include "camera/kit/EngineModule.h"
#include "plugin/analytics/IEventHandler.h"
#include "plugin/analytics/IRuleSet.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using analytics_lib::IOnvifAnalytics;

/// Takes every text for nothing.
class NoRules final : public analytics_lib::IRuleSet {
public:
    bool validateFullConfig(const std::string& /*config*/) override { return false; }
    bool validateConfig(const std::string& /*name*/, const std::string& /*type*/,
                        const std::string& /*parameters*/) override
    {
        return false;
    }
    bool setConfig(const std::string& /*name*/, const std::string& /*type*/, const std::string& /*parameters*/) override
    {
        return false;
    }
    bool detach() override { return true; }
    bool deleteBehavior(const std::string& /*name*/) override { return false; }
    bool setFullConfig(const std::string& /*config*/) override { return false; }
    std::string getFullConfig() override { return ""; }
};

/// FNV-1a of what is seen, without what pads the rows.
std::uint64_t pixels(const analytics_lib::YuvFrame& frame)
{
    std::uint64_t hash = 14695981039346656037U;
    for (std::uint64_t row = 0; row < frame.height + frame.height / 2; ++row) {
        for (std::uint64_t column = 0; column < frame.width; ++column) {
            hash = (hash ^ frame.data[row * frame.bytesPerRow + column]) * 1099511628211U;
        }
    }
    return hash;
}

class JournalEngine final : public IOnvifAnalytics {
public:
    JournalEngine()
    {
        const char* const name = std::getenv("JOURNAL_FILE");
        _file.reset(std::fopen(name == nullptr ? "/dev/null" : name, "ae"));
    }

    std::string getName() const override { return "Journal"; }
    bool isEngineConfiguration(const std::string& /*config*/) override { return false; }
    void setEventHandler(analytics_lib::IEventHandler* /*handler*/) override {}

    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) override
    {
        outputs.drawingBufferUsed = 0;
        write("frame %u.%09u %llux%llu %u %d %u %016llx\n", frame.timestamp[0], frame.timestamp[1],
              static_cast<unsigned long long>(frame.width), static_cast<unsigned long long>(frame.height), frame.pan,
              frame.tilt, frame.zoom, static_cast<unsigned long long>(frame.data == nullptr ? 0 : pixels(frame)));
        return true;
    }

    void onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color) override
    {
        write("blanking %s %d %d %d\n", enabled ? "on" : "off", color.y, color.u, color.v);
    }
    void onOrientationChanged(unsigned int degrees) override { write("orientation %u\n", degrees); }

    std::vector<std::string> getEventTopics() override { return {}; }
    std::vector<std::string> getSupportedEngines() override { return {}; }
    std::vector<std::string> getSupportedRules() override { return {}; }

    bool readFramesFromFile(const char* path, bool flag) override
    {
        write("read %s %d\n", path, flag ? 1 : 0);
        return true;
    }
    bool writeFramesToFile(const char* path, unsigned int count) override
    {
        write("write %s %u\n", path, count);
        return true;
    }

    analytics_lib::IRuleSet* createRuleSet() override { return std::make_unique<NoRules>().release(); }
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override
    {
        const std::unique_ptr<NoRules> gone(static_cast<NoRules*>(ruleSet));
    }
    bool activateRuleSet(analytics_lib::IRuleSet* /*ruleSet*/) override { return false; }
    void clearAllRules() override {}

private:
    // One write a line: the control thread and the frame thread both come here, and a reader waits for lines.
    template <class... Values>
    void write(const char* format, Values... values)
    {
        if (_file) {
            std::fprintf(_file.get(), format, values...);
            std::fflush(_file.get());
        }
    }

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> _file;
};

} // namespace

DETECTION_ENGINE_MODULE("Journal",
                        [](void* /*log*/, std::shared_ptr<analytics_lib::IAnalyticsPtz> /*ptz*/)
                            -> std::shared_ptr<IOnvifAnalytics> { return std::make_shared<JournalEngine>(); })
