#include "Visitor.h"

#include "system/cli/Documents.h"

namespace camera::fault_tests {

namespace {

using Strings = std::vector<std::string>;
using Stop = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;

const std::string kRule = "<tt:Rule xmlns:tt=\"http://www.onvif.org/ver10/schema\" Name=\"NAME\" "
                          "Type=\"tt:CellMotionDetector\"><tt:Parameters><tt:SimpleItem Name=\"MinCount\" "
                          "Value=\"4\"/></tt:Parameters></tt:Rule>";

std::string ruleNamed(const std::string& name)
{
    std::string rule = kRule;
    return rule.replace(rule.find("NAME"), 4, name);
}

} // namespace

void Tally::add(const Tally& other)
{
    sent += other.sent;
    refused += other.refused;
    failed += other.failed;
    firstFailure = firstFailure.empty() ? other.firstFailure : firstFailure;
}

Visitor::Visitor(const std::string& address, std::uint64_t start) : _client(address), _random(start)
{
    listMovement();
    listPresets();
    listTours();
    listDevices();
    listConfigurations();
    listQueries();
}

void Visitor::act()
{
    const auto which = std::uniform_int_distribution<std::size_t>(0, _commands.size() - 1)(_random);
    ++_tally.sent;
    try {
        _commands[which]();
    } catch (const sdbus::Error& error) {
        if (error.getName() == bus::error::kRefused) {
            ++_tally.refused;
            return;
        }
        ++_tally.failed;
        if (_tally.firstFailure.empty()) {
            _tally.firstFailure = error.getName() + ": " + error.getMessage();
        }
    }
}

void Visitor::listMovement()
{
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "goToPreset", preset(), priority()); });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "goToPreset", preset(), priority()); });
    _commands.emplace_back(
        [this] { _client.ask<>(service::kPositioning, "moveTo", pan(), tilt(), zoom(), priority()); });
    _commands.emplace_back([this] {
        _client.ask<>(service::kPositioning, "drive", std::int32_t{upTo(200) - 100}, std::int32_t{upTo(200) - 100},
                      std::int32_t{upTo(200) - 100}, static_cast<std::uint32_t>(upTo(300)), priority());
    });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "stop", priority()); });
}

void Visitor::listPresets()
{
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "savePreset", preset()); });
    _commands.emplace_back(
        [this] { _client.ask<>(service::kPositioning, "savePresetAt", preset(), pan(), tilt(), zoom()); });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "renamePreset", preset(), preset()); });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "removePreset", preset()); });
}

void Visitor::listTours()
{
    _commands.emplace_back([this] {
        const std::vector<Stop> stops = {Stop(preset(), 50U, 100U), Stop(preset(), 10U, 80U)};
        _client.ask<>(service::kPositioning, "createTour", tour(), stops);
    });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "startTour", tour(), priority()); });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "pauseTour"); });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "resumeTour"); });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "stopTour"); });
    _commands.emplace_back([this] { _client.ask<>(service::kPositioning, "removeTour", tour()); });
}

void Visitor::listDevices()
{
    _commands.emplace_back([this] { _client.ask<>(service::kDayNight, "begin"); });
    _commands.emplace_back([this] { _client.ask<>(service::kDayNight, "end"); });
    _commands.emplace_back([this] { _client.ask<>(service::kWindowBlanking, "setEnable", upTo(1) == 1); });
    _commands.emplace_back([this] {
        const auto level = static_cast<std::uint8_t>(upTo(255));
        _client.ask<>(service::kWindowBlanking, "setRegionColor", level, level, level);
    });
    _commands.emplace_back(
        [this] { _client.ask<>(service::kRotate, "setAngle", static_cast<std::uint32_t>(90 * upTo(3))); });
    _commands.emplace_back([this] {
        _client.ask<>(service::kConfiguration, "setIntValue", "value" + std::to_string(upTo(9)),
                      std::int32_t{upTo(99)});
    });
}

void Visitor::listConfigurations()
{
    const auto set = [this](const std::string& xml) {
        const auto [result, failed] =
            _client.ask<std::int32_t, std::uint8_t>(service::kOnvifAnalyticService, "setConfiguration", xml);
        taken(result == 0 && failed == 0);
    };
    const auto change = [this](const char* method, const std::string& item) {
        const auto [result, status] =
            _client.ask<std::int32_t, std::uint32_t>(service::kOnvifAnalyticService, method, Strings{item});
        taken(result == 0 && status == 0);
    };
    const auto rule = [this] { return "Rule" + std::to_string(upTo(4)); };
    _commands.emplace_back([=] { set(system_tests::simpleConfiguration(rule())); });
    _commands.emplace_back([=] { set(system_tests::motionConfiguration(rule())); });
    _commands.emplace_back([=] { set(system_tests::motionConfiguration(rule(), preset())); });
    _commands.emplace_back([=] { change("createRules", ruleNamed(rule())); });
    _commands.emplace_back([=] { change("modifyRules", ruleNamed(rule())); });
    _commands.emplace_back([=] { change("deleteRules", rule()); });
    _commands.emplace_back(
        [this] { _client.ask<std::int32_t>(service::kOnvifAnalyticService, "restoreDefaultSettings"); });
}

void Visitor::listQueries()
{
    for (const char* const method : {"getEventTopics", "getSupportedRules", "getCurrentRules", "getSupportedEngines",
                                     "getCurrentEngines", "getUsedPtzPresets"}) {
        _commands.emplace_back([this, method] { _client.ask<Strings>(service::kOnvifAnalyticService, method); });
    }
    _commands.emplace_back(
        [this] { _client.ask<std::string>(service::kOnvifAnalyticService, "getCurrentConfiguration"); });
    _commands.emplace_back(
        [this] { _client.ask<std::string>(service::kOnvifAnalyticService, "getPtzPresetConfiguration", preset()); });
    _commands.emplace_back([this] { _client.status(); });
    _commands.emplace_back([this] { _client.ask<Strings>(service::kPipeline, "storedKeys"); });
}

int Visitor::upTo(int highest)
{
    return std::uniform_int_distribution<int>(0, highest)(_random);
}

std::string Visitor::preset()
{
    return "Preset" + std::to_string(upTo(5));
}

std::string Visitor::tour()
{
    return "Tour" + std::to_string(upTo(2));
}

std::uint32_t Visitor::priority()
{
    constexpr std::uint32_t kPriorities[] = {100, 400, 500};
    return kPriorities[upTo(2)];
}

std::uint32_t Visitor::pan()
{
    return static_cast<std::uint32_t>(upTo(40000));
}

std::int32_t Visitor::tilt()
{
    return upTo(20000) - 10000;
}

std::uint32_t Visitor::zoom()
{
    return static_cast<std::uint32_t>(100 + upTo(200));
}

void Visitor::taken(bool done)
{
    _tally.refused += done ? 0 : 1;
}

} // namespace camera::fault_tests
