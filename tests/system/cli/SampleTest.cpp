#include "CameraTest.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <sstream>

namespace camera::system_tests {
namespace {

using namespace testing;

const std::string kSource = SOURCE_FOLDER;

// The line without what differs from run to run: files, times, numbers and the width of columns.
std::string shapeOf(const std::string& line)
{
    static const std::regex file(R"((^|[ '(])(~|out)?/[^ ',;)]*)");
    static const std::regex number(R"([0-9]+([-:.T][0-9]+)*Z?)");
    static const std::regex space(" +");
    return std::regex_replace(std::regex_replace(std::regex_replace(line, file, "$1FILE"), number, "N"), space, " ");
}

std::vector<std::string> shapesOf(const std::string& text)
{
    std::vector<std::string> shapes;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        shapes.push_back(shapeOf(line));
    }
    return shapes;
}

// What README shows below "$ COMMAND", in parts: "..." stands for lines that are left out.
std::vector<std::vector<std::string>> sampleOf(const std::string& command)
{
    const std::string readme = kit::contentOf(kSource + "/README.md");
    const std::string begin = "```\n$ " + command + "\n";
    const std::size_t at = readme.find(begin);
    if (at == std::string::npos) {
        return {};
    }
    const std::size_t from = at + begin.size();
    std::vector<std::vector<std::string>> parts(1);
    for (const std::string& shape : shapesOf(readme.substr(from, readme.find("```\n", from) - from))) {
        if (shape == "...") {
            parts.emplace_back();
        } else {
            parts.back().push_back(shape);
        }
    }
    return parts;
}

using SampleTest = CameraTest;

TEST_F(SampleTest, whatReadmeShowsOfTheFirstRunIsWhatTheFirstRunPrints)
{
    if (run({CLIP_SCRIPT}).exitCode != 0) {
        GTEST_SKIP() << "the clip cannot be had";
    }
    const std::vector<std::vector<std::string>> sample = sampleOf("./run");
    ASSERT_GE(sample.size(), 2U);
    // Shorter, because of slow machines; the camera ends at the same preset.
    const Finished done = run({kSource + "/scripts/demo", CAMERA_PROGRAM, path("out"), "--frames", "250"});
    EXPECT_EQ(done.exitCode, 0) << done.err;
    const std::vector<std::string> printed = shapesOf(done.out);
    auto next = printed.begin();
    for (const std::vector<std::string>& part : sample) {
        const auto found = &part == &sample.back() && printed.end() - next >= static_cast<std::ptrdiff_t>(part.size())
                               ? printed.end() - static_cast<std::ptrdiff_t>(part.size())
                               : std::search(next, printed.end(), part.begin(), part.end());
        ASSERT_TRUE(found != printed.end() && std::equal(part.begin(), part.end(), found))
            << "README shows\n"
            << PrintToString(part) << "\nthe run prints\n"
            << done.out;
        EXPECT_TRUE(&part != &sample.front() || found == printed.begin()) << done.out;
        next = found + static_cast<std::ptrdiff_t>(part.size());
    }
    for (const char* file : {"out/picture.png", "out/overlay.mp4", "out/metadata.xml"}) {
        EXPECT_FALSE(read(path(file)).empty()) << file;
    }
}

TEST_F(SampleTest, theLiveTourIsADeviceForOnvifClientsUntilItIsEnded)
{
    if (run({CLIP_SCRIPT}).exitCode != 0) {
        GTEST_SKIP() << "the clip cannot be had";
    }
    ChildProcess camera({kSource + "/scripts/demo", CAMERA_PROGRAM, path("out"), "--live", "--http", "0"});
    EXPECT_TRUE(eventually([&] {
        return camera.out().find("  onvif http://127.0.0.1:") != std::string::npos || !camera.runs();
    })) << camera.err();
    EXPECT_THAT(system_tests::camera({"preset", "list"}).out, AllOf(HasSubstr("Bend"), HasSubstr("Way")));
    EXPECT_TRUE(camera.runs());
    EXPECT_EQ(camera.end(SIGINT), 0) << camera.err();
    EXPECT_THAT(camera.out(), HasSubstr("  settings  " + path("out/live")));
}

// Typed as it stands there, but for where the programs of this build and the example lie.
TEST_F(SampleTest, theFirstCommandsOfTheEngineGuideShowEvents)
{
    const std::string guide = read(kSource + "/docs/engine-guide.md");
    const std::string begin = "    cmake -S examples/engine -B build/engine && cmake --build build/engine\n    ./run ";
    const std::size_t at = guide.find(begin);
    ASSERT_NE(at, std::string::npos);
    const std::size_t from = at + begin.size();
    std::string command = guide.substr(from, guide.find("\n\n", from) - from);
    command = std::regex_replace(command, std::regex("build/engine/"), std::string(EXAMPLE_FOLDER) + "/");
    command = std::regex_replace(command, std::regex("examples/"), kSource + "/examples/");
    const Finished done = run({"bash", "-c", std::string(CAMERA_PROGRAM) + " run " + command});
    EXPECT_EQ(done.exitCode, 0) << done.err;
    EXPECT_THAT(done.out, ContainsRegex("event  [^\n]*  LightsOut  State=true\n"));
    EXPECT_THAT(done.out, ContainsRegex("event  [^\n]*  LightsOut  State=false\n"));
}

} // namespace
} // namespace camera::system_tests
