#pragma once

#include "settings/OnvifSettings.h"
#include "support/fakes/PlatformTest.h"

#include <string>
#include <utility>
#include <vector>

/// The behavior settings over a store that a test fills and looks into.
class OnvifSettingsTest : public support::PlatformTest {
protected:
    using Settings = korva::meridan::OnvifSettings;

    static void store(const std::string& document) { support::platform().settings.analytics() = document; }
    static std::vector<std::string>& written() { return support::platform().settings.written; }

    /// Runs first thing in the call of that name.
    template <typename Action>
    static void before(const std::string& call, Action action)
    {
        support::platform().before[call] = std::move(action);
    }

    static Settings load(const std::string& document)
    {
        store(document);
        return Settings(support::FakePlatform::logHandle());
    }

    /// Settings that a default document began with; the journal is empty afterwards.
    static Settings fresh()
    {
        Settings settings(support::FakePlatform::logHandle());
        support::journal().clear();
        return settings;
    }

    /// The keys without the empty strings in front.
    static std::vector<std::string> keysOf(const Settings& settings)
    {
        const std::vector<std::string> all = settings.GetAllKeys();
        return {all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2), all.end()};
    }
};
