#include "integration/camera_power/PowerFixture.h"

#include "camera/serviceapi/ServiceApi.h"

#include "kit/FakeDeviceServices.h"
#include "kit/Refusal.h"

#include <json/json.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

void PowerFixture::SetUp()
{
    options.engines = StubEngines::source();
    options.pluginPath = DETECTION_MODULE;
    options.stateDir = state;
    options.copyInterval = std::chrono::hours(1); // the tests have copies made by hand
    options.services = std::make_shared<FakeDeviceServices>();
    options.ptz.emplace();
    for (int preset = 0; preset < 6; ++preset) {
        options.ptz->presets.push_back(
            {"P" + std::to_string(preset), static_cast<unsigned int>(preset) * 1000, 0, 100});
    }
}

void PowerFixture::TearDown()
{
    StubEngines::instance().onCall = nullptr;
    stop();
}

void PowerFixture::start()
{
    device.reset();
    (void)StubEngines::instance().takeRestored();
    device = std::make_unique<camera::pipeline::Device>(options);
}

std::optional<std::string> PowerFixture::refusal()
{
    const std::string refusal = kit::refusalOf([this] { start(); });
    return device ? std::nullopt : std::optional(refusal);
}

std::string PowerFixture::storedDocument() const
{
    return device->serviceApi().settings.read(kSettingsKey).value_or("nothing");
}

std::vector<std::string> PowerFixture::notices() const
{
    return device->serviceApi().settings.notices();
}

bool PowerFixture::deliversAFrame() const
{
    camera::video::Frame frame;
    frame.width = 32;
    frame.height = 16;
    frame.strideBytes = 32;
    frame.sizeBytes = 32 * 16 * 3 / 2;
    frame.data =
        std::shared_ptr<std::uint8_t>(new std::uint8_t[frame.sizeBytes](), std::default_delete<std::uint8_t[]>());
    frame.seconds = 1700000000;
    return device->deliver(frame).analysed;
}

bool PowerFixture::configure(const std::string& text) const
{
    return device->target().setConfiguration(configurationOf("Line", "", "rule", text));
}

testing::AssertionResult PowerFixture::startedFrom(const std::string& document)
{
    Json::Value settings;
    std::istringstream stream(document);
    std::string errors;
    if (!Json::parseFromStream(Json::CharReaderBuilder(), stream, &settings, &errors)) {
        return testing::AssertionFailure() << "no document: " << errors << document.substr(0, 100);
    }
    std::vector<std::string> expected;
    for (const Json::Value& setting : settings) {
        expected.push_back(setting["config"].asString());
    }
    std::sort(expected.begin(), expected.end());
    const auto restored = StubEngines::instance().takeRestored();
    if (restored != expected) {
        return testing::AssertionFailure() << restored.size() << " rule sets were filled, the document has "
                                           << expected.size() << ", or with other texts";
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult PowerFixture::takesAnotherDocument() const
{
    const std::string text = "one more";
    if (!configure(text)) {
        return testing::AssertionFailure() << "the configuration is refused";
    }
    if (storedDocument().find(text) == std::string::npos) {
        return testing::AssertionFailure() << "the configuration is not stored";
    }
    return testing::AssertionSuccess();
}

std::size_t PowerFixture::wanted(const char* variable, std::size_t usual)
{
    const char* const text = std::getenv(variable);
    return text != nullptr ? std::strtoul(text, nullptr, 10) : usual;
}

std::string configurationOf(const std::string& engine, const std::string& preset, const std::string& rule,
                            const std::string& text)
{
    return "<tt:VideoAnalyticsConfiguration for=\"" + engine + "\"><tt:RuleEngineConfiguration><tt:Rule Name=\"" +
           rule + "\" Type=\"tt:" + engine + "Rule\"><tt:Parameters><tt:SimpleItem Name=\"PtzPreset\" Value=\"" +
           preset + "\"/><tt:SimpleItem Name=\"Text\" Value=\"" + text +
           "\"/></tt:Parameters></tt:Rule></tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
}

std::size_t filesSetAside(const Files& files)
{
    return static_cast<std::size_t>(std::count_if(
        files.begin(), files.end(), [](const auto& file) { return file.first.rfind("settings.db.damaged-", 0) == 0; }));
}
