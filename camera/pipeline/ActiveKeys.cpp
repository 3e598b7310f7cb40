#include "camera/pipeline/ActiveKeys.h"

#include "camera/base/Log.h"

#include <algorithm>
#include <utility>

namespace camera::pipeline {

namespace {

const std::string kKeyLine = "getActiveSettingsKey: getSettingsKey :";
const std::string kSwitchLine = "reconfigure:clearing all rules for ";
const std::string kGivenLine = "activateRuleSet:reconfig with key ";

bool startsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

} // namespace

ActiveKeys::ActiveKeys(Listener listener) : _listener(std::move(listener))
{
    base::Log::instance().setTap([this](const std::string& text) { line(text); });
}

ActiveKeys::~ActiveKeys()
{
    base::Log::instance().setTap({});
}

void ActiveKeys::line(const std::string& text)
{
    if (startsWith(text, kKeyLine) && text.back() == ':') {
        const std::lock_guard<std::mutex> lock(_mutex);
        _lastKey = text.substr(kKeyLine.size(), text.size() - kKeyLine.size() - 1);
    } else if (startsWith(text, kSwitchLine)) {
        switched(text.substr(kSwitchLine.size()));
    } else if (startsWith(text, kGivenLine)) {
        given(text.substr(kGivenLine.size()));
    }
}

// A configuration that was stored for where the camera stands is active without a switch. The engine's name begins
// its key; of two such names the longer one is meant.
void ActiveKeys::given(const std::string& key)
{
    Active active;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        Active* owner = nullptr;
        for (Active& each : _active) {
            const bool longer = owner == nullptr || each.engine.size() > owner->engine.size();
            owner = startsWith(key, each.engine) && longer ? &each : owner;
        }
        if (owner == nullptr || owner->key == key) {
            return;
        }
        owner->key = key;
        active = *owner;
    }
    if (_listener) {
        _listener(active);
    }
}

void ActiveKeys::switched(const std::string& engine)
{
    Active active;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto found =
            std::find_if(_active.begin(), _active.end(), [&](const Active& each) { return each.engine == engine; });
        active = {engine, _lastKey};
        found == _active.end() ? _active.push_back(active) : void(*found = active);
    }
    if (_listener) {
        _listener(active);
    }
}

std::vector<ActiveKeys::Active> ActiveKeys::now() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _active;
}

} // namespace camera::pipeline
