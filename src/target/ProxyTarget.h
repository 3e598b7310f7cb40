#pragma once

#include "plugin/analytics/ColorYuv.h"
#include "plugin/analytics/IEventHandler.h"
#include "settings/OnvifSettings.h"
#include "settings/RuleSetMap.h"

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace analytics_lib {
class IOnvifAnalytics;
} // namespace analytics_lib

namespace korva::meridan {

/**
 * The configuration core: which configuration belongs to which engine and camera position, and which
 * of them is active now.
 *
 * Results and status words are those of the service: no operation throws for bad input. What engines
 * and the settings store throw passes on.
 *
 * Thread: the control thread, one call at a time. OnEvent: any engine thread. getFrameOrientation:
 * any thread.
 */
class ProxyTarget : public analytics_lib::IEventHandler {
public:
    using Engine = std::shared_ptr<analytics_lib::IOnvifAnalytics>;
    using EventCallback = void (*)(void* context, const std::string&, const std::string&, const std::string&);

    static constexpr int kPresetLeft = 0;
    static constexpr int kPresetReached = 2;

    /// @param logContext           Borrowed for the life of this object.
    /// @param positioningAvailable Whether the camera can move: it then has a stored configuration of its own for
    ///                             being at no preset.
    ProxyTarget(void* logContext, bool positioningAvailable);

    ProxyTarget(const ProxyTarget&) = delete;
    ProxyTarget& operator=(const ProxyTarget&) = delete;

    /// Raises an engine's event. A callback must have been registered before engines know this object.
    void OnEvent(const std::string& topic, const std::string& source, const std::string& data) override;

    /// Takes all rules from the engines. What an engine throws here ends the process.
    virtual ~ProxyTarget();

    // Lists and strings written through an output pointer are malloc'ed and become the caller's.
    virtual int getEventTopics(char*** out);
    virtual int getSupportedRules(char*** out);
    virtual int getSupportedEngines(char*** out);
    virtual int getCurrentRules(char*** out);
    virtual int getCurrentEngines(char*** out);
    virtual int getCurrentConfiguration(char** out);

    /// Takes a whole configuration document.
    /// @param failed 0 when it is stored and, where its preset is the current one, active; otherwise 1.
    /// @return 1 when it has no settings key or the engine does not accept it, otherwise 0.
    virtual int setConfiguration(const char* config, unsigned char* failed);

    /// Takes all rules from the engines until the next start; the stored settings stay.
    virtual int restoreDefaultSettings();

    /// The presets that configurations have named since the start, in byte order.
    virtual int getUsedPtzPresets(char*** out);
    virtual int getPtzPresetConfiguration(const char* presetId, char** out);
    virtual int readFramesFromFile(const char* engineName, const char* path, unsigned char flag);
    virtual int writeFramesToFile(const char* engineName, const char* path, unsigned int count);

    /// Replaces the engines and builds their rule sets from the stored settings.
    void setAnalyticLibs(const std::vector<Engine>& engines);
    void registerEventCallback(EventCallback callback, void* context);
    void setWindowBlankingColor(const analytics_lib::ColorYuv& color);
    unsigned int getFrameOrientation() const;

    void handlePositioningMotionStateEvent(bool moving);
    void handlePositioningCommandPriorityEvent(unsigned int priority);
    /// The state is kPresetLeft, kPresetReached, or any other while the camera moves.
    void handlePresetStateEvent(int state, const std::string& presetName);
    void handlePresetModifiedEvent(const std::string& presetName);
    void handleTourStateEvent(int tourState, int stopType);
    void handleDayNightChangeEvent(bool movement);
    void handleWindowBlankingEvent(bool enabled);
    void handleOrientationChangeEvent(unsigned int orientation);

    /// Activates every engine's rule set for the current position; with simpleOnly those of the engines named
    /// "Simple" alone.
    void reconfigure(bool simpleOnly);

    /// The key of the configuration that applies now; empty while the camera moves.
    std::string getActiveSettingsKey(const Engine& engine) const;
    void returnAllRuleSets();
    std::string getSettingsKeyFromPresetId(const Engine& engine, const std::string& presetId);

    /// Engine name and the preset that config names. Empty when config cannot be read or names two presets.
    std::string getSettingsKeyFromConfig(const Engine& engine, std::string config);

    /// Appends the text of each rule, or else each module, of config.
    void parseElements(bool rules, const std::string& config, std::vector<std::string>& out);
    int getCurrentBehaviors(bool rules, char*** out);

    /// One document with every engine's stored configuration for a preset, or for now when presetId is empty.
    /// @return malloc'ed; the caller's.
    char* mergeConfigurations(const std::string& presetId);

    /// Creates or modifies single modules, or else rules. All are validated before the first is stored.
    /// @param status 0 done, 4 refused, 1 when an exception cuts the operation short.
    int modifyConfiguration(char** items, unsigned int* status, bool modules);

    /// Deletes rules or modules by name.
    /// @param status 0 done, 5 when a name was not found.
    int deleteBehaviorSetting(char** names, unsigned int* status);

private:
    friend class ProxyTargetPeer;

    struct Modification {
        std::string type;
        std::string name;
        std::string parameters;
        std::string key;
    };

    bool validateItem(const std::string& item, const char* elementName, std::vector<Modification>& accepted);
    bool store(const std::vector<Modification>& modifications);
    int listFromEngines(std::vector<std::string> (analytics_lib::IOnvifAnalytics::*capability)(), char*** out);

    void* logContext;
    std::vector<Engine> analyticLibs;
    std::shared_ptr<void> reservedOwner; // nothing reads or sets it; it stays so that the fields keep their order
    RuleSetMap ruleSetMap;
    OnvifSettings settings;
    std::string defaultPresetKey;
    bool atPreset = false;
    std::string currentPreset;
    std::set<std::string> usedPtzPresets;
    bool inMovement = false;
    analytics_lib::ColorYuv windowBlankingColor;
    EventCallback eventCallback = nullptr;
    void* eventCallbackContext = nullptr;
    std::atomic<unsigned int> frameOrientation{0}; // the frame thread reads it; nothing is ordered by it
};

} // namespace korva::meridan
