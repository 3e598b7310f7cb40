#include "camera/onvif/DeviceSettings.h"

#include "camera/base/JsonText.h"
#include "camera/onvif/JsonValues.h"

#include <exception>

namespace camera::onvif {

namespace {

constexpr std::size_t kLargest = 1024 * 1024;

Json::Value jsonOf(const std::vector<std::string>& texts)
{
    Json::Value array(Json::arrayValue);
    for (const std::string& text : texts) {
        array.append(text);
    }
    return array;
}

Json::Value jsonOf(const NetworkAnswers::NamedList& list)
{
    Json::Value object;
    object["dhcp"] = list.fromDhcp;
    object["domains"] = jsonOf(list.searchDomains);
    object["hosts"] = jsonOf(list.hosts);
    return object;
}

NetworkAnswers::NamedList listOf(const Json::Value& value)
{
    const Json::Value& object = jsonObject(value);
    return {jsonBool(object["dhcp"]), jsonTexts(object["domains"]), jsonTexts(object["hosts"])};
}

NetworkAnswers::Protocol protocolOf(const Json::Value& value)
{
    const Json::Value& object = jsonObject(value);
    NetworkAnswers::Protocol protocol{jsonText(object["name"]), jsonBool(object["enabled"]), {}};
    for (const Json::Value& port : jsonArray(object["ports"])) {
        protocol.ports.push_back(jsonInt(port));
    }
    return protocol;
}

} // namespace

std::string format(const DeviceSettings& settings)
{
    const NetworkAnswers& network = settings.network;
    Json::Value object;
    object["hostname"] = network.hostname;
    object["dns"] = jsonOf(network.dns);
    object["ntp"] = jsonOf(network.ntp);
    object["gateways"] = jsonOf(network.gateways);
    object["protocols"] = Json::Value(Json::arrayValue);
    for (const NetworkAnswers::Protocol& protocol : network.protocols) {
        Json::Value row;
        row["name"] = protocol.name;
        row["enabled"] = protocol.enabled;
        row["ports"] = Json::Value(Json::arrayValue);
        for (const int port : protocol.ports) {
            row["ports"].append(port);
        }
        object["protocols"].append(row);
    }
    object["interface_enabled"] = network.interfaceEnabled;
    object["interface_dhcp"] = network.interfaceDhcp;
    object["interface_address"] = network.interfaceAddress.value_or("");
    object["scopes"] = jsonOf(settings.scopes);
    object["discoverable"] = settings.discoverable;
    object["time_zone"] = settings.timeZone;
    object["daylight_savings"] = settings.daylightSavings;
    return base::oneLineJson(object);
}

std::optional<DeviceSettings> parseDeviceSettings(const std::string& document)
{
    try {
        const Json::Value read = base::readStrictJson(document, kLargest);
        const Json::Value& object = jsonObject(read);
        DeviceSettings settings;
        NetworkAnswers& network = settings.network;
        network.hostname = jsonText(object["hostname"]);
        network.dns = listOf(object["dns"]);
        network.ntp = listOf(object["ntp"]);
        network.gateways = jsonTexts(object["gateways"]);
        for (const Json::Value& protocol : jsonArray(object["protocols"])) {
            network.protocols.push_back(protocolOf(protocol));
        }
        network.interfaceEnabled = jsonBool(object["interface_enabled"]);
        network.interfaceDhcp = jsonBool(object["interface_dhcp"]);
        if (const std::string address = jsonText(object["interface_address"]); !address.empty()) {
            network.interfaceAddress = address;
        }
        settings.scopes = jsonTexts(object["scopes"]);
        settings.discoverable = jsonBool(object["discoverable"]);
        settings.timeZone = jsonText(object["time_zone"]);
        settings.daylightSavings = jsonBool(object["daylight_savings"]);
        return settings;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace camera::onvif
