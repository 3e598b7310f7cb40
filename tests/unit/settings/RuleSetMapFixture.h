#pragma once

#include "kit/Configuration.h"
#include "kit/PlatformTest.h"
#include "settings/RuleSetMap.h"

#include <future>

namespace korva::meridan {

/// Reaches what no operation of the map leads to: entries without a rule set, and the lock.
class RuleSetMapPeer {
public:
    static void put(RuleSetMap& map, const std::string& key, analytics_lib::IRuleSet* ruleSet)
    {
        map.ruleSets[key] = ruleSet;
    }

    static std::vector<std::string> keys(const RuleSetMap& map)
    {
        std::vector<std::string> all;
        for (const auto& entry : map.ruleSets) {
            all.push_back(entry.first);
        }
        return all;
    }

    static const analytics_lib::IRuleSet* at(const RuleSetMap& map, const std::string& key)
    {
        const auto entry = map.ruleSets.find(key);
        return entry == map.ruleSets.end() ? nullptr : entry->second;
    }

    static std::mutex& mutex(RuleSetMap& map) { return map.mutex; }

    /// Asked from another thread, because the lock does not tell its own holder.
    static bool isLocked(RuleSetMap& map)
    {
        return std::async(std::launch::async,
                          [&map] {
                              const std::unique_lock<std::mutex> lock(map.mutex, std::try_to_lock);
                              return !lock.owns_lock();
                          })
            .get();
    }
};

} // namespace korva::meridan

namespace korva::meridan::tests {

using kit::configuration;
using kit::document;
using kit::journal;
using kit::module;
using kit::rule;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class RuleSetMapTest : public kit::PlatformTest {
protected:
    Lines keys() const { return RuleSetMapPeer::keys(map); }

    /// Puts a rule set with that text under the key, and forgets how.
    void given(const std::string& key, const std::string& config)
    {
        ASSERT_TRUE(map.restoreFullConfig(&engine, key, config));
        journal().clear();
    }

    void givenNull(const std::string& key) { RuleSetMapPeer::put(map, key, nullptr); }

    kit::FakeEngine engine{"Motion"};
    RuleSetMap map{kit::Platform::logHandle()};
};

} // namespace korva::meridan::tests
