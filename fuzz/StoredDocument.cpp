// Starts on whatever the store holds, works, and starts again.

#include "kit/HostSeam.h"
#include "kit/QuietPlatform.h"
#include "settings/OnvifSettings.h"
#include "support/Check.h"
#include "support/Device.h"
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

/// No bytes are no document.
void putIntoStore(const std::uint8_t* data, std::size_t size)
{
    kit::platform().settings.documents.clear();
    if (size != 0) {
        kit::platform().settings.analytics().assign(reinterpret_cast<const char*>(data), size);
    }
}

void checkSavedAlike()
{
    const bool stored = !kit::platform().settings.documents.empty();
    std::map<std::string, std::string> before = expectedFrom(stored ? kit::platform().settings.analytics() : "");
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
    kit::resetQuietly();
    putIntoStore(data, size);
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
    putIntoStore(data, size);
    checkSavedAlike();
    return 0;
}
