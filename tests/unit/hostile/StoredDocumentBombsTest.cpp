// Starting on a stored document of hostile size and shape. Nothing is written by a start, and what cannot be read
// leaves the settings before it.

#include "Answers.h"
#include "Bomb.h"
#include "Xml.h"

namespace hostile {

namespace {

using korva::meridan::OnvifTarget;

constexpr std::size_t kMillion = 1000 * 1000;
constexpr std::size_t kTenMegabytes = 10 * 1024 * 1024;

// Reading JSON recurses, up to a fixed depth: a start needs this much stack whatever is stored.
constexpr std::size_t kNestedJsonStackKib = 256;

/// One setting of the stored document; neither text may need an escape.
std::string setting(const std::string& key, const std::string& config)
{
    return R"({ "key" : ")" + key + R"(", "config" : ")" + config + R"(" })";
}

std::string withSingleQuotes(std::string xml)
{
    for (char& character : xml) {
        character = character == '"' ? '\'' : character;
    }
    return xml;
}

class StoredDocumentBombTest : public BombTest {
protected:
    void expectStart(const std::string& name, std::size_t size, const std::function<std::string(std::size_t)>& document,
                     std::size_t ruleSets, std::size_t stackKib = kSmallStackKib)
    {
        std::size_t restored = 0;
        std::size_t rules = 0;
        detonate(
            name, size,
            [&](std::size_t n) {
                kit::platform().settings.analytics() = document(n);
                const std::size_t bytes = kit::platform().settings.analytics().size();
                BombDevice device;
                restored = static_cast<std::size_t>(device.engine().notReturned());
                rules = ask(device.target(), &OnvifTarget::getCurrentRules).size();
                currentConfiguration(device.target());
                return bytes;
            },
            stackKib);
        EXPECT_EQ(restored, ruleSets);
        EXPECT_EQ(rules, ruleSets);
        EXPECT_EQ(kit::platform().settings.writes, 0u);
    }
};

TEST_F(StoredDocumentBombTest, restoresOneSettingOfTenMegabytes)
{
    expectStart(
        "stored-setting-10mb", kTenMegabytes,
        [](std::size_t n) {
            const std::string text = documentOf(rule(item("Text", std::string(n, 'x'))));
            return "[ " + setting("Plain", withSingleQuotes(text)) + " ]";
        },
        1);
}

TEST_F(StoredDocumentBombTest, restoresAMillionNestedElements)
{
    expectStart(
        "stored-nested-elements-1000000", kMillion,
        [](std::size_t n) {
            const std::string text = documentOf(rule(repeated("<a>", n) + repeated("</a>", n)));
            return "[ " + setting("PlainZintuInternalSimpleAnalyticsPreset", withSingleQuotes(text)) + " ]";
        },
        1);
}

TEST_F(StoredDocumentBombTest, restoresAHundredThousandSettings)
{
    constexpr std::size_t kSettings = 100 * 1000;
    expectStart(
        "stored-settings-100000", kSettings,
        [](std::size_t n) {
            const std::string text = withSingleQuotes(documentOf(rule("")));
            std::string document = "[ " + setting("Plain", text);
            for (std::size_t i = 1; i < n; ++i) {
                document += ", " + setting("Plain" + std::to_string(i), text);
            }
            return document + " ]";
        },
        kSettings);
}

TEST_F(StoredDocumentBombTest, readsAMillionMembersOfOneObject)
{
    expectStart(
        "stored-members-1000000", kMillion,
        [](std::size_t n) {
            return R"([ { "config" : ")" + withSingleQuotes(documentOf(rule(""))) + R"(", )" +
                   repeated(R"("x" : 1, )", n) + R"("key" : "Plain" } ])";
        },
        1);
}

TEST_F(StoredDocumentBombTest, stopsAtAMillionElementsThatAreNoSettings)
{
    expectStart(
        "stored-elements-1000000", kMillion, [](std::size_t n) { return "[ " + repeated("0, ", n) + "0 ]"; }, 0);
}

TEST_F(StoredDocumentBombTest, refusesAMillionNestedArrays)
{
    expectStart(
        "stored-nested-arrays-1000000", kMillion,
        [](std::size_t n) { return std::string(n, '[') + std::string(n, ']'); }, 0, kNestedJsonStackKib);
}

TEST_F(StoredDocumentBombTest, refusesAMillionNestedObjects)
{
    expectStart(
        "stored-nested-objects-1000000", kMillion,
        [](std::size_t n) { return "[ " + repeated(R"({"key":)", n) + "0" + std::string(n, '}') + " ]"; }, 0,
        kNestedJsonStackKib);
}

TEST_F(StoredDocumentBombTest, readsTheDeepestDocumentThatItTakes)
{
    expectStart(
        "stored-nested-255", 255, [](std::size_t n) { return std::string(n, '[') + std::string(n, ']'); }, 0,
        kNestedJsonStackKib);
}

TEST_F(StoredDocumentBombTest, refusesAStringThatNeverEnds)
{
    expectStart(
        "stored-unclosed-10mb", kTenMegabytes, [](std::size_t n) { return R"([ { "key" : ")" + std::string(n, 'x'); },
        0);
}

} // namespace

} // namespace hostile
