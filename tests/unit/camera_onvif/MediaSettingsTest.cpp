#include "camera/onvif/MediaSettings.h"

#include <gmock/gmock.h>

#include <string>

namespace camera::onvif {
namespace {

TEST(MediaSettingsTest, comeBackFromTheirDocument)
{
    MediaSettings settings;
    settings.profiles.push_back({"mine", "n", {{MediaKind::ptz, "PTZ_1"}}});
    settings.encoders[0] = {PictureSize{640, 360}, 12.5, 64, 1, "Baseline"};
    settings.encoders[1] = {std::nullopt, std::nullopt, 16384, 300, "High"};
    settings.metadata = {false, false, true, true, true};
    settings.ptz = {space::kDegrees, space::kTranslation, 0.5, 0.25, std::chrono::milliseconds(100)};
    settings.names["VideoSource_1"] = "gate";
    const auto read = parseMediaSettings(format(settings));
    ASSERT_TRUE(read);
    EXPECT_EQ(format(settings), format(*read));
    EXPECT_NE(format(settings), format(MediaSettings()));
    EXPECT_EQ("PTZ_1", read->profiles[2].configurations.at(MediaKind::ptz));
    EXPECT_EQ(12.5, read->encoders[0].framesPerSecond);
    EXPECT_FALSE(read->encoders[1].size);
    EXPECT_EQ("gate", read->names.at("VideoSource_1"));
}

TEST(MediaSettingsTest, tellThatThePtzConfigurationIsAnother)
{
    MediaSettings changed;
    changed.ptz.timeout = std::chrono::milliseconds(500);
    const MediaDifference difference = differenceOf(MediaSettings(), changed);
    ASSERT_EQ(1U, difference.configurations.size());
    EXPECT_EQ(std::pair(std::string("PTZ_1"), MediaKind::ptz), difference.configurations.front());
}

TEST(MediaSettingsTest, areNotReadOfWhatIsNoneOfTheirDocuments)
{
    const std::string good = format(MediaSettings());
    const auto changed = [&good](const std::string& part, const std::string& other) {
        std::string text = good;
        const std::size_t at = text.find(part);
        EXPECT_NE(std::string::npos, at) << part;
        return at == std::string::npos ? "" : text.replace(at, part.size(), other);
    };
    ASSERT_TRUE(parseMediaSettings(good));
    for (const std::string& document :
         {std::string(), std::string("[]"), std::string("{}"), std::string("null"), changed("Profile_2", "Profile_1"),
          changed("\"Profile_1\"", "\"\""), changed("\"VideoEncoder_1\"", "\"VideoEncoder_3\""),
          changed("\"Main\"", "\"Best\""), changed("\"gov_length\":50", "\"gov_length\":0"), changed("640", "\"a\""),
          changed("\"gzip\":false", "\"gzip\":0"), changed("\"zoom_speed\":1", "\"zoom_speed\":2"),
          changed("TranslationSpaceFov", "PositionGenericSpace"), changed("60000", "50"),
          changed("\"PTZ_1\":\"PTZ\"", "\"PTZ_2\":\"PTZ\"")}) {
        EXPECT_FALSE(parseMediaSettings(document)) << document;
    }
    MediaSettings many;
    many.profiles.resize(MediaSettings::kFixedProfiles - 1);
    EXPECT_FALSE(parseMediaSettings(format(many)));
    many = MediaSettings();
    while (many.profiles.size() <= MediaSettings::kMostProfiles) {
        many.profiles.push_back({"p" + std::to_string(many.profiles.size()), "n", {}});
    }
    EXPECT_FALSE(parseMediaSettings(format(many)));
    many.profiles.pop_back();
    EXPECT_TRUE(parseMediaSettings(format(many)));
}

} // namespace
} // namespace camera::onvif
