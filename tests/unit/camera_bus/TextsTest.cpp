#include "camera/bus/Texts.h"

#include "camera/base/Log.h"
#include "camera/bus/Client.h"
#include "camera/bus/Server.h"
#include "kit/Refusal.h"

#include <gtest/gtest.h>

namespace {

using namespace camera::bus;
using Lists = std::map<std::string, std::vector<std::string>>;

TEST(TextsTest, areCheckedCleanedAndCountedHoweverDeep)
{
    std::tuple<std::uint32_t, std::vector<sdbus::Struct<std::string, bool>>, Lists> value{
        1, {{"one", true}, {"tw\xFF", false}}, {{"k\xFF", {"x\xFF"}}}};
    EXPECT_EQ(bytesOf(value), 10U);
    EXPECT_EQ(kit::refusalOf<sdbus::Error>([&] { check(value, "the greeting"); }),
              "[ravel.Error.InvalidText] the greeting is not UTF-8 or holds a NUL byte");
    value = sendable(value);
    EXPECT_EQ(std::get<1>(value)[1].get<0>(), "tw\xEF\xBF\xBD");
    EXPECT_EQ(std::get<2>(value), (Lists{{"k\xEF\xBF\xBD", {"x\xEF\xBF\xBD"}}}));
    EXPECT_NO_THROW(check(value, "the greeting"));
}

TEST(TextsTest, areRefusedWhenNoMessageCanCarryThem)
{
    const std::string most(camera::base::kLargestMessage - 1, 'x');
    EXPECT_NO_THROW(checkSize("the greeting", most, std::string("y")));
    EXPECT_EQ(kit::refusalOf<sdbus::Error>([&] { checkSize("the greeting", most, std::string("yy")); }),
              "[ravel.Error.TooLarge] the greeting has 16777217 bytes; a message has at most 16777216");
}

TEST(ErrorsTest, sayWhetherNobodyAnswersOrNobodyIsThere)
{
    for (const char* name : {error::kNoReply, error::kTimeout}) {
        EXPECT_TRUE(isSilence(sdbus::Error(name, "")));
        EXPECT_FALSE(isAbsence(sdbus::Error(name, "")));
    }
    for (const char* name : {error::kServiceUnknown, error::kNoOwner}) {
        EXPECT_FALSE(isSilence(sdbus::Error(name, "")));
        EXPECT_TRUE(isAbsence(sdbus::Error(name, "")));
    }
    EXPECT_EQ(kDefaultPatience, std::chrono::seconds(2)) << "as the promises to a host say";
}

TEST(SetLogLevelTest, takesTheNamesOfTheLevels)
{
    setLogLevel("debug");
    EXPECT_EQ(camera::base::Log::instance().level(), camera::base::LogLevel::debug);
    setLogLevel("error");
    EXPECT_EQ(camera::base::Log::instance().level(), camera::base::LogLevel::error);
    EXPECT_EQ(kit::refusalOf<Refusal>([] { setLogLevel("loud"); }),
              "there is no log level 'loud'; there are error, info and debug");
}

} // namespace
