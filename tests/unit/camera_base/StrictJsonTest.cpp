#include "camera/base/JsonText.h"
#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using camera::base::jsonLine;
using camera::base::oneLineJson;
using camera::base::readStrictJson;
using testing::HasSubstr;

std::string problem(const std::string& document)
{
    return kit::refusalOf<std::invalid_argument>([&] { readStrictJson(document, 1000); });
}

TEST(StrictJson, readsWhatIsWrittenInOneLineByteForByte)
{
    Json::Value value;
    value["bytes"] = "\xff \"x\" \xe2\x82\xac\n";
    value["list"].append(1.5);
    const std::string line = oneLineJson(value);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(readStrictJson(line, 1000), value);
}

TEST(StrictJson, saysWhatIsWrongAndWhere)
{
    EXPECT_EQ(problem("{}"), "not refused");
    EXPECT_EQ(problem("{\"a\":1,\n\"a\":2}"), "it is no JSON document: Line 2, Column 1: Duplicate key: 'a'");
    EXPECT_THAT(problem("{} {}"), HasSubstr("it is no JSON document: Line 1, Column 4"));
    EXPECT_THAT(problem("[1,]"), HasSubstr("it is no JSON document"));
    EXPECT_EQ(problem("// what it is\n{/* nothing */} // more"), "not refused");
    EXPECT_THAT(problem("[NaN]"), HasSubstr("it is no JSON document"));
    EXPECT_THAT(problem(""), HasSubstr("it is no JSON document"));
    EXPECT_EQ(problem(std::string(900, '[')), "it is no JSON document");
    EXPECT_EQ(problem(std::string(1001, ' ')), "it is larger than 1000 bytes");
    EXPECT_LT(problem("[1" + std::string(900, 'x')).size(), 300u);
}

TEST(JsonLine, isOneLineOfUtf8WithTheCommonFieldsFirst)
{
    Json::Value object;
    object["Alpha"] = 0.1;
    object["zoom"] = 2.0;
    object["count"] = Json::UInt64(18446744073709551615U);
    object["state"] = true;
    object["time"] = "\xff\n";
    EXPECT_EQ("{\"time\":\"\xef\xbf\xbd\\n\",\"state\":true,\"Alpha\":0.1,\"count\":18446744073709551615,\"zoom\":2}",
              jsonLine(object));
    EXPECT_EQ("{}", jsonLine(Json::Value(Json::objectValue)));
}

} // namespace
