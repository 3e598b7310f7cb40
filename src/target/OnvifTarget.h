#pragma once

#include "ravel/RavelApiAnalyticsTargetImplBase.h"
#include "target/ProxyTarget.h"

#include <memory>
#include <string>
#include <vector>

namespace korva::meridan {

/**
 * The analytics target that the service runner serves, and the receiver of the device's events.
 *
 * Everything is forwarded to the configuration core. Creating and modifying are one operation, and
 * so are deleting rules and deleting engines; the current-rules and current-engines queries always
 * report success.
 *
 * Thread: the control thread, one call at a time, construction and destruction included.
 * getFrameOrientation and OnEvent: any thread.
 */
class OnvifTarget : public RavelApiAnalyticsTargetImplBase {
public:
    /// Builds the configuration core over libs and subscribes to the device's events. A device service
    /// that is missing or failing is logged and does without.
    OnvifTarget(void* logCookie, std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> libs);

    /// Takes back the subscriptions, except those to tour states and to the rotation service: the host
    /// discards these with the plug-in.
    ~OnvifTarget() override;

    int getEventTopics(char*** topics) override;
    int getSupportedRules(char*** types) override;
    int getCurrentRules(char*** rules) override;
    int createRules(char** rules, unsigned int* status) override;
    int modifyRules(char** rules, unsigned int* status) override;
    int deleteRules(char** names, unsigned int* status) override;
    int getSupportedEngines(char*** types) override;
    int getCurrentEngines(char*** engines) override;
    int createEngines(char** engines, unsigned int* status) override;
    int modifyEngines(char** engines, unsigned int* status) override;
    int deleteEngines(char** names, unsigned int* status) override;
    int getCurrentConfiguration(char** xml) override;
    int setConfiguration(const char* xml, unsigned char* failed) override;
    int restoreDefaultSettings() override;
    int getUsedPtzPresets(char*** presets) override;
    int readFramesFromFile(const char* engineName, const char* path, unsigned char flag) override;
    int writeFramesToFile(const char* engineName, const char* path, unsigned int count) override;
    int getPtzPresetConfiguration(const char* presetId, char** xml) override;

    /// What the core calls for every event: OnEvent of the target behind context; nothing without a context.
    static void relayEvent(void* context, const std::string& topic, const std::string& source, const std::string& data);

    /// Sends an engine's event to the service's clients.
    void OnEvent(const std::string& topic, const std::string& source, const std::string& data);
    unsigned int getFrameOrientation();

    void handlePositioningMotionStateEvent(bool moving);
    void handlePositioningCommandPriorityEvent(unsigned int priority);
    void handlePresetStateEvent(int state, const std::string& presetName);
    void handlePresetModifiedEvent(const std::string& presetName);
    void handleTourStateEvent(int tourState, int stopType);
    void handleDayNightChangeEvent(bool movement);
    void handleWindowBlankingEvent(bool enabled);
    void handleOrientationChangeEvent(unsigned int orientation);

    void setAnalyticLibs(std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> libs);

    /// Subscribes to the positioning unit and reports where the camera stands.
    void initializePositioningEvents();
    void initializeDayNightEvents();
    void initializeWindowBlankingEvents();
    /// Ends with one orientation in every case: the service's, the configured one, or 0.
    void initializeRotationEvents();

private:
    void releasePositioningEvents();
    void releaseDayNightEvents();
    void releaseWindowBlankingEvents();
    unsigned int configuredOrientation();

    void* _logCookie;
    void* _dayNightIpcCookie = nullptr;
    void* _windowBlankingIpcCookie = nullptr;
    void* _rotationIpcCookie = nullptr;
    ProxyTarget _proxyTarget;
};

} // namespace korva::meridan
