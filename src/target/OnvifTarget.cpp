#include "target/OnvifTarget.h"

#include "korva/meridan/PositioningManager.h"

namespace korva::meridan {

OnvifTarget::OnvifTarget(void* logCookie, std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> libs)
    : RavelApiAnalyticsTargetImplBase(logCookie),
      _logCookie(logCookie),
      _proxyTarget(logCookie, PositioningManager::instance().isAvailable())
{
    _proxyTarget.registerEventCallback(relayEvent, this);
    setAnalyticLibs(libs);
    if (PositioningManager::instance().isAvailable()) {
        initializePositioningEvents();
    }
    initializeDayNightEvents();
    initializeWindowBlankingEvents();
    initializeRotationEvents();
}

OnvifTarget::~OnvifTarget()
{
    releasePositioningEvents();
    releaseDayNightEvents();
    releaseWindowBlankingEvents();
}

void OnvifTarget::relayEvent(void* context, const std::string& topic, const std::string& source,
                             const std::string& data)
{
    if (context != nullptr) {
        static_cast<OnvifTarget*>(context)->OnEvent(topic, source, data);
    }
}

int OnvifTarget::getEventTopics(char*** topics)
{
    return _proxyTarget.getEventTopics(topics);
}

int OnvifTarget::getSupportedRules(char*** types)
{
    return _proxyTarget.getSupportedRules(types);
}

int OnvifTarget::getCurrentRules(char*** rules)
{
    _proxyTarget.getCurrentBehaviors(true, rules);
    return 0;
}

int OnvifTarget::createRules(char** rules, unsigned int* status)
{
    return _proxyTarget.modifyConfiguration(rules, status, false);
}

int OnvifTarget::modifyRules(char** rules, unsigned int* status)
{
    return createRules(rules, status);
}

int OnvifTarget::deleteRules(char** names, unsigned int* status)
{
    return _proxyTarget.deleteBehaviorSetting(names, status);
}

int OnvifTarget::getSupportedEngines(char*** types)
{
    return _proxyTarget.getSupportedEngines(types);
}

int OnvifTarget::getCurrentEngines(char*** engines)
{
    _proxyTarget.getCurrentBehaviors(false, engines);
    return 0;
}

int OnvifTarget::createEngines(char** engines, unsigned int* status)
{
    return _proxyTarget.modifyConfiguration(engines, status, true);
}

int OnvifTarget::modifyEngines(char** engines, unsigned int* status)
{
    return createEngines(engines, status);
}

int OnvifTarget::deleteEngines(char** names, unsigned int* status)
{
    return deleteRules(names, status);
}

int OnvifTarget::getCurrentConfiguration(char** xml)
{
    return _proxyTarget.getCurrentConfiguration(xml);
}

int OnvifTarget::setConfiguration(const char* xml, unsigned char* failed)
{
    return _proxyTarget.setConfiguration(xml, failed);
}

int OnvifTarget::restoreDefaultSettings()
{
    return _proxyTarget.restoreDefaultSettings();
}

int OnvifTarget::getUsedPtzPresets(char*** presets)
{
    return _proxyTarget.getUsedPtzPresets(presets);
}

int OnvifTarget::readFramesFromFile(const char* engineName, const char* path, unsigned char flag)
{
    return _proxyTarget.readFramesFromFile(engineName, path, flag);
}

int OnvifTarget::writeFramesToFile(const char* engineName, const char* path, unsigned int count)
{
    return _proxyTarget.writeFramesToFile(engineName, path, count);
}

int OnvifTarget::getPtzPresetConfiguration(const char* presetId, char** xml)
{
    return _proxyTarget.getPtzPresetConfiguration(presetId, xml);
}

void OnvifTarget::OnEvent(const std::string& topic, const std::string& source, const std::string& data)
{
    sendEventAnalyticsEvent(topic.c_str(), source.c_str(), data.c_str());
}

unsigned int OnvifTarget::getFrameOrientation()
{
    return _proxyTarget.getFrameOrientation();
}

void OnvifTarget::handlePositioningMotionStateEvent(bool moving)
{
    _proxyTarget.handlePositioningMotionStateEvent(moving);
}

void OnvifTarget::handlePositioningCommandPriorityEvent(unsigned int priority)
{
    _proxyTarget.handlePositioningCommandPriorityEvent(priority);
}

void OnvifTarget::handlePresetStateEvent(int state, const std::string& presetName)
{
    _proxyTarget.handlePresetStateEvent(state, presetName);
}

void OnvifTarget::handlePresetModifiedEvent(const std::string& presetName)
{
    _proxyTarget.handlePresetModifiedEvent(presetName);
}

void OnvifTarget::handleTourStateEvent(int tourState, int stopType)
{
    _proxyTarget.handleTourStateEvent(tourState, stopType);
}

void OnvifTarget::handleDayNightChangeEvent(bool movement)
{
    _proxyTarget.handleDayNightChangeEvent(movement);
}

void OnvifTarget::handleWindowBlankingEvent(bool enabled)
{
    _proxyTarget.handleWindowBlankingEvent(enabled);
}

void OnvifTarget::handleOrientationChangeEvent(unsigned int orientation)
{
    _proxyTarget.handleOrientationChangeEvent(orientation);
}

// By value: the list stays whole for the caller whatever becomes of the core's.
void OnvifTarget::setAnalyticLibs(std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> libs)
{
    _proxyTarget.setAnalyticLibs(libs);
}

} // namespace korva::meridan
