#include "json/UnknownElement.h"

#include "json/Exception.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace {

template <typename Action>
std::string complaintOf(Action action)
{
    try {
        action();
    } catch (const json::Exception& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(UnknownElement, isNullAtFirst)
{
    const json::UnknownElement element;
    EXPECT_TRUE(element.Visit([](const auto& value) { return std::is_same_v<decltype(value), const json::Null&>; }));
}

TEST(UnknownElement, becomesAnEmptyObjectWhenItIsOfAnotherKind)
{
    json::UnknownElement element(5.0);
    json::Object& object = element;
    EXPECT_EQ(object.Size(), 0U);
    EXPECT_EQ(complaintOf([&] { object["key"]; }), "Object member not found: key");
    EXPECT_EQ(complaintOf([&] { static_cast<void>(static_cast<json::Number>(element)); }), "Bad cast");
}

TEST(UnknownElement, staysTheObjectThatItIs)
{
    json::Object content;
    content.Append("key", json::String("K"));
    json::UnknownElement element(std::move(content));
    json::Object& object = element;
    EXPECT_EQ(std::string_view(object["key"]), "K");
}

TEST(UnknownElement, isNotReplacedWhenItCannotBeChanged)
{
    const json::UnknownElement element(5.0);
    EXPECT_EQ(complaintOf([&] { static_cast<void>(static_cast<const json::Object&>(element)); }), "Bad cast");
    EXPECT_EQ(static_cast<json::Number>(element), 5.0);
}

TEST(UnknownElement, refusesEveryOtherKindAsAString)
{
    const json::UnknownElement others[] = {json::Null(), true, 1.0, json::Array(), json::Object()};
    for (const json::UnknownElement& element : others) {
        EXPECT_EQ(complaintOf([&] { static_cast<void>(static_cast<std::string_view>(element)); }), "Bad cast");
        EXPECT_EQ(complaintOf([&] { static_cast<void>(json::UnknownElement(element).TakeString()); }), "Bad cast");
    }
}

TEST(UnknownElement, refusesAStringAsAnyOtherKind)
{
    const json::UnknownElement element(json::String("1"));
    EXPECT_EQ(complaintOf([&] { static_cast<void>(static_cast<json::Number>(element)); }), "Bad cast");
    EXPECT_EQ(complaintOf([&] { static_cast<void>(static_cast<json::Boolean>(element)); }), "Bad cast");
    EXPECT_EQ(complaintOf([&] { static_cast<void>(static_cast<const json::Array&>(element)); }), "Bad cast");
    EXPECT_EQ(complaintOf([&] { static_cast<void>(static_cast<const json::Object&>(element)); }), "Bad cast");
}

TEST(UnknownElement, givesItsStringAway)
{
    const std::string text(100, 'a');
    EXPECT_EQ(json::UnknownElement(text).TakeString(), text);
    EXPECT_EQ(json::UnknownElement(json::BorrowedString{text}).TakeString(), text);
}

TEST(UnknownElement, looksAtABorrowedStringWhereItStands)
{
    const std::string text = "abc";
    const json::UnknownElement element(json::BorrowedString{text});
    EXPECT_EQ(std::string_view(element).data(), text.data());
}

TEST(Object, findsMembersByTheirWholeName)
{
    json::Object object;
    object.Append("keys", 1.0);
    object.Append("key", 2.0);
    const json::Object& looked = object;
    EXPECT_EQ(static_cast<json::Number>(looked["key"]), 2.0);
    EXPECT_EQ(complaintOf([&] { looked["ke"]; }), "Object member not found: ke");
    EXPECT_EQ(complaintOf([&] { looked[""]; }), "Object member not found: ");
}

TEST(Array, keepsItsElementsInOrder)
{
    json::Array array;
    array.Append(1.0);
    array.Append(2.0);
    ASSERT_EQ(array.Size(), 2U);
    EXPECT_EQ(static_cast<json::Number>(array[0]), 1.0);
    EXPECT_EQ(static_cast<json::Number>(std::as_const(array)[1]), 2.0);
    double sum = 0;
    for (const json::UnknownElement& element : std::as_const(array)) {
        sum = 10 * sum + static_cast<json::Number>(element);
    }
    EXPECT_EQ(sum, 12.0);
}
