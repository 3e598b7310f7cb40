#include "EngineBench.h"

#include "camera/base/Log.h"
#include "camera/engines/ReferenceEngines.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <utility>

namespace {

std::mutex logMutex;
std::vector<std::string> logLines;

} // namespace

namespace engine_test {

using analytics_lib::IOnvifAnalytics;

void* openLog()
{
    camera::base::Log::instance().setWriter([](const std::string& line) {
        const std::lock_guard lock(logMutex);
        logLines.push_back(line.substr(0, line.size() - 1));
    });
    static void* const handle = camera::base::Log::instance().open("engine test");
    return handle;
}

std::vector<std::string> takeLogLines()
{
    const std::lock_guard lock(logMutex);
    return std::exchange(logLines, {});
}

double overlapOverUnion(const Box& a, const Box& b)
{
    const double width = std::min(a.right, b.right) - std::max(a.left, b.left);
    const double height = std::min(a.bottom, b.bottom) - std::max(a.top, b.top);
    if (width <= 0 || height <= 0) {
        return 0;
    }
    const double both = width * height;
    const auto area = [](const Box& box) { return (box.right - box.left) * (box.bottom - box.top); };
    return both / (area(a) + area(b) - both);
}

std::vector<Box> boxesOf(const std::string& metadata, int width, int height)
{
    pugi::xml_document document;
    document.load_string(metadata.c_str());
    std::vector<Box> boxes;
    for (const auto& found : document.select_nodes("//tt:Object")) {
        const pugi::xml_node box = found.node().select_node(".//tt:BoundingBox").node();
        const auto x = [&](const char* name) { return (box.attribute(name).as_double() + 1) / 2 * width; };
        const auto y = [&](const char* name) { return (1 - box.attribute(name).as_double()) / 2 * height; };
        boxes.push_back({found.node().attribute("ObjectId").as_int(), x("left"), y("top"), x("right"), y("bottom")});
    }
    return boxes;
}

std::string withoutTimes(std::string text)
{
    const std::string attribute = "UtcTime=\"";
    for (std::size_t at = text.find(attribute); at != std::string::npos; at = text.find(attribute, at)) {
        at += attribute.size();
        text.erase(at, text.find('"', at) - at);
    }
    return text;
}

std::string document(const std::string& modules, const std::string& rules)
{
    return IOnvifAnalytics::kVideoAnalyticHeader + IOnvifAnalytics::kEngineConfigHeader + modules +
           IOnvifAnalytics::kEngineConfigFooter + IOnvifAnalytics::kRuleConfigHeader + rules +
           IOnvifAnalytics::kRuleConfigFooter + IOnvifAnalytics::kVideoAnalyticFooter;
}

std::string simpleItem(const std::string& name, const std::string& value)
{
    return "<tt:SimpleItem Name=\"" + name + "\" Value=\"" + value + "\"/>";
}

std::string module(const std::string& label, const std::string& type, const std::string& items)
{
    return "<tt:AnalyticsModule Name=\"" + label + "\" Type=\"" + type + "\"><tt:Parameters>" + items +
           "</tt:Parameters></tt:AnalyticsModule>";
}

std::string rule(const std::string& label, const std::string& type, const std::string& items)
{
    return "<tt:Rule Name=\"" + label + "\" Type=\"" + type + "\"><tt:Parameters>" + items +
           "</tt:Parameters></tt:Rule>";
}

std::string simpleConfig(const std::string& moduleItems, const std::string& ruleItems)
{
    return document(module("Cells", "tt:CellMotionEngine", moduleItems),
                    rule("AnyMotion", "tt:CellMotionDetector", ruleItems));
}

std::string motionConfig(const std::string& moduleItems, const std::string& ruleItems)
{
    return document(module("Objects", "vca:MotionRegionEngine", moduleItems),
                    rule("Region", "tt:MotionRegionDetector", ruleItems));
}

std::string region(const std::string& attributes, const std::string& points)
{
    return "<tt:ElementItem Name=\"MotionRegion\"><axt:MotionRegionConfig " + attributes + ">" +
           (points.empty() ? "" : "<tt:Polygon>" + points + "</tt:Polygon>") +
           "</axt:MotionRegionConfig></tt:ElementItem>";
}

std::shared_ptr<IOnvifAnalytics> referenceEngine(const std::string& name)
{
    for (const auto& engine : camera::engines::referenceEngines(openLog())) {
        if (engine->getName() == name) {
            return engine;
        }
    }
    return nullptr;
}

EngineBench::EngineBench(const std::string& name) : EngineBench(referenceEngine(name))
{
}

EngineBench::EngineBench(std::shared_ptr<IOnvifAnalytics> engine)
    : drawing(64 * 1024), motion(64 * 1024), _engine(std::move(engine))
{
    _engine->setEventHandler(this);
}

EngineBench::~EngineBench()
{
    _engine->clearAllRules();
}

analytics_lib::IRuleSet* EngineBench::activate(const std::string& config)
{
    analytics_lib::IRuleSet* ruleSet = _engine->createRuleSet();
    EXPECT_TRUE(ruleSet->setFullConfig(config)) << config;
    EXPECT_TRUE(_engine->activateRuleSet(ruleSet));
    return ruleSet;
}

analytics_lib::YuvFrame yuv(const camera::video::Frame& frame)
{
    analytics_lib::YuvFrame out;
    out.timestamp[0] = frame.seconds;
    out.timestamp[1] = frame.nanoseconds;
    out.data = frame.data.get();
    out.width = static_cast<std::uint64_t>(frame.width);
    out.height = static_cast<std::uint64_t>(frame.height);
    out.bytesPerRow = static_cast<std::uint32_t>(frame.strideBytes);
    return out;
}

std::string EngineBench::show(const camera::video::Frame& frame)
{
    return show(yuv(frame));
}

std::string EngineBench::show(const analytics_lib::YuvFrame& frame)
{
    MetadataBuffers outputs;
    drawing.resize(64 * 1024);
    motion.resize(64 * 1024);
    outputs.drawingBuffer = drawing.data();
    outputs.drawingBufferSize = static_cast<std::uint32_t>(drawing.size());
    outputs.motionBuffer = motion.data();
    outputs.motionBufferSize = static_cast<std::uint32_t>(motion.size());
    EXPECT_TRUE(_engine->onFrame(frame, outputs));
    drawing.resize(outputs.drawingBufferUsed);
    motion.resize(outputs.motionBufferUsed);
    ++_frame;
    return outputs.metadataXml;
}

void EngineBench::OnEvent(const std::string& topic, const std::string& source, const std::string& data)
{
    {
        const std::lock_guard lock(_mutex);
        _events.push_back({topic, source, data, _frame});
    }
    if (onEvent) {
        onEvent();
    }
}

std::vector<Event> EngineBench::events() const
{
    const std::lock_guard lock(_mutex);
    return _events;
}

std::vector<bool> EngineBench::states() const
{
    std::vector<bool> all;
    for (const Event& event : events()) {
        all.push_back(event.state());
    }
    return all;
}

std::string EngineBench::eventTexts() const
{
    std::string text;
    for (const Event& event : events()) {
        text += event.topic + " " + event.rule + " " + withoutTimes(event.message) + "\n";
    }
    return text;
}

} // namespace engine_test
