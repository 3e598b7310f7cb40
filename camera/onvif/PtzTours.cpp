// Tours of presets. A client makes an empty one and fills it later; the camera has none without stops. So an empty one
// is a draft, which PtzSettings keeps, until it gets its first stop.
#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/PtzService.h"
#include "camera/onvif/PtzSpaces.h"
#include "camera/onvif/Requests.h"
#include "camera/onvif/Times.h"

#include <algorithm>

namespace camera::onvif {

namespace {

constexpr const char* kTourToken = "tptz:PresetTourToken";
constexpr std::chrono::milliseconds kLongestStay{24 * 3600 * 1000};

Fault invalidTour(const std::string& reason)
{
    return Fault::invalid("ter:InvalidPresetTour", reason);
}

Fault notActivated(const std::string& reason)
{
    return Fault::receiver({"ter:Action", "ter:ActivationFailed"}, reason);
}

const PtzTour* findTour(const PtzView& view, const std::string& token)
{
    const auto found = std::find_if(view.tours.begin(), view.tours.end(),
                                    [&token](const PtzTour& tour) { return tour.token == token; });
    return found == view.tours.end() ? nullptr : &*found;
}

/// Those of the camera, and the drafts.
std::vector<PtzTour> allTours(const PtzView& view, const PtzSettings& settings)
{
    std::vector<PtzTour> tours;
    std::copy_if(view.tours.begin(), view.tours.end(), std::back_inserter(tours),
                 [](const PtzTour& tour) { return isToken(tour.token); });
    for (const auto& [token, kept] : settings.tours) {
        if (kept.draft && findTour(view, token) == nullptr) {
            tours.push_back({token, {}});
        }
    }
    return tours;
}

PtzTour knownTour(const std::string& token, const PtzView& view, const PtzSettings& settings)
{
    const std::vector<PtzTour> all = allTours(view, settings);
    const auto found =
        std::find_if(all.begin(), all.end(), [&token](const PtzTour& tour) { return tour.token == token; });
    requireKnown(found != all.end(), "tour", token);
    return *found;
}

/// tt:PTZPresetTourSpot
void putSpot(pugi::xml_node parent, const char* name, const PtzStop& stop)
{
    pugi::xml_node spot = parent.append_child(name);
    put(spot.append_child("tt:PresetDetail"), "tt:PresetToken", stop.preset);
    putSpeed(spot, "tt:Speed", stop.speedPercent / 100.0, stop.speedPercent / 100.0);
    put(spot, "tt:StayTime", durationText(stop.stay));
}

/// tt:PresetTour
void putTour(pugi::xml_node answer, const PtzTour& tour, const PtzView& view, const PtzSettings& settings)
{
    pugi::xml_node node = answer.append_child("tptz:PresetTour");
    putAttribute(node, "token", tour.token);
    const auto kept = settings.tours.find(tour.token);
    put(node, "tt:Name", kept == settings.tours.end() || kept->second.name.empty() ? tour.token : kept->second.name);
    const bool runs = view.runningTour == tour.token;
    pugi::xml_node status = node.append_child("tt:Status");
    put(status, "tt:State", !runs ? "Idle" : view.paused ? "Paused" : "Touring");
    if (runs && view.stop < tour.stops.size()) {
        putSpot(status, "tt:CurrentTourSpot", tour.stops[view.stop]);
    }
    put(node, "tt:AutoStart", false);
    node.append_child("tt:StartingCondition");
    for (const PtzStop& stop : tour.stops) {
        putSpot(node, "tt:TourSpot", stop);
    }
}

/// A tour runs in order until it is stopped, and begins when it is started: nothing else can be asked for.
void checkCondition(const pugi::xml_node& tour)
{
    const pugi::xml_node condition = tour.child("tt:StartingCondition");
    const bool random = condition.attribute("RandomPresetOrder").as_bool();
    const bool counted = optionalText(condition, "tt:RecurringTime").value_or("0") != "0";
    const auto duration = parseDuration(optionalText(condition, "tt:RecurringDuration").value_or("PT0S"));
    const bool forward = optionalText(condition, "tt:Direction").value_or("Forward") == "Forward";
    if (optionalBool(tour, "tt:AutoStart", false) || random || counted || !duration || duration->count() != 0 ||
        !forward) {
        throw invalidTour(
            "a tour is started by OperatePresetTour, and visits its presets in order until it is stopped");
    }
}

PtzStop readSpot(const pugi::xml_node& spot, const PtzView& view, const PtzDefaults& defaults)
{
    PtzStop stop;
    const auto preset = optionalText(spot.child("tt:PresetDetail"), "tt:PresetToken");
    const auto exists = [&preset](const PtzPreset& each) { return each.token == *preset; };
    if (!preset || std::none_of(view.presets.begin(), view.presets.end(), exists)) {
        throw invalidTour(preset ? "there is no preset '" + *preset + "'" : "a spot of a tour names a tt:PresetToken");
    }
    stop.preset = *preset;
    stop.speedPercent = wayPercent(spot.child("tt:Speed"), defaults);
    if (const auto text = optionalText(spot, "tt:StayTime")) {
        const auto stay = parseDuration(*text);
        if (!stay || stay->count() < 0 || *stay > kLongestStay) {
            throw invalidTour("the camera stays PT0S to " + durationText(kLongestStay) + " at a preset");
        }
        stop.stay = *stay;
    }
    return stop;
}

std::vector<PtzStop> readSpots(const pugi::xml_node& tour, const PtzView& view, const PtzDefaults& defaults)
{
    checkCondition(tour);
    std::vector<PtzStop> stops;
    for (const pugi::xml_node& spot : tour.children("tt:TourSpot")) {
        stops.push_back(readSpot(spot, view, defaults));
    }
    if (stops.size() > view.mostStops) {
        throw Fault::receiver({"ter:Action", "ter:TooManyPresets"},
                              "a tour has at most " + std::to_string(view.mostStops) + " spots");
    }
    return stops;
}

/// tt:PTZPresetTourOptions
void putTourOptions(pugi::xml_node answer, const PtzView& view)
{
    pugi::xml_node options = answer.append_child("tptz:Options");
    put(options, "tt:AutoStart", false);
    put(options.append_child("tt:StartingCondition"), "tt:Direction", "Forward");
    pugi::xml_node spot = options.append_child("tt:TourSpot");
    pugi::xml_node detail = spot.append_child("tt:PresetDetail");
    for (const PtzPreset& preset : view.presets) {
        if (isToken(preset.token)) {
            put(detail, "tt:PresetToken", preset.token);
        }
    }
    put(detail, "tt:Home", false);
    pugi::xml_node stay = spot.append_child("tt:StayTime");
    put(stay, "tt:Min", "PT0S");
    put(stay, "tt:Max", durationText(kLongestStay));
}

/// What the camera does not have any more, and is no draft, is forgotten.
void forgetOld(PtzSettings& settings, const PtzView& view)
{
    auto& tours = settings.tours;
    for (auto each = tours.begin(); each != tours.end();) {
        const bool old = !each->second.draft && findTour(view, each->first) == nullptr;
        each = old ? tours.erase(each) : std::next(each);
    }
}

} // namespace

void PtzService::addTours(Operations& operations)
{
    addReadingOfProfile(operations, "GetPresetTours", [this](const Call&, pugi::xml_node answer, const PtzView& view) {
        for (const PtzTour& tour : allTours(view, _settings.value())) {
            putTour(answer, tour, view, _settings.value());
        }
    });
    addReadingOfProfile(operations, "GetPresetTour",
                        [this](const Call& call, pugi::xml_node answer, const PtzView& view) {
                            const std::string token = requiredText(call.request(), kTourToken);
                            putTour(answer, knownTour(token, view, _settings.value()), view, _settings.value());
                        });
    addReadingOfProfile(operations, "GetPresetTourOptions",
                        [this](const Call& call, pugi::xml_node answer, const PtzView& view) {
                            if (const auto token = optionalText(call.request(), kTourToken)) {
                                knownTour(*token, view, _settings.value());
                            }
                            putTourOptions(answer, view);
                        });
    const auto addChange = [&](const char* name,
                               void (PtzService::*change)(const Shared&, const Reply&, const PtzView&)) {
        addOfProfile(operations, name, AccessClass::actuate,
                     [this, change](const Shared& call, const Reply& reply, const PtzView& view) {
                         (this->*change)(call, reply, view);
                     });
    };
    addChange("CreatePresetTour", &PtzService::createTour);
    addChange("ModifyPresetTour", &PtzService::modifyTour);
    addChange("OperatePresetTour", &PtzService::operateTour);
    addChange("RemovePresetTour", &PtzService::removeTour);
}

void PtzService::createTour(const Shared& call, const Reply& reply, const PtzView& view)
{
    const auto token = std::make_shared<std::string>();
    const auto edit = [token, view](PtzSettings& settings) {
        forgetOld(settings, view);
        if (allTours(view, settings).size() >= view.mostTours) {
            throw Fault::receiver({"ter:Action", "ter:TooManyPresetTours"},
                                  "the camera keeps at most " + std::to_string(view.mostTours) + " tours");
        }
        for (int number = 1; token->empty(); ++number) {
            const std::string wished = "Tour_" + std::to_string(number);
            if (findTour(view, wished) == nullptr && settings.tours.count(wished) == 0) {
                *token = wished;
            }
        }
        settings.tours[*token].draft = true;
    };
    changeAndAnswer(_settings, edit, reply, [call, token] {
        Answer answer = call->answer();
        put(answer.body(), kTourToken, *token);
        return answer;
    });
}

void PtzService::modifyTour(const Shared& call, const Reply& reply, const PtzView& view)
{
    const pugi::xml_node wanted = call->request().child("tptz:PresetTour");
    const std::string token = wanted.attribute("token").value();
    const bool onCamera = !knownTour(token, view, _settings.value()).stops.empty();
    const PtzTour tour{token, readSpots(wanted, view, _media.value().ptz)};
    const auto name = optionalText(wanted, "tt:Name");
    if (name && !name->empty()) {
        checkedName(*name);
    }
    const Done keep = [this, call, reply, view, name, token,
                       draft = tour.stops.empty()](const std::optional<Fault>& failure) {
        if (failure) {
            reply(*failure);
            return;
        }
        const auto edit = [view, name, token, draft](PtzSettings& settings) {
            PtzSettings::Tour& kept = settings.tours[token];
            kept.name = name.value_or(kept.name);
            kept.draft = draft;
        };
        changeAndAnswer(_settings, edit, call, reply);
    };
    if (!tour.stops.empty()) {
        _actions.setTour(tour, keep);
    } else if (onCamera) {
        _actions.removeTour(token, keep);
    } else {
        keep(std::nullopt);
    }
}

void PtzService::operateTour(const Shared& call, const Reply& reply, const PtzView& view)
{
    const std::string token = requiredText(call->request(), kTourToken);
    const PtzTour tour = knownTour(token, view, _settings.value());
    const std::string operation = requiredText(call->request(), "tptz:Operation");
    const Done done = answerWhenDone(call, reply);
    const bool runs = view.runningTour == token;
    if (operation == "Start") {
        if (tour.stops.empty()) {
            throw notActivated("the tour '" + token + "' has no spots; ModifyPresetTour gives it some");
        }
        if (!runs && !view.runningTour.empty()) {
            throw notActivated("the tour '" + view.runningTour + "' runs; stop it first");
        }
        if (!runs) {
            _actions.startTour(token, done);
        } else if (view.paused) {
            _actions.resumeTour(done);
        } else {
            done(std::nullopt);
        }
    } else if (operation == "Stop") {
        if (runs) {
            _actions.stopTour(done);
        } else {
            done(std::nullopt);
        }
    } else if (operation == "Pause") {
        if (!runs) {
            throw notActivated("the tour '" + token + "' does not run");
        }
        _actions.pauseTour(done);
    } else {
        throw Fault::sender({"ter:InvalidArgVal"}, "tptz:Operation is Start, Stop or Pause");
    }
}

void PtzService::removeTour(const Shared& call, const Reply& reply, const PtzView& view)
{
    const std::string token = requiredText(call->request(), kTourToken);
    knownTour(token, view, _settings.value());
    const Done forget = [this, call, reply, token](const std::optional<Fault>& failure) {
        if (failure) {
            reply(*failure);
        } else {
            changeAndAnswer(
                _settings, [token](PtzSettings& settings) { settings.tours.erase(token); }, call, reply);
        }
    };
    if (findTour(view, token) != nullptr) {
        _actions.removeTour(token, forget);
    } else {
        forget(std::nullopt);
    }
}

} // namespace camera::onvif
