// The documented order and its tests name each other.
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

namespace {

std::string inTree(const std::string& path)
{
    return kit::contentOf(SOURCE_TREE + path);
}

std::set<std::string> matches(const std::string& text, const std::regex& pattern)
{
    std::set<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
        found.insert((*match)[1]);
    }
    return found;
}

TEST(PositioningTable, hasOneTestForEachRow)
{
    const auto rows = matches(inTree("/docs/positioning-events.md"), std::regex("\\| `(\\w+)` \\|\n"));
    const auto tests = matches(inTree("/tests/integration/camera_pipeline/PositioningEventsTest.cpp"),
                               std::regex("TEST_F\\(PositioningEventsTest, (\\w+)\\)"));
    EXPECT_GT(rows.size(), 15u);
    EXPECT_EQ(rows, tests);
}

} // namespace
