#include "camera/pipeline/TargetClient.h"

#include "camera/base/ErrorLines.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/ServedTargets.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace camera::pipeline {

namespace {

// What the target answers comes from malloc, also when the operation fails.
struct Text {
    char* text = nullptr;
    ~Text() { std::free(text); }
};

// Ends with a null pointer.
struct TextList {
    char** texts = nullptr;
    ~TextList()
    {
        for (char** text = texts; text != nullptr && *text != nullptr; ++text) {
            std::free(*text);
        }
        std::free(texts);
    }
};

// A NUL byte would cut it short.
const std::string& checkedText(const std::string& text)
{
    if (text.find('\0') != std::string::npos) {
        throw std::invalid_argument("a text for the analytics service holds a NUL byte; remove it");
    }
    return text;
}

void requireSuccess(const std::string& operation, int result)
{
    if (result != 0) {
        throw std::runtime_error("the analytics service failed to answer " + operation + " (result " +
                                 std::to_string(result) + ")");
    }
}

} // namespace

TargetClient::TargetClient(serviceapi::ControlThread& control, serviceapi::ServedTargets& targets, std::string service,
                           std::function<void()> changed)
    : _control(control), _targets(targets), _service(std::move(service)), _changed(std::move(changed))
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
    TextList answer;
    call([&](Target& target) { requireSuccess(name, (target.*operation)(&answer.texts)); });
    std::vector<std::string> strings;
    for (char** text = answer.texts; text != nullptr && *text != nullptr; ++text) {
        strings.emplace_back(*text);
    }
    return strings;
}

std::string TargetClient::text(const char* name, const std::function<int(Target&, char**)>& operation)
{
    Text answer;
    call([&](Target& target) { requireSuccess(name, operation(target, &answer.text)); });
    return answer.text != nullptr ? answer.text : std::string();
}

// Calls the target for a change. The lines are those of the control thread, on which engines check what they are given.
// One that is refused may have changed something as well: a delete with an unknown name does.
TargetClient::Texts TargetClient::errorsOf(const std::function<void(Target&)>& operation)
{
    Texts errors;
    call([&](Target& target) {
        const base::ErrorLines lines;
        operation(target);
        errors = lines.texts();
        _changed();
    });
    return errors;
}

Answer TargetClient::change(int (Target::*operation)(char**, unsigned int*), const std::vector<std::string>& items)
{
    std::vector<char*> pointers; // the target's type says char**, it only reads
    for (const std::string& item : items) {
        pointers.push_back(const_cast<char*>(checkedText(item).c_str()));
    }
    pointers.push_back(nullptr);
    unsigned int status = static_cast<unsigned int>(Outcome::interrupted);
    Answer answer;
    Texts errors = errorsOf([&](Target& target) { answer.result = (target.*operation)(pointers.data(), &status); });
    answer.outcome = static_cast<Outcome>(status);
    if (!answer.ok()) {
        answer.refusal = std::move(errors);
    }
    return answer;
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
    Texts errors =
        errorsOf([&](Target& target) { answer.result = target.setConfiguration(document.c_str(), &answer.failed); });
    if (!answer.ok()) {
        answer.refusal = std::move(errors);
    }
    return answer;
}

void TargetClient::restoreDefaultSettings()
{
    call([this](Target& target) {
        const int result = target.restoreDefaultSettings();
        _changed();
        requireSuccess("restoreDefaultSettings", result);
    });
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
