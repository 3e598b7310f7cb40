#include "camera/onvif/PtzSettings.h"

#include "camera/base/JsonText.h"
#include "camera/onvif/JsonValues.h"

#include <exception>

namespace camera::onvif {

namespace {

constexpr std::size_t kLargestPtzDocument = 1024 * 1024;

} // namespace

std::string format(const PtzSettings& settings)
{
    Json::Value object;
    if (settings.home) {
        object["home"]["pan"] = settings.home->pan;
        object["home"]["tilt"] = settings.home->tilt;
        object["home"]["zoom"] = settings.home->zoom;
    }
    object["preset_names"] = Json::Value(Json::objectValue);
    for (const auto& [token, name] : settings.presetNames) {
        object["preset_names"][token] = name;
    }
    object["tours"] = Json::Value(Json::objectValue);
    for (const auto& [token, tour] : settings.tours) {
        object["tours"][token]["name"] = tour.name;
        object["tours"][token]["draft"] = tour.draft;
    }
    return base::oneLineJson(object);
}

std::optional<PtzSettings> parsePtzSettings(const std::string& document)
{
    try {
        const Json::Value read = base::readStrictJson(document, kLargestPtzDocument);
        const Json::Value& object = jsonObject(read);
        PtzSettings settings;
        if (object.isMember("home")) {
            const Json::Value& home = jsonObject(object["home"]);
            settings.home = {jsonNumber(home["pan"]), jsonNumber(home["tilt"]), jsonNumber(home["zoom"])};
        }
        const Json::Value& names = jsonObject(object["preset_names"]);
        for (const std::string& token : names.getMemberNames()) {
            settings.presetNames[token] = jsonText(names[token]);
        }
        const Json::Value& tours = jsonObject(object["tours"]);
        for (const std::string& token : tours.getMemberNames()) {
            const Json::Value& tour = jsonObject(tours[token]);
            settings.tours[token] = {jsonText(tour["name"]), jsonBool(tour["draft"])};
        }
        return settings;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace camera::onvif
