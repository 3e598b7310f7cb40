#include "camera/pipeline/TargetClient.h"

#include "camera/pipeline/ServiceText.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/ServedTargets.h"

#include "ravel/RavelApiAnalyticsTargetImplBase.h"

#include <stdexcept>
#include <utility>

namespace camera::pipeline {

namespace {

void requireSuccess(const std::string& operation, int result)
{
    if (result != 0) {
        throw std::runtime_error("the analytics service failed to answer " + operation + " (result " +
                                 std::to_string(result) + ")");
    }
}

} // namespace

std::string describe(Outcome outcome)
{
    switch (outcome) {
    case Outcome::done:
        return "done";
    case Outcome::interrupted:
        return "interrupted: what was stored before stays";
    case Outcome::refused:
        return "refused: one of the rules or modules is not valid";
    case Outcome::notFound:
        return "not found: one of the names is unknown";
    }
    return "unknown outcome " + std::to_string(static_cast<unsigned int>(outcome));
}

TargetClient::TargetClient(serviceapi::ControlThread& control, serviceapi::ServedTargets& targets, std::string service)
    : _control(control), _targets(targets), _service(std::move(service))
{
}

void TargetClient::call(const std::function<void(Target&)>& operation)
{
    _control.ask([&] {
        const auto target = _targets.find(_service);
        if (!target) {
            throw std::runtime_error("nobody serves " + _service);
        }
        operation(*target);
    });
}

std::vector<std::string> TargetClient::list(const char* name, int (Target::*operation)(char***))
{
    ServiceListOut out;
    call([&](Target& target) { requireSuccess(name, (target.*operation)(out.address())); });
    return out.strings();
}

std::string TargetClient::text(const char* name, const std::function<int(Target&, char**)>& operation)
{
    ServiceTextOut out;
    call([&](Target& target) { requireSuccess(name, operation(target, out.address())); });
    return out.string();
}

Answer TargetClient::change(int (Target::*operation)(char**, unsigned int*), const std::vector<std::string>& items)
{
    const ServiceListIn in(items);
    unsigned int status = static_cast<unsigned int>(Outcome::interrupted);
    Answer answer;
    call([&](Target& target) { answer.result = (target.*operation)(in.array(), &status); });
    answer.outcome = static_cast<Outcome>(status);
    return answer;
}

std::vector<std::string> TargetClient::eventTopics()
{
    return list("getEventTopics", &Target::getEventTopics);
}

std::vector<std::string> TargetClient::supportedRules()
{
    return list("getSupportedRules", &Target::getSupportedRules);
}

std::vector<std::string> TargetClient::supportedEngines()
{
    return list("getSupportedEngines", &Target::getSupportedEngines);
}

std::vector<std::string> TargetClient::currentRules()
{
    return list("getCurrentRules", &Target::getCurrentRules);
}

std::vector<std::string> TargetClient::currentEngines()
{
    return list("getCurrentEngines", &Target::getCurrentEngines);
}

std::vector<std::string> TargetClient::usedPtzPresets()
{
    return list("getUsedPtzPresets", &Target::getUsedPtzPresets);
}

Answer TargetClient::createRules(const std::vector<std::string>& rules)
{
    return change(&Target::createRules, rules);
}

Answer TargetClient::modifyRules(const std::vector<std::string>& rules)
{
    return change(&Target::modifyRules, rules);
}

Answer TargetClient::deleteRules(const std::vector<std::string>& names)
{
    return change(&Target::deleteRules, names);
}

Answer TargetClient::createEngines(const std::vector<std::string>& engines)
{
    return change(&Target::createEngines, engines);
}

Answer TargetClient::modifyEngines(const std::vector<std::string>& engines)
{
    return change(&Target::modifyEngines, engines);
}

Answer TargetClient::deleteEngines(const std::vector<std::string>& names)
{
    return change(&Target::deleteEngines, names);
}

std::string TargetClient::currentConfiguration()
{
    return text("getCurrentConfiguration",
                [](Target& target, char** xml) { return target.getCurrentConfiguration(xml); });
}

std::string TargetClient::presetConfiguration(const std::string& preset)
{
    const std::string& name = checkedText(preset);
    return text("getPtzPresetConfiguration",
                [&](Target& target, char** xml) { return target.getPtzPresetConfiguration(name.c_str(), xml); });
}

TargetClient::Acceptance TargetClient::acceptConfiguration(const std::string& xml)
{
    const std::string& document = checkedText(xml);
    Acceptance answer;
    call([&](Target& target) { answer.result = target.setConfiguration(document.c_str(), &answer.failed); });
    return answer;
}

void TargetClient::restoreDefaultSettings()
{
    call([](Target& target) { requireSuccess("restoreDefaultSettings", target.restoreDefaultSettings()); });
}

void TargetClient::readFramesFromFile(const std::string& engine, const std::string& path, bool flag)
{
    const std::string& name = checkedText(engine);
    const std::string& file = checkedText(path);
    call([&](Target& target) {
        requireSuccess("readFramesFromFile", target.readFramesFromFile(name.c_str(), file.c_str(), flag ? 1 : 0));
    });
}

void TargetClient::writeFramesToFile(const std::string& engine, const std::string& path, unsigned int count)
{
    const std::string& name = checkedText(engine);
    const std::string& file = checkedText(path);
    call([&](Target& target) {
        requireSuccess("writeFramesToFile", target.writeFramesToFile(name.c_str(), file.c_str(), count));
    });
}

} // namespace camera::pipeline
