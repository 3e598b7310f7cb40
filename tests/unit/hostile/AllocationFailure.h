#pragma once

#include "Bomb.h"

#include <functional>
#include <map>
#include <new>
#include <string>

namespace hostile {

/// How an operation ended for which memory ran out on its way.
enum class Ending { kReturned, kNoMemory, kOtherException };

/**
 * Runs one operation again and again; each time another of its allocations finds no memory, first that one alone,
 * then that one and all after it, until the operation needs no more than it gets.
 *
 * What ends the process by contract stays outside: everything is destroyed while memory is there.
 */
class AllocationFailureTest : public ::testing::Test {
protected:
    void SetUp() override;

    /// One run: sets up, calls attempt() once, checks. The platform is fresh and holds twoSettings().
    using Run = std::function<void()>;

    void forEveryAllocation(const std::string& name, const Run& run);

    /// The operation under test; it allocates nothing of the test's own.
    template <typename Operation>
    Ending attempt(const Operation& operation)
    {
        const kit::RefusedMemory refused(_first, _how);
        try {
            operation();
            return Ending::kReturned;
        } catch (const std::bad_alloc&) {
            return Ending::kNoMemory;
        } catch (...) {
            return Ending::kOtherException;
        }
    }

    /// Rule-set operations work from another thread and from this one. A lock that nobody released ends the process.
    static void expectLocksReleased(korva::meridan::OnvifTarget& target);

    using Settings = std::map<std::string, std::string>;

    /// What the store holds; one entry "(torn)" when that is no whole document.
    static Settings stored();

    static std::string configurationOf(const std::string& preset);

    /// Configurations for P1 and P2, two rules each.
    static Settings twoSettings();

private:
    std::size_t _first = 0;
    kit::RefusedMemory::How _how = kit::RefusedMemory::How::kOnce;
};

} // namespace hostile
