// Starts on whatever the store holds, works, and starts again.

#include "settings/OnvifSettings.h"
#include "support/Check.h"
#include "support/Device.h"
#include "support/StubPlatform.h"
#include "json/Exception.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"

#include <map>

namespace {

std::map<std::string, std::string> loaded()
{
    const korva::meridan::OnvifSettings settings(nullptr);
    const std::vector<std::string> keys = settings.GetAllKeys();
    std::map<std::string, std::string> all;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (i < keys.size() / 2) {
            fuzz::check(keys[i].empty(), "the first half of the keys is empty");
        } else {
            all[keys[i]] = settings.GetSetting(keys[i]);
        }
    }
    fuzz::check(all.size() == keys.size() / 2, "every key is listed once");
    return all;
}

/// The settings in front of the first element that is none.
std::map<std::string, std::string> expectedFrom(const std::string& text)
{
    std::map<std::string, std::string> settings;
    try {
        const json::Array document = json::Reader::Read(text.empty() ? "[]" : text);
        for (const json::UnknownElement& element : document) {
            const json::Object& setting = element;
            const auto key = static_cast<std::string_view>(setting["key"]);
            const auto config = static_cast<std::string_view>(setting["config"]);
            settings[std::string(key)] = config;
        }
    } catch (const json::Exception&) { // what was read stays
    }
    return settings;
}

void checkSavedAlike()
{
    std::map<std::string, std::string> before = expectedFrom(fuzz::platform().document);
    before[""] = ""; // nobody is given the text of the empty key
    std::map<std::string, std::string> first = loaded();
    first[""] = "";
    fuzz::check(first == before, "every setting in front of the first bad element is loaded");
    before = loaded();
    korva::meridan::OnvifSettings(nullptr).Save();
    fuzz::check(loaded() == before, "what was loaded and saved loads the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::resetPlatform();
    fuzz::platform().document.assign(reinterpret_cast<const char*>(data), size);
    {
        fuzz::Device device;
        device.askEverything();
        device.restart();
        device.setConfiguration("<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration>"
                                "<tt:Rule Name=\"R\" Type=\"tt:MotionRule\"/>"
                                "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>");
        device.target().handlePresetStateEvent(2, "P1");
        device.remove({"R1"}, false);
        device.askEverything();
        device.restart();
        device.askEverything();
    }
    fuzz::platform().document.assign(reinterpret_cast<const char*>(data), size);
    checkSavedAlike();
    return 0;
}
