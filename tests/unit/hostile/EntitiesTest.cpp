// Declared entities stay the letters that they are: nothing is expanded, nothing is fetched.

#include "Answers.h"
#include "Bomb.h"
#include "Xml.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace hostile {

namespace {

using korva::meridan::OnvifTarget;
using namespace testing;

constexpr char kSecret[] = "what-stands-in-the-file";

std::string withDeclaration(const std::string& declaration, const std::string& rules)
{
    return "<!DOCTYPE a [" + declaration + "]>" + documentOf(rules);
}

std::string laughs()
{
    std::string declaration = "<!ENTITY l0 \"ha\">";
    for (int i = 1; i <= 9; ++i) {
        const std::string before = "&l" + std::to_string(i - 1) + ";";
        declaration += "<!ENTITY l" + std::to_string(i) + " \"" + repeated(before, 10) + "\">";
    }
    return declaration;
}

class EntitiesTest : public BombTest {
protected:
    EntitiesTest() { folder.write("secret", kSecret); }

    std::string path() const { return folder / "secret"; }

    kit::TemporaryFolder folder;
};

TEST_F(EntitiesTest, expandsNoEntity)
{
    const std::string text =
        withDeclaration(laughs(), rule(item("PtzPreset", "&l9;")) + "<tt:Rule Name=\"&l9;\">&l9;</tt:Rule>");
    detonateOnce("entities-billion-laughs", 1, [&](std::size_t /*size*/) {
        BombDevice device;
        setConfiguration(device.target(), text);
        return text.size();
    });

    BombDevice device;
    EXPECT_EQ(setConfiguration(device.target(), text), "0/0");
    EXPECT_THAT(ask(device.target(), &OnvifTarget::getUsedPtzPresets), ElementsAre("&l9;"));
    EXPECT_THAT(presetConfiguration(device.target(), "&l9;"),
                HasSubstr(rule(item("PtzPreset", "&amp;l9;")) + "<tt:Rule Name=\"&amp;l9;\">&amp;l9;</tt:Rule>"));
    EXPECT_THAT(kit::platform().settings.analytics(), Not(HasSubstr("ENTITY")));
    EXPECT_THAT(kit::platform().settings.analytics(), Not(HasSubstr("haha")));
}

TEST_F(EntitiesTest, fetchesNoExternalEntity)
{
    ASSERT_TRUE(std::filesystem::exists(path()));
    const std::string text =
        withDeclaration("<!ENTITY f SYSTEM \"file://" + path() + "\"><!ENTITY % p SYSTEM \"" + path() + "\">%p;",
                        rule(item("Text", "&f;") + "&f;"));
    BombDevice device;
    EXPECT_EQ(setConfiguration(device.target(), text), "0/0");
    EXPECT_THAT(ask(device.target(), &OnvifTarget::getCurrentRules),
                ElementsAre(rule(item("Text", "&amp;f;") + "&amp;f;")));
    EXPECT_THAT(presetConfiguration(device.target(), ""), Not(HasSubstr(kSecret)));
    EXPECT_THAT(kit::platform().settings.analytics(), Not(HasSubstr(kSecret)));
    EXPECT_THAT(kit::platform().settings.analytics(), HasSubstr("&amp;f;"));
}

TEST_F(EntitiesTest, fetchesNoExternalDeclaration)
{
    const std::string text = "<!DOCTYPE a SYSTEM \"file://" + path() + "\">" + documentOf(rule(""));
    BombDevice device;
    EXPECT_EQ(setConfiguration(device.target(), text), "0/0");
    EXPECT_THAT(kit::platform().settings.analytics(), Not(HasSubstr("DOCTYPE")));
    EXPECT_THAT(kit::platform().settings.analytics(), Not(HasSubstr(kSecret)));
}

TEST_F(EntitiesTest, expandsNothingInASingleRule)
{
    const std::string text = "<!DOCTYPE a [" + laughs() + "]>" + component("&l9;", item("PtzPreset", "&l9;"));
    BombDevice device(Content::kReal);
    EXPECT_EQ(callWithList(device.target(), &OnvifTarget::createRules, {text}), 0u);
    EXPECT_EQ(callWithList(device.target(), &OnvifTarget::deleteRules, {"&l9;"}), 0u);
}

TEST_F(EntitiesTest, takesADeclarationOfTenMegabytes)
{
    std::string answer;
    detonate("entities-10mb", 1000 * 300, [&](std::size_t n) {
        const std::string text = withDeclaration(repeated("<!ENTITY e \"x\"><!-- ' -->", n), rule(""));
        BombDevice device;
        answer = setConfiguration(device.target(), text);
        return text.size();
    });
    EXPECT_EQ(answer, "0/0");
    EXPECT_LT(kit::platform().settings.analytics().size(), 1000u);
}

} // namespace

} // namespace hostile
