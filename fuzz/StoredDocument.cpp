// Starts on whatever the store holds, works, and starts again.

#include "settings/OnvifSettings.h"
#include "support/Check.h"
#include "support/Device.h"
#include "support/StubPlatform.h"
#include "json/Exception.h"
#include "json/Reader.h"

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

void checkSavedAlike()
{
    const std::map<std::string, std::string> before = loaded();
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
