#pragma once

#include <map>
#include <string>
#include <vector>

namespace korva::meridan {

/**
 * The device's behavior settings: one configuration text per settings key, kept in memory and
 * written to the settings store as one document after every addition or change.
 *
 * Thread-bound: the configuration core makes one call at a time.
 */
class OnvifSettings {
public:
    /// Registers the default document and loads what is stored. What the store throws comes through.
    /// @param logContext  A logging handle; the caller keeps it open as long as the settings live.
    explicit OnvifSettings(void* logContext);

    /// Replaces the settings with the stored ones. A document that cannot be read is logged and
    /// leaves the settings before the bad element; what the store throws comes through.
    void Load();

    /// Writes all settings to the store; what the store throws comes through.
    void Save();

    /// Sets the text for key, which may be empty, and saves. When saving throws the text stays set.
    void AddOrModifyBehaviorSetting(const std::string& key, const std::string& config);

    /// The text for key; the empty text for an unknown and for the empty key.
    std::string GetSetting(const std::string& key) const;

    /// As many empty strings as there are settings, then the keys in ascending order.
    std::vector<std::string> GetAllKeys() const;

    /// Removes the setting from memory; the store keeps it until something is saved.
    void DeleteSettings(const std::string& key);

    /// Logs every setting with the first 10 bytes of its text.
    void ShortLog() const;

private:
    void readDocument(const std::string& text);
    void logUnknown(const std::string& key) const;

    std::map<std::string, std::string> settingsMap;
    void* logContext;
};

} // namespace korva::meridan
