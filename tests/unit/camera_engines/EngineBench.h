#pragma once

#include "camera/video/Frame.h"
#include "plugin/analytics/IEventHandler.h"
#include "plugin/analytics/IOnvifAnalytics.h"
#include "plugin/analytics/IRuleSet.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace engine_test {

/// A handle for engines whose log lines takeLogLines() returns.
void* openLog();

/// Every line written to the log since the last call.
std::vector<std::string> takeLogLines();

struct Event {
    std::string topic;
    std::string rule;
    std::string message;
    unsigned frame = 0; ///< during which it was raised

    bool state() const { return message.find("Value=\"true\"/></tt:Data>") != std::string::npos; }
};

/// A box of the metadata, in pixels of the picture.
struct Box {
    long id = 0;
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
};

double overlapOverUnion(const Box& a, const Box& b);

/// The boxes of a metadata document, for a picture of this size.
std::vector<Box> boxesOf(const std::string& metadata, int width, int height);

/// The text without its times.
std::string withoutTimes(std::string text);

/// A configuration document of one module element and any rule elements.
std::string document(const std::string& modules, const std::string& rules);
std::string simpleItem(const std::string& name, const std::string& value);
std::string module(const std::string& label, const std::string& type, const std::string& items = "");
std::string rule(const std::string& label, const std::string& type, const std::string& items = "");
std::string simpleConfig(const std::string& moduleItems = "", const std::string& ruleItems = "");
std::string motionConfig(const std::string& moduleItems = "", const std::string& ruleItems = "");
std::string region(const std::string& attributes, const std::string& points);

/// One engine with a handler that remembers, and buffers to write into.
class EngineBench : public analytics_lib::IEventHandler {
public:
    explicit EngineBench(const std::string& name); ///< a reference engine
    explicit EngineBench(std::shared_ptr<analytics_lib::IOnvifAnalytics> engine);
    ~EngineBench();

    analytics_lib::IOnvifAnalytics& engine() { return *_engine; }

    /// A rule set with this content, activated; the test fails when it is refused.
    analytics_lib::IRuleSet* activate(const std::string& config);

    /// Shows a frame; returns the metadata document that the engine wrote.
    std::string show(const camera::video::Frame& frame);
    std::string show(const analytics_lib::YuvFrame& frame);

    void OnEvent(const std::string& topic, const std::string& source, const std::string& data) override;

    std::vector<Event> events() const;
    std::vector<bool> states() const; ///< of the events, in order
    std::string eventTexts() const;   ///< all events as one text, without times

    std::function<void()> onEvent; ///< called inside each event
    std::vector<std::uint8_t> drawing;
    std::vector<std::uint8_t> motion;

private:
    std::shared_ptr<analytics_lib::IOnvifAnalytics> _engine;
    mutable std::mutex _mutex;
    std::vector<Event> _events;
    std::atomic<unsigned> _frame{0};
};

analytics_lib::YuvFrame yuv(const camera::video::Frame& frame);

} // namespace engine_test
