#include "RunningCamera.h"

#include "kit/TemporaryFolder.h"

#include <json/reader.h>
#include <sstream>
#include <utility>

namespace camera::system_tests {

namespace {

Words runWords(const std::string& state, Words arguments)
{
    Words words = cameraWords({"run"});
    words.insert(words.end(), arguments.begin(), arguments.end());
    words.insert(words.end(), {"--state", state});
    return words;
}

ChildSettings outputsBeside(const std::string& state)
{
    ChildSettings settings;
    settings.outFile = state + ".out";
    settings.errFile = state + ".err";
    return settings;
}

} // namespace

Json::Value parsedJson(const std::string& text)
{
    Json::Value value;
    std::string problem;
    std::istringstream in(text);
    return Json::parseFromStream(Json::CharReaderBuilder(), in, &value, &problem) ? value : Json::Value();
}

RunningCamera::RunningCamera(const std::string& state, Words arguments)
    : _state(state), _process(runWords(state, std::move(arguments)), outputsBeside(state))
{
}

Words RunningCamera::wordsFor(Words words) const
{
    words.insert(words.end(), {"--camera", _state});
    return words;
}

bool RunningCamera::serves()
{
    return eventually([this] {
               const Json::Value now = status();
               return !runs() || (now["pipeline"]["frames"].asUInt64() > 0 && !now["metadata"].isMember("error"));
           }) &&
           runs();
}

Finished RunningCamera::command(Words words) const
{
    return camera(wordsFor(std::move(words)));
}

std::unique_ptr<ChildProcess> RunningCamera::follow(Words words) const
{
    return std::make_unique<ChildProcess>(cameraWords(wordsFor(std::move(words))));
}

Json::Value RunningCamera::status() const
{
    return parsedJson(command({"status", "--json"}).out);
}

std::string RunningCamera::rules(const std::string& engine) const
{
    const Json::Value now = status();
    for (const Json::Value& each : now["pipeline"]["engines"]) {
        if (each["name"].asString() == engine) {
            const std::string active = each["active"].asString();
            const std::string preset = "preset '";
            if (active.compare(0, preset.size(), preset) != 0) {
                return active == "none" ? active : "everywhere";
            }
            return "at " + active.substr(preset.size(), active.find('\'', preset.size()) - preset.size());
        }
    }
    return "(no engine " + engine + ")";
}

std::string RunningCamera::preset() const
{
    return status()["position"]["preset"].asString();
}

bool RunningCamera::waitForRules(const std::string& engine, const std::string& rules) const
{
    return eventually([&] { return this->rules(engine) == rules; });
}

bool RunningCamera::waitForFrames(unsigned long long more) const
{
    const auto frames = [this] { return status()["pipeline"]["frames"].asUInt64(); };
    const auto enough = frames() + more;
    return eventually([&] { return frames() >= enough; });
}

pid_t RunningCamera::process(const std::string& name) const
{
    const Json::Value now = status();
    for (const Json::Value& each : now["supervisor"]["processes"]) {
        if (each["name"].asString() == name) {
            return each["pid"].asInt();
        }
    }
    return 0;
}

std::string RunningCamera::address() const
{
    return status()["supervisor"]["address"].asString();
}

std::string RunningCamera::out() const
{
    return kit::contentOf(_state + ".out");
}

std::string RunningCamera::err() const
{
    return kit::contentOf(_state + ".err");
}

} // namespace camera::system_tests
