#pragma once

#include "system/cli/Program.h"

#include <json/value.h>
#include <memory>
#include <optional>
#include <string>

namespace camera::system_tests {

/// The lines of `camera status --json` by their parts; those of processes, engines and of what these evaluate by their
/// names below that. Null where there is none.
Json::Value statusOf(const std::string& lines);

/// A virtual camera as a user starts it, with its own state folder, and its other commands.
class RunningCamera {
public:
    /// `camera run` with these arguments. @param state  also the name of the files beside it that take the outputs.
    RunningCamera(const std::string& state, Words arguments);

    /// Whether the pipeline got frames and the services answer.
    bool serves();

    /// `camera WORDS --camera STATE`, to its end.
    Finished command(Words words) const;

    /// The same words as a process that follows the camera.
    std::unique_ptr<ChildProcess> follow(Words words) const;

    /// As statusOf() says; null while it does not answer.
    Json::Value status() const;

    /// Which rules of an engine are active: "at PRESET", "everywhere" or "none".
    std::string rules(const std::string& engine) const;
    std::string preset() const;
    bool waitForRules(const std::string& engine, const std::string& rules) const;

    /// Whether so many more frames came.
    bool waitForFrames(unsigned long long more) const;

    /// The process of that name; 0: none.
    pid_t process(const std::string& name) const;
    std::string address() const;

    /// Ends it and gives its exit code.
    std::optional<int> end(int signal) { return _process.end(signal); }

    pid_t id() const { return _process.id(); }
    bool runs() const { return _process.runs(); }
    std::string out() const;
    std::string err() const;

private:
    Words wordsFor(Words words) const;

    std::string _state;
    ChildProcess _process;
};

Json::Value parsedJson(const std::string& text);

} // namespace camera::system_tests
