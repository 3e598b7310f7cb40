#include "DeviceTest.h"

#include <sstream>

namespace camera::system_tests {

namespace fs = std::filesystem;

std::vector<std::string> DeviceTest::leftBehind() const
{
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(runtime())) {
        if (!entry.is_directory() || entry.path().parent_path().filename() == "virtual-camera") {
            found.push_back(entry.path());
        }
    }
    for (const auto& entry : fs::recursive_directory_iterator(path(""))) {
        if (entry.is_socket()) {
            found.push_back(entry.path());
        }
    }
    return found;
}

std::vector<std::string> DeviceTest::journal(const std::string& word) const
{
    std::vector<std::string> found;
    std::istringstream lines(read(path("journal")));
    // A line without its end is still being written.
    for (std::string line; std::getline(lines, line) && !lines.eof();) {
        if (line.compare(0, word.size() + 1, word + " ") == 0) {
            found.push_back(line.substr(word.size() + 1));
        }
    }
    return found;
}

std::vector<JournalFrame> DeviceTest::journalFrames() const
{
    constexpr long long kSecond = 1000000000;
    std::vector<JournalFrame> frames;
    for (const std::string& line : journal("frame")) {
        std::istringstream in(line);
        JournalFrame frame;
        long long seconds = 0;
        std::string fraction; // as text: its leading zeros count
        char point = 0;
        in >> seconds >> point >> fraction >> frame.size >> frame.pan >> frame.tilt >> frame.zoom >> frame.pixels;
        frame.nanoseconds = seconds * kSecond + std::stoll(fraction);
        frames.push_back(frame);
    }
    return frames;
}

} // namespace camera::system_tests
