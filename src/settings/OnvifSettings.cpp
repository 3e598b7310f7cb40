#include "settings/OnvifSettings.h"

#include "ravel/logging.h"
#include "ravel/settings.h"
#include "json/Exception.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <utility>

namespace korva::meridan {

namespace {

constexpr char kStoreKey[] = "OnvifAnalytics";
constexpr char kDefaultDocument[] = "[]";
constexpr char kKeyMember[] = "key";
constexpr char kConfigMember[] = "config";
constexpr std::size_t kShortLength = 10;

} // namespace

OnvifSettings::OnvifSettings(void* context) : logContext(context)
{
    ravel_core_settings_set_default_json_value(kStoreKey, kDefaultDocument);
    Load();
}

void OnvifSettings::Load()
{
    settingsMap.clear();
    std::string text;
    if (ravel::core::settingsGetJson(kStoreKey, text) != 0) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "Failed to load OnvifSettings.");
        return;
    }
    try {
        readDocument(text);
    } catch (const json::Reader::ParseException& error) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "Caught OnvifSettings ParseException: %s",
                               error.what());
    } catch (const json::Exception& error) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "Caught OnvifSettings json exception: %s",
                               error.what());
    } catch (...) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "Caught OnvifSettings load json exception");
    }
}

// Both texts are taken before the map is touched: a setting without its text never gets in.
void OnvifSettings::readDocument(const std::string& text)
{
    json::Array document = json::Reader::Read(text);
    for (json::UnknownElement& element : document) {
        json::Object& setting = element;
        std::string key = std::move(setting[kKeyMember]).TakeString();
        std::string config = std::move(setting[kConfigMember]).TakeString();
        settingsMap[std::move(key)] = std::move(config);
    }
}

// Without settings the stored document stays as it is: a caller that removed the last setting finds
// it again after a restart.
void OnvifSettings::Save()
{
    if (settingsMap.empty()) {
        return;
    }
    json::Array document;
    document.Reserve(settingsMap.size());
    for (const auto& [key, config] : settingsMap) {
        json::Object setting;
        setting.Reserve(2);
        setting.Append(kKeyMember, json::BorrowedString{key});
        setting.Append(kConfigMember, json::BorrowedString{config});
        document.Append(std::move(setting));
    }
    ravel::core::settingsSetJson(kStoreKey, json::Writer::Write(document));
}

void OnvifSettings::AddOrModifyBehaviorSetting(const std::string& key, const std::string& config)
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_INFO, "Analytics Setting Key %s: %s", key.c_str(),
                           config.c_str());
    // Key and text in one step: a key left without its text for want of memory would be saved like that later.
    settingsMap.insert_or_assign(key, config);
    Save();
}

std::string OnvifSettings::GetSetting(const std::string& key) const
{
    const auto found = settingsMap.find(key);
    if (key.empty() || found == settingsMap.end()) {
        logUnknown(key);
        return "";
    }
    return found->second;
}

// The empty strings in front are part of what callers get; the number of settings is half the size.
std::vector<std::string> OnvifSettings::GetAllKeys() const
{
    std::vector<std::string> keys(settingsMap.size());
    keys.reserve(2 * settingsMap.size());
    for (const auto& setting : settingsMap) {
        keys.push_back(setting.first);
    }
    return keys;
}

void OnvifSettings::DeleteSettings(const std::string& key)
{
    if (key.empty() || settingsMap.erase(key) == 0) {
        logUnknown(key);
    }
}

void OnvifSettings::ShortLog() const
{
    for (const auto& [key, config] : settingsMap) {
        ravel_core_logging_log(logContext, RAVEL_CORE_LOG_ERROR, "OnvifSettings key %s value %s...", key.c_str(),
                               config.substr(0, kShortLength).c_str());
    }
}

void OnvifSettings::logUnknown(const std::string& key) const
{
    ravel_core_logging_log(logContext, RAVEL_CORE_LOG_DEBUG, "Could not find setting %s", key.c_str());
}

} // namespace korva::meridan
