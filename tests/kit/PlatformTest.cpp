#include "kit/PlatformTest.h"

#include <numeric>
#include <string_view>

namespace kit {

namespace {

unsigned int variantOfThisTest()
{
    const ::testing::TestInfo* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string_view name = test == nullptr ? std::string_view() : test->name();
    return std::accumulate(name.begin(), name.end(), 0U,
                           [](unsigned int sum, char letter) { return sum + static_cast<unsigned char>(letter); });
}

} // namespace

void resetPlatform()
{
    platform().reset();
    platform().engineLibrary.imageMade = watchBlock;
    forgetWatchedBlocks();
    restartRuleSetIds();
    journal().record(true);
}

PlatformTest::PlatformTest()
{
    resetPlatform();
    const unsigned int variant = variantOfThisTest();
    platform().positioning.variant = variant;
    platform().dayNight.variant = variant;
    platform().windowBlanking.variant = variant;
    platform().rotation.variant = variant;
}

void PlatformTest::expectFormatsWithoutNames()
{
    static constexpr const char* kNames[] = {"getActiveSettingsKey", "reconfigure", "handlePositioning",
                                             "handlePreset",         "handleTour",  "initialize",
                                             "mergeConfigurations",  "getCurrent",  "activateRuleSet"};
    for (const std::string& format : journal().formats()) {
        for (const char* const name : kNames) {
            EXPECT_EQ(format.find(name), std::string::npos) << format;
        }
    }
}

} // namespace kit
