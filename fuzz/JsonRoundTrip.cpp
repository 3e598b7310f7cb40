// What is read writes and reads alike, and every byte string survives as a value and as a name.

#include "support/Check.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace {

bool same(const json::UnknownElement& left, const json::UnknownElement& right);

bool sameArrays(const json::Array& left, const json::Array& right)
{
    bool alike = left.Size() == right.Size();
    for (std::size_t i = 0; alike && i < left.Size(); ++i) {
        alike = same(left[i], right[i]);
    }
    return alike;
}

bool sameObjects(const json::Object& left, const json::Object& right)
{
    bool alike = left.Size() == right.Size();
    const json::Member* other = right.begin();
    for (const json::Member& member : left) {
        alike = alike && member.name == other->name && same(member.element, other->element);
        ++other;
    }
    return alike;
}

struct SameKind {
    template <typename Left, typename Right>
    bool operator()(const Left& left, const Right& right) const
    {
        if constexpr (!std::is_same_v<Left, Right>) {
            return false;
        } else if constexpr (std::is_same_v<Left, json::Null>) {
            return true;
        } else if constexpr (std::is_same_v<Left, json::Number>) {
            return std::memcmp(&left, &right, sizeof left) == 0;
        } else if constexpr (std::is_same_v<Left, json::BorrowedString>) {
            return left.text == right.text;
        } else if constexpr (std::is_same_v<Left, json::Array>) {
            return sameArrays(left, right);
        } else if constexpr (std::is_same_v<Left, json::Object>) {
            return sameObjects(left, right);
        } else {
            return left == right;
        }
    }
};

bool same(const json::UnknownElement& left, const json::UnknownElement& right)
{
    return left.Visit(
        [&](const auto& own) { return right.Visit([&](const auto& other) { return SameKind()(own, other); }); });
}

void checkDocument(std::string_view text)
{
    json::Array document;
    try {
        document = json::Reader::Read(text);
    } catch (const json::Reader::ParseException& error) {
        fuzz::check(std::strchr(error.what(), '\n') == nullptr, "a complaint is one line");
        return;
    }
    std::string written;
    try {
        written = json::Writer::Write(document);
    } catch (const json::Exception& error) { // read, but beyond what a text can say
        fuzz::check(std::string_view(error.what()) == "A number is not finite",
                    "only an infinite number is not written");
        return;
    }
    const json::Array again = json::Reader::Read(written);
    fuzz::check(sameArrays(document, again), "what was written reads alike");
    fuzz::checkSame(written, json::Writer::Write(again), "what was read writes alike");
}

void checkBytes(const std::string& bytes)
{
    json::Object object;
    object.Append(bytes, json::BorrowedString{bytes});
    json::Array document;
    document.Append(bytes);
    document.Append(std::move(object));

    json::Array again = json::Reader::Read(json::Writer::Write(document));
    fuzz::check(again.Size() == 2, "both elements come back");
    fuzz::checkSame(bytes, std::string_view(again[0]), "a string comes back");
    json::Object& read = again[1];
    fuzz::checkSame(bytes, std::string_view(read[bytes]), "a member comes back by its name");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    checkDocument(bytes);
    checkBytes(bytes);
    return 0;
}
