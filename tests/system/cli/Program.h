#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace camera::system_tests {

using Words = std::vector<std::string>;

/// What a finished process left.
struct Finished {
    int exitCode = -1; ///< -1: ended by a signal, or killed at the deadline
    std::string out;
    std::string err;
};

struct ProgramSettings {
    long fileSizeLimit = -1;  ///< no file of the process grows beyond; -1: none
    bool terminal = false;    ///< standard output is a terminal
    std::string outFile;      ///< standard output goes there instead of being collected
    std::string preload;      ///< a library that comes before all others
    bool closeOutput = false; ///< nobody reads the standard output
};

/// A running process whose output is collected. Each wait has a deadline, after which the process is killed.
class Program {
public:
    using Settings = ProgramSettings;

    explicit Program(const Words& words, const Settings& settings = {});
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Whether the standard output held the text before the process ended or the deadline came.
    bool waitForOutput(const std::string& text);

    void signal(int number) const;
    Finished wait();
    pid_t id() const { return child; }

private:
    bool pump();
    void take(int& descriptor, std::string& text);

    pid_t child = -1;
    int outEnd = -1;
    int errEnd = -1;
    Finished collected;
    std::chrono::steady_clock::time_point deadline;
};

/// Runs the camera's program to its end.
Finished camera(const Words& arguments, const Program::Settings& settings = {});

/// Runs any other program to its end.
Finished run(const Words& words);

Words cameraWords(const Words& arguments);

} // namespace camera::system_tests
