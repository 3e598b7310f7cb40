#pragma once

#include "kit/FakeEngine.h"
#include "target/OnvifTarget.h"

#include <memory>
#include <string>
#include <vector>

namespace fuzz {

/**
 * One analytics target over three engines of the kit and the store in memory: "Simple", "Motion", and "MotionPlus",
 * whose keys begin with another engine's name.
 *
 * Every answer is checked for what holds whatever came in, and every document that reaches the store for being
 * readable and written as this system writes.
 */
class Device {
public:
    /// Starts on what the store holds.
    Device();
    ~Device();

    korva::meridan::OnvifTarget& target() { return *_target; }

    /// @return whether the configuration was taken; also false when the store failed.
    bool setConfiguration(const std::string& text);

    /// Each gives the status word; the failed store's is 1.
    unsigned int createOrModify(const std::vector<std::string>& items, bool modules, bool modify);
    unsigned int remove(const std::vector<std::string>& names, bool modules);

    std::string currentConfiguration();
    std::string presetConfiguration(const std::string& preset);
    std::vector<std::string> usedPresets();
    void askEverything();

    void deletePreset(const std::string& preset);
    void raiseEvent(const std::string& text);

    /// The store throws at the next write, unless it is mended before.
    static void failNextWrite();
    static void mendStore();

    /// Ends the target and the engines and starts anew. What memory and store have in common is the same afterwards.
    void restart();

    /// Whether memory holds what the store does, as far as anybody can know from outside.
    bool storeIsCurrent() const { return _storeIsCurrent; }

private:
    using Operation = int (korva::meridan::OnvifTarget::*)(char**, unsigned int*);
    using Query = int (korva::meridan::OnvifTarget::*)(char***);

    void start();
    unsigned int callWithList(Operation operation, const std::vector<std::string>& texts);
    std::vector<std::string> list(Query query);
    void checkElements(Query query, const char* element);
    void noteWrites(unsigned long before, bool failed);

    std::vector<std::shared_ptr<kit::FakeEngine>> _engines;
    std::unique_ptr<korva::meridan::OnvifTarget> _target;
    bool _storeIsCurrent = true;
};

} // namespace fuzz
