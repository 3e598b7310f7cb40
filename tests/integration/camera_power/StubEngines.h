#pragma once

#include "camera/framework/EngineFactory.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

/**
 * Two engines, "Motion" and "Line", that keep what they are given as it is. The type of a rule names its engine.
 */
class StubEngines {
public:
    static StubEngines& instance();

    /// Makes both.
    static camera::framework::EngineSource source();

    /// Called on the control thread at each operation that can stand between two writes of one call.
    std::function<void()> onCall;

    /// The configurations with which rule sets were filled as a whole since the last call, sorted.
    std::vector<std::string> takeRestored();

    void noteRestored(const std::string& config);
    void noteCall() const;

private:
    std::mutex _mutex;
    std::vector<std::string> _restored;
};
