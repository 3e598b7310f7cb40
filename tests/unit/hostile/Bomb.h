#pragma once

#include "SmallStack.h"
#include "kit/FakeEngine.h"
#include "kit/Heap.h"
#include "kit/QuietPlatform.h"
#include "target/OnvifTarget.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace hostile {

using Content = kit::FakeEngine::Content;

/// An engine named "Plain" that takes everything, so that size is all that a test is about.
std::shared_ptr<kit::FakeEngine> plainEngine(Content content = Content::kFixed);

/// The text of rules as a whole configuration, without a list of modules.
std::string documentOf(const std::string& rules);

/// A target over one plain engine and the store in memory.
class BombDevice {
public:
    explicit BombDevice(Content content = Content::kFixed);

    korva::meridan::OnvifTarget& target() { return *_target; }
    kit::FakeEngine& engine() { return *_engine; }
    bool isActive() const { return _engine->activeRuleSet() != 0; }

    /// Ends the target and starts another on what is stored.
    void restart();

private:
    std::shared_ptr<kit::FakeEngine> _engine;
    std::unique_ptr<korva::meridan::OnvifTarget> _target;
};

/// Gives the number of bytes that it brings to the target.
using Bomb = std::function<std::size_t(std::size_t size)>;

/**
 * Bombs of a growing size, each set off on a thread with a small stack, destruction included.
 *
 * Memory is bounded by the size of the input; time is printed, and how it grows is asserted by what can be counted:
 * twice the input may not take much more than twice the allocations and twice the bytes.
 */
class BombTest : public ::testing::Test {
protected:
    BombTest() { kit::resetQuietly(); }

    /// Runs bomb at half of size and at size and prints one line for the latter.
    static void detonate(const std::string& name, std::size_t size, const Bomb& bomb,
                         std::size_t stackKib = kSmallStackKib);

    /// Only at size: for steps that are meant to grow faster than their input.
    static kit::HeapUse detonateOnce(const std::string& name, std::size_t size, const Bomb& bomb);
};

/// text, times over.
std::string repeated(const std::string& text, std::size_t times);

} // namespace hostile
