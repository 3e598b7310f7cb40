#pragma once

#include "plugin/analytics/ColorYuv.h"
#include "plugin/analytics/MetadataBuffers.h"
#include "plugin/analytics/YuvFrame.h"

#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace analytics_lib {

class IEventHandler;
class IRuleSet;

/**
 * One analytics engine.
 *
 * Thread: onFrame runs on the frame thread, at the same time as any other operation, which all come
 * from the control thread. The order of the operations is the order of their slots.
 */
class __attribute__((visibility("default"))) IOnvifAnalytics {
public:
    /// The engine's name: the prefix of its stored configurations' keys. Constant.
    virtual std::string getName() const = 0;

    /// Whether a configuration document is for this engine; the first engine that says yes takes it.
    virtual bool isEngineConfiguration(const std::string& config) = 0;

    /// From now on events go to handler, which outlives the engine's last event.
    virtual void setEventHandler(IEventHandler* handler) = 0;

    /// Analyses one upright frame; false reports a failure for this frame. Throws nothing.
    virtual bool onFrame(const YuvFrame& frame, MetadataBuffers& outputs) = 0;

    virtual void onWindowBlankingChange(bool /*enabled*/, const ColorYuv& /*color*/) {}
    virtual void onOrientationChanged(unsigned int /*degrees*/) {}

    virtual std::vector<std::string> getEventTopics() = 0;
    virtual std::vector<std::string> getSupportedEngines() = 0; ///< analytics module types
    virtual std::vector<std::string> getSupportedRules() = 0;   ///< rule types

    /// Plays recorded frames back; the flag's meaning is the engine's.
    virtual bool readFramesFromFile(const char* path, bool flag) = 0;

    /// Records frames; the count's meaning is the engine's.
    virtual bool writeFramesToFile(const char* path, unsigned int count) = 0;

    /// An empty rule set to fill. It stays the engine's, lent until releaseRuleSet; null when none can be made.
    virtual IRuleSet* createRuleSet() = 0;

    /// Takes a rule set back and destroys it, deactivating it first.
    virtual void releaseRuleSet(IRuleSet* ruleSet) = 0;

    /// Makes a rule set of this engine the one that is evaluated.
    virtual bool activateRuleSet(IRuleSet* ruleSet) = 0;

    /// Drops every active rule. When it returns, no event is running and none will follow until a
    /// rule set is activated.
    virtual void clearAllRules() = 0;

    virtual ~IOnvifAnalytics() = default;

    // The layout of a configuration document. Tags are element names; headers and footers are the
    // text around a merged document and its two lists.
    static const std::string kVideoAnalyticTag;
    static const std::string kVideoAnalyticHeader;
    static const std::string kVideoAnalyticFooter;
    static const std::string kEngineConfigTag;
    static const std::string kEngineConfigHeader;
    static const std::string kEngineConfigFooter;
    static const std::string kRuleConfigTag;
    static const std::string kRuleConfigHeader;
    static const std::string kRuleConfigFooter;
};

} // namespace analytics_lib

#pragma GCC visibility pop
