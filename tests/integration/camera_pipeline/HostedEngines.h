#pragma once

#include "camera/framework/EngineFactory.h"
#include "plugin/analytics/IAnalyticsPtz.h"
#include "plugin/analytics/IEventHandler.h"
#include "plugin/analytics/IOnvifAnalytics.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

/**
 * What the engines of one test do and what happened to them. There is one engine per
 * name; each notes every operation of the control side.
 */
class Hosted {
public:
    using Frame = analytics_lib::YuvFrame;

    static Hosted& instance();

    /// Makes one engine per name.
    static camera::framework::EngineSource source();

    /// Forgets everything; the next plug-in gets one engine per name.
    void reset(std::vector<std::string> engineNames);

    std::vector<std::string> names;

    /// Called inside each control operation, with "Motion activateRuleSet" and the like.
    std::function<void(const std::string& operation)> onControl;

    /// Called with the engine's name when it refuses a component or a document.
    std::function<void(const std::string& engine)> onRefused;

    /// Called for each frame with the engine's name.
    std::function<bool(const std::string& engine, const Frame&, MetadataBuffers&)> onFrame;

    /// Called by the factory; may throw.
    std::function<void()> onCreate;

    std::shared_ptr<analytics_lib::IAnalyticsPtz> ptz; ///< what the factory was given
    std::atomic<analytics_lib::IEventHandler*> events{nullptr};

    std::vector<std::string> journal() const;
    std::size_t count(const std::string& operation) const;
    std::set<std::thread::id> controlThreads() const;
    bool overlapped() const { return _overlapped; }

    /// Around each control operation: notes it, its thread, and whether another one was running.
    class Operation {
    public:
        explicit Operation(const std::string& text);
        ~Operation();
        Operation(const Operation&) = delete;
        Operation& operator=(const Operation&) = delete;
    };

private:
    mutable std::mutex _mutex;
    std::vector<std::string> _journal;
    std::set<std::thread::id> _threads;
    std::atomic<int> _running{0};
    std::atomic<bool> _overlapped{false};
};

/// A document that only the engine of that name claims; it is accepted when it says so.
std::string documentFor(const std::string& engine, const std::string& preset = "",
                        const std::string& verdict = "valid");
