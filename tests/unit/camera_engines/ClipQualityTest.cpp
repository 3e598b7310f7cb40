// How many people of the pedestrians clip the engine "Motion" finds, against marks made by hand.
#include "EngineBench.h"
#include "camera/video/OpenSource.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace {

using namespace engine_test;

std::map<int, std::vector<Box>> readMarks()
{
    std::ifstream file(CAMERA_ENGINES_MARKS);
    std::map<int, std::vector<Box>> marks;
    for (std::string line; std::getline(file, line);) {
        std::istringstream text(line);
        int frame = 0;
        Box box;
        if (text >> frame >> box.left >> box.top >> box.right >> box.bottom) {
            marks[frame].push_back(box);
        }
    }
    return marks;
}

std::string clipPath()
{
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const char* home = std::getenv("HOME");
    const std::string folder = cache != nullptr ? cache : std::string(home == nullptr ? "" : home) + "/.cache";
    return folder + "/detection/pedestrians.avi";
}

/// Found: one reported box covers at least half of the person, and is no larger than a small group.
bool isFound(const Box& person, const std::vector<Box>& boxes)
{
    const auto area = [](const Box& box) { return (box.right - box.left) * (box.bottom - box.top); };
    for (const Box& box : boxes) {
        const double width = std::min(box.right, person.right) - std::max(box.left, person.left);
        const double height = std::min(box.bottom, person.bottom) - std::max(box.top, person.top);
        if (width > 0 && height > 0 && width * height >= area(person) / 2 && area(box) <= 6 * area(person)) {
            return true;
        }
    }
    return false;
}

TEST(ClipQualityTest, findsFourOfFivePeopleInTheMarkedFrames)
{
    const std::string clip = clipPath();
    if (!std::ifstream(clip)) {
        GTEST_SKIP() << "the pedestrians clip is not in the cache; scripts/clip fetches it";
    }
    const auto marks = readMarks();
    ASSERT_EQ(marks.size(), 20U);
    camera::video::SourceOptions options;
    options.notBefore = 1'700'000'000'000'000'000;
    const auto source = camera::video::openSource(clip, options);
    EngineBench bench("Motion");
    bench.activate(motionConfig());
    std::size_t people = 0;
    std::size_t found = 0;
    for (int number = 0;; ++number) {
        const auto frame = source->next();
        if (!frame) {
            break;
        }
        const std::string metadata = bench.show(*frame);
        const auto marked = marks.find(number);
        if (marked == marks.end()) {
            continue;
        }
        for (const Box& person : marked->second) {
            ++people;
            found += isFound(person, boxesOf(metadata, frame->width, frame->height)) ? 1 : 0;
        }
    }
    EXPECT_GE(people, 100U);
    EXPECT_GE(found * 5, people * 4) << found << " of " << people;
    RecordProperty("found", static_cast<int>(found));
    RecordProperty("people", static_cast<int>(people));
}

} // namespace
