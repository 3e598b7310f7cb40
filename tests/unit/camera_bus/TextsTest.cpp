#include "camera/bus/Texts.h"

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

} // namespace
