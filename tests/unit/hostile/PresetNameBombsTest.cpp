// Preset names of a megabyte: as long as that and made of what needs care.

#include "Answers.h"
#include "Bomb.h"
#include "Xml.h"
#include "kit/XmlText.h"

#include <algorithm>

namespace hostile {

namespace {

using korva::meridan::OnvifTarget;

constexpr std::size_t kMegabyte = 1024 * 1024;

struct NameBomb {
    const char* name;
    const char* piece;
};

/// What a name that goes in by a configuration shows afterwards.
struct Journey {
    std::string answer;
    bool activeAtPreset = false;
    bool listedAsUsed = false;
    bool givenForPreset = false;
    bool givenAfterRestart = false;
    bool activeAfterRestart = false;
    bool goneWithPreset = false;
};

std::size_t travel(const std::string& preset, Journey& journey)
{
    const std::string text = documentOf(rule(item("PtzPreset", kit::escapedAttribute(preset))));
    BombDevice device;
    journey.answer = setConfiguration(device.target(), text);
    device.target().handlePresetStateEvent(2, preset);
    journey.activeAtPreset = device.isActive();
    const std::vector<std::string> used = ask(device.target(), &OnvifTarget::getUsedPtzPresets);
    journey.listedAsUsed = used == std::vector<std::string>{preset};

    const std::string given = presetConfiguration(device.target(), preset);
    journey.givenForPreset = given.find("<tt:Rule Name=\"R\"") != std::string::npos;
    device.restart();
    journey.givenAfterRestart = presetConfiguration(device.target(), preset) == given;
    device.target().handlePresetStateEvent(2, preset);
    journey.activeAfterRestart = device.isActive();
    device.target().handlePresetModifiedEvent(preset);
    journey.goneWithPreset = !device.isActive() && ask(device.target(), &OnvifTarget::getCurrentRules).empty();
    return text.size();
}

class PresetNameBombTest : public BombTest, public ::testing::WithParamInterface<NameBomb> {};

TEST_P(PresetNameBombTest, goesInAndComesBack)
{
    const std::string piece = GetParam().piece;
    Journey journey;
    detonate(std::string("preset-name-1mb-") + GetParam().name, kMegabyte / piece.size(),
             [&](std::size_t n) { return travel(repeated(piece, n), journey); });
    EXPECT_EQ(journey.answer, "0/0");
    EXPECT_TRUE(journey.activeAtPreset);
    EXPECT_TRUE(journey.listedAsUsed);
    EXPECT_TRUE(journey.givenForPreset);
    EXPECT_TRUE(journey.givenAfterRestart);
    EXPECT_TRUE(journey.activeAfterRestart);
    EXPECT_TRUE(journey.goneWithPreset);
}

constexpr NameBomb kNameBombs[] = {
    {"letters", "a"},
    {"double-quotes", "\""},
    {"single-quotes", "'"},
    {"controls", "\x01\x02\b\t\n\v\f\r\x1b\x1f\x7f"},
    {"cdata-ends", "]]>"},
    {"markup", "<&>"},
    {"backslashes", "\\u0041\\"},
    {"format-letters", "%s%n%999999d"},
    {"emoji", "\xf0\x9f\x98\x80"},
    {"two-byte-letters", "\xc3\xa9"},
    {"right-to-left", "\xe2\x80\xae\xd7\xa9\xd7\x9c\xd9\x85"},
    {"invalid-utf8", "\xff\xfe\xc0\xaf\x80\xed\xa0\x80\xf5"},
    {"cut-utf8", "\xe2\x82"},
};

std::string titleOf(const ::testing::TestParamInfo<NameBomb>& info)
{
    std::string title = info.param.name;
    std::replace(title.begin(), title.end(), '-', '_');
    return title;
}

INSTANTIATE_TEST_SUITE_P(OfAMegabyte, PresetNameBombTest, ::testing::ValuesIn(kNameBombs), titleOf);

// Nothing frees its memory: the query and the event take the name as it is.
TEST_F(BombTest, asksForAPresetThatNobodyConfigured)
{
    std::string given;
    std::string current;
    detonate("unknown-preset-1mb", kMegabyte, [&](std::size_t n) {
        BombDevice device;
        const std::string preset(n, '"');
        given = presetConfiguration(device.target(), preset);
        current = currentConfiguration(device.target());
        device.target().handlePresetModifiedEvent(preset);
        device.target().handlePresetStateEvent(2, preset);
        return preset.size();
    });
    EXPECT_EQ(given, current);
    EXPECT_EQ(kit::platform().settings.writes, 0u);
}

} // namespace

} // namespace hostile
