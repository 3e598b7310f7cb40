#pragma once

#include "kit/PlatformTest.h"
#include "settings/OnvifSettings.h"

#include <string>
#include <utility>
#include <vector>

/// The behavior settings over a store that a test fills and looks into.
class OnvifSettingsTest : public kit::PlatformTest {
protected:
    using Settings = korva::meridan::OnvifSettings;

    static void store(const std::string& document) { kit::platform().settings.analytics() = document; }
    static std::vector<std::string>& written() { return kit::platform().settings.written; }

    /// Runs first thing in the call of that name.
    template <typename Action>
    static void before(const std::string& call, Action action)
    {
        kit::platform().before[call] = std::move(action);
    }

    static Settings load(const std::string& document)
    {
        store(document);
        return Settings(kit::Platform::logHandle());
    }

    /// Settings that a default document began with; the journal is empty afterwards.
    static Settings fresh()
    {
        Settings settings(kit::Platform::logHandle());
        kit::journal().clear();
        return settings;
    }

    /// The keys without the empty strings in front.
    static std::vector<std::string> keysOf(const Settings& settings)
    {
        const std::vector<std::string> all = settings.GetAllKeys();
        return {all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2), all.end()};
    }
};
