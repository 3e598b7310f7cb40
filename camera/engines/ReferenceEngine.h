#pragma once

#include "camera/engines/EngineLog.h"
#include "camera/engines/ForegroundModel.h"
#include "camera/engines/RuleProgram.h"
#include "camera/engines/RuleSet.h"
#include "camera/kit/FrameFile.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace camera::engines {

/**
 * What the reference engines have in common: rule sets, activation, the frame path, frame files.
 *
 * Threads. The frame thread analyses without any lock. Rules are evaluated and events are raised while
 * the mutex "gate" is held; the control thread holds it to replace or end the active program. The frame
 * thread only tries to lock it: if the control thread holds it, the rules of this frame are not
 * evaluated. So no operation makes a frame wait, and the control thread waits for at most one evaluation. The
 * mutex is recursive because an event handler may end the rules.
 */
class ReferenceEngine : public analytics_lib::IOnvifAnalytics {
public:
    std::string getName() const override { return _log.engine(); }
    bool isEngineConfiguration(const std::string& config) override;
    void setEventHandler(analytics_lib::IEventHandler* handler) override;
    bool onFrame(const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) override;
    void onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color) override;
    void onOrientationChanged(unsigned int degrees) override;
    std::vector<std::string> getSupportedEngines() override { return {_types.moduleType}; }
    std::vector<std::string> getSupportedRules() override { return {_types.ruleType}; }

    /**
     * Plays a file of recorded frames: each following frame is replaced by the next recorded one, its
     * time excepted. When flag is true the background and the objects are forgotten first, as they
     * were before the recording, and events and metadata are the recorded run's, times excepted.
     */
    bool readFramesFromFile(const char* path, bool flag) override;

    /// Drops the background and records the next count frames; 0 ends a running recording.
    bool writeFramesToFile(const char* path, unsigned int count) override;

    analytics_lib::IRuleSet* createRuleSet() override;
    void releaseRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    bool activateRuleSet(analytics_lib::IRuleSet* ruleSet) override;
    void clearAllRules() override;

protected:
    ReferenceEngine(void* logContext, const ComponentTypes& types);

    virtual std::unique_ptr<RuleProgram> compile(const Components& components) = 0;

    // On the frame thread: what an engine keeps from frame to frame beside the background.
    virtual void forgetObjects() {}
    virtual std::uint32_t nextObject() const { return 1; }
    virtual void setNextObject(std::uint32_t /*id*/) {}

private:
    using Program = std::shared_ptr<RuleProgram>;

    /// One frame on its way through the engine.
    struct Moment {
        analytics_lib::YuvFrame frame; ///< the pixels that are analysed
        std::optional<analytics_lib::ColorYuv> blanked;
        std::int64_t time = 0; ///< on the clock of these pixels
        UtcTime utc;           ///< what documents say
    };

    Program active() const;
    void replaceProgram(Program next, const analytics_lib::IRuleSet* ruleSet);
    std::optional<analytics_lib::ColorYuv> blankedNow() const;
    void analyse(const Moment& moment, MetadataBuffers& outputs);
    void takeOrders();
    bool restart(const UtcTime& time, std::uint32_t nextId);
    void replay(Moment& moment);
    void record(const Moment& moment);
    void judge(const Program& program, const UtcTime& time);
    void failed(const char* what, const char* reason) noexcept;

    const ComponentTypes& _types;
    EngineLog _log;

    // Control thread.
    std::unordered_map<const analytics_lib::IRuleSet*, std::unique_ptr<RuleSet>> _ruleSets;
    const analytics_lib::IRuleSet* _activeRuleSet = nullptr;

    // Under the gate.
    std::recursive_mutex _gate;
    analytics_lib::IEventHandler* _handler = nullptr;
    UtcTime _lastTime; ///< of the last evaluated frame: the time of an alarm that the control thread ends

    // This mutex is held for a few instructions only.
    mutable std::mutex _hand;
    Program _active;
    std::unique_ptr<kit::FrameFileWriter> _newRecording;
    std::unique_ptr<kit::FrameFileReader> _newReplay;
    bool _endRecording = false;

    std::atomic<bool> _forget{false};
    std::atomic<std::uint32_t> _blanking{0}; ///< 0: off; else 1 and the three bytes of the colour

    // Frame thread.
    ForegroundModel _model;
    std::unique_ptr<kit::FrameFileWriter> _recording;
    std::unique_ptr<kit::FrameFileReader> _replay;
    bool _recordingBegun = false;
    bool _replayBegun = false;
    std::int64_t _replayShift = 0; ///< from the recorded clock to the live one
    std::uint32_t _objectAfterReplay = 1;
};

} // namespace camera::engines
