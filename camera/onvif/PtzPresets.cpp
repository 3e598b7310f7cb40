// Presets. The camera knows them by one name each, which is their token here and the key of their rules; PtzSettings
// says what else a client has called them.
#include "camera/base/Text.h"
#include "camera/base/Utf8.h"
#include "camera/onvif/PtzService.h"
#include "camera/onvif/PtzSpaces.h"
#include "camera/onvif/Requests.h"

#include <algorithm>

namespace camera::onvif {

namespace {

constexpr const char* kPresetToken = "tptz:PresetToken";
constexpr std::size_t kLongestPresetName = 64; // characters
constexpr std::size_t kLongestTokenBytes = 64;
constexpr const char* kOnlyDigits = "0123456789";

const PtzPreset* findPreset(const PtzView& view, const std::string& token)
{
    const auto found = std::find_if(view.presets.begin(), view.presets.end(),
                                    [&token](const PtzPreset& preset) { return preset.token == token; });
    return found == view.presets.end() ? nullptr : &*found;
}

std::string requiredPreset(const Call& call, const PtzView& view)
{
    std::string token = requiredText(call.request(), kPresetToken);
    requireKnown(findPreset(view, token) != nullptr, "preset", token);
    return token;
}

std::string shownName(const std::string& token, const PtzSettings& settings)
{
    const auto found = settings.presetNames.find(token);
    return found == settings.presetNames.end() ? token : found->second;
}

/// The name that a client wishes; empty: none.
std::string wishedName(const Call& call)
{
    std::string name = optionalText(call.request(), "tptz:PresetName").value_or("");
    if (base::codePoints(name).size() > kLongestPresetName || base::printable(name) != name) {
        throw Fault::invalid("ter:InvalidPresetName",
                             "a preset's name has at most 64 characters, and no control characters");
    }
    return name;
}

/// Common programs make a number of digits, and rules are named NAME@PRESET.
bool canBeToken(const std::string& name)
{
    return !name.empty() && name.size() <= kLongestTokenBytes && name.find('@') == std::string::npos &&
           name.find_first_not_of(kOnlyDigits) != std::string::npos;
}

void requireFreeName(const std::string& name, const std::string& ownToken, const PtzView& view,
                     const PtzSettings& settings)
{
    for (const PtzPreset& preset : view.presets) {
        if (preset.token != ownToken && shownName(preset.token, settings) == name) {
            throw Fault::invalid("ter:PresetExist", "there is a preset with the name '" + name + "'");
        }
    }
}

/// The token of a new preset: its name, or "Preset_1", "Preset_2" and so on.
std::string newToken(const std::string& name, const PtzView& view, const std::set<std::string>& others)
{
    const auto isFree = [&](const std::string& token) {
        return findPreset(view, token) == nullptr && others.count(token) == 0;
    };
    if (canBeToken(name) && isFree(name)) {
        return name;
    }
    for (int number = 1;; ++number) {
        std::string token = "Preset_" + std::to_string(number);
        if (isFree(token)) {
            return token;
        }
    }
}

} // namespace

void PtzService::addPresets(Operations& operations)
{
    addReadingOfProfile(operations, "GetPresets", [this](const Call&, pugi::xml_node answer, const PtzView& view) {
        for (const PtzPreset& preset : view.presets) {
            if (isToken(preset.token)) {
                pugi::xml_node node = answer.append_child("tptz:Preset");
                node.append_attribute("token").set_value(preset.token.c_str());
                put(node, "tt:Name", shownName(preset.token, _settings.value()));
                putPlace(node, "tt:PTZPosition", preset.place, view.limits, _media.value().ptz.absoluteSpace);
            }
        }
    });
    addOfProfile(operations, "SetPreset", AccessClass::actuate,
                 [this](const Shared& call, const Reply& reply, const PtzView& view) { setPreset(call, reply, view); });
    addOfProfile(operations, "GotoPreset", AccessClass::actuate,
                 [this](const Shared& call, const Reply& reply, const PtzView& view) {
                     const std::string token = requiredPreset(*call, view);
                     const int speed = wayPercent(call->request().child("tptz:Speed"), _media.value().ptz);
                     _actions.goToPreset(token, speed, answerWhenDone(call, reply));
                 });
    addOfProfile(operations, "RemovePreset", AccessClass::actuate,
                 [this](const Shared& call, const Reply& reply, const PtzView& view) {
                     const std::string token = requiredPreset(*call, view);
                     const Done done = answerWhenDone(call, reply);
                     _actions.removePreset(token, [this, token, view, done](const std::optional<Fault>& failure) {
                         if (failure) {
                             done(failure);
                         } else {
                             keepPresetName(token, token, view, done);
                         }
                     });
                 });
}

void PtzService::setPreset(const Shared& call, const Reply& reply, const PtzView& view)
{
    const std::string name = wishedName(*call);
    const std::string given = optionalText(call->request(), kPresetToken).value_or("");
    requireKnown(given.empty() || findPreset(view, given) != nullptr, "preset", given);
    if (!name.empty()) {
        requireFreeName(name, given, view, _settings.value());
    }
    if (view.moving) {
        throw Fault::receiver({"ter:Action", "ter:MovingPTZ"}, "the camera moves; stop it before a preset is set");
    }
    if (given.empty() && view.presets.size() + _saving.size() >= view.mostPresets) {
        throw Fault::receiver({"ter:Action", "ter:TooManyPresets"},
                              "the camera keeps at most " + std::to_string(view.mostPresets) + " presets");
    }
    const std::string token = given.empty() ? newToken(name, view, _saving) : given;
    const Done answered = [call, reply, token](const std::optional<Fault>& failure) {
        if (failure) {
            reply(*failure);
            return;
        }
        replyWith(reply, [&] {
            Answer answer = call->answer();
            put(answer.body(), kPresetToken, token);
            return answer;
        });
    };
    _saving.insert(token);
    _actions.savePreset(token, [this, token, name, view, answered](const std::optional<Fault>& failure) {
        _saving.erase(token);
        if (failure) {
            answered(failure);
        } else {
            keepPresetName(token, name.empty() ? shownName(token, _settings.value()) : name, view, answered);
        }
    });
}

/// Keeps what a preset is called, and forgets what presets were called that are no more.
void PtzService::keepPresetName(const std::string& token, const std::string& name, const PtzView& view,
                                const Done& done)
{
    if (shownName(token, _settings.value()) == name) {
        done(std::nullopt);
        return;
    }
    _settings.change(
        [token, name, view](PtzSettings& settings) {
            auto& names = settings.presetNames;
            for (auto each = names.begin(); each != names.end();) {
                each = findPreset(view, each->first) == nullptr ? names.erase(each) : std::next(each);
            }
            names.erase(token);
            if (name != token) {
                names[token] = name;
            }
        },
        done);
}

} // namespace camera::onvif
