#include "RunningCamera.h"

#include "kit/TemporaryFolder.h"

#include <json/reader.h>
#include <sstream>
#include <utility>

namespace camera::system_tests {

namespace {

Words runWords(const std::string& state, Words arguments)
{
    arguments.insert(arguments.begin(), "run");
    arguments.insert(arguments.end(), {"--state", state});
    return cameraWords(arguments);
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

Json::Value statusOf(const std::string& lines)
{
    Json::Value all;
    std::istringstream text(lines);
    for (std::string line; std::getline(text, line);) {
        const Json::Value object = parsedJson(line);
        const std::string part = object["part"].asString();
        const bool several = part == "process" || part == "engine" || part == "active";
        Json::Value& place = several ? all[part][object[part == "process" ? part : "engine"].asString()] : all[part];
        place = object;
    }
    return all;
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
    return statusOf(command({"status", "--json"}).out);
}

std::string RunningCamera::rules(const std::string& engine) const
{
    const Json::Value now = status();
    if (!now["engine"].isMember(engine)) {
        return "(no engine " + engine + ")";
    }
    if (!now["active"].isMember(engine)) {
        return "none";
    }
    const std::string preset = now["engine"][engine]["preset"].asString();
    return preset.empty() ? "everywhere" : "at " + preset;
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
    return status()["process"][name]["pid"].asInt();
}

std::string RunningCamera::address() const
{
    return status()["supervisor"]["bus"].asString();
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
