// The operations of the device service about the network: what clients set is kept and told, and changes nothing.
#include "camera/onvif/DeviceService.h"
#include "camera/onvif/Requests.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>

namespace camera::onvif {

namespace {

constexpr const char* kInterface = "Network_1";
constexpr const char* kHardwareAddress = "02-00-00-00-00-01"; // locally administered
constexpr std::size_t kMostHosts = 8;

bool isAddress(int family, const std::string& text)
{
    std::array<unsigned char, sizeof(in6_addr)> address{};
    return ::inet_pton(family, text.c_str(), address.data()) == 1;
}

bool isHostName(const std::string& text)
{
    constexpr const char* kOfNames = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-.";
    return !text.empty() && text.size() <= 253 && text.find_first_not_of(kOfNames) == std::string::npos &&
           text.front() != '-' && text.front() != '.';
}

/// A tt:IPAddress or tt:NetworkHost. @throws Fault
std::string hostOf(const pugi::xml_node& host, bool namesToo)
{
    const std::string type = requiredText(host, "tt:Type");
    if (type == "IPv4") {
        const std::string address = requiredText(host, "tt:IPv4Address");
        return isAddress(AF_INET, address)
                   ? address
                   : throw Fault::invalid("ter:InvalidIPv4Address", "'" + address + "' is no IPv4 address");
    }
    if (type == "IPv6") {
        const std::string address = requiredText(host, "tt:IPv6Address");
        return isAddress(AF_INET6, address)
                   ? address
                   : throw Fault::invalid("ter:InvalidIPv6Address", "'" + address + "' is no IPv6 address");
    }
    if (type == "DNS" && namesToo) {
        const std::string name = requiredText(host, "tt:DNSname");
        return isHostName(name) ? name
                                : throw Fault::invalid("ter:InvalidDnsName", "'" + name + "' is no name of a host");
    }
    throw Fault::sender({"ter:InvalidArgVal"}, "there is no kind of address '" + type + "'");
}

void putHost(pugi::xml_node host, const std::string& text)
{
    if (isAddress(AF_INET, text)) {
        put(host, "tt:Type", "IPv4");
        put(host, "tt:IPv4Address", text);
    } else if (isAddress(AF_INET6, text)) {
        put(host, "tt:Type", "IPv6");
        put(host, "tt:IPv6Address", text);
    } else {
        put(host, "tt:Type", "DNS");
        put(host, "tt:DNSname", text);
    }
}

/// What SetDNS and SetNTP say.
NetworkAnswers::NamedList listOf(const pugi::xml_node& request, const char* manual, bool namesToo)
{
    NetworkAnswers::NamedList list;
    list.fromDhcp = requiredBool(request, "tds:FromDHCP");
    list.searchDomains = textsOf(request, "tds:SearchDomain");
    for (const pugi::xml_node& host : request.children(manual)) {
        list.hosts.push_back(hostOf(host, namesToo));
    }
    if (list.hosts.size() > kMostHosts || list.searchDomains.size() > kMostHosts) {
        throw Fault::sender({"ter:InvalidArgVal"}, "at most " + std::to_string(kMostHosts) + " of a kind can be set");
    }
    for (const std::string& domain : list.searchDomains) {
        if (!isHostName(domain)) {
            throw Fault::sender({"ter:InvalidArgVal"}, "'" + domain + "' is no domain");
        }
    }
    return list;
}

void putList(pugi::xml_node node, const NetworkAnswers::NamedList& list, const char* manual)
{
    put(node, "tt:FromDHCP", list.fromDhcp);
    for (const std::string& domain : list.searchDomains) {
        put(node, "tt:SearchDomain", domain);
    }
    for (const std::string& host : list.hosts) {
        putHost(node.append_child(manual), host);
    }
}

std::vector<NetworkAnswers::Protocol> protocolsOf(const pugi::xml_node& request)
{
    std::vector<NetworkAnswers::Protocol> protocols;
    for (const pugi::xml_node& node : request.children("tds:NetworkProtocols")) {
        NetworkAnswers::Protocol protocol{requiredText(node, "tt:Name"), requiredBool(node, "tt:Enabled"), {}};
        if (protocol.name != "HTTP" && protocol.name != "HTTPS" && protocol.name != "RTSP") {
            throw Fault::invalid("ter:ServiceNotSupported", "there is no protocol '" + protocol.name + "'");
        }
        for (const std::string& port : textsOf(node, "tt:Port")) {
            const int number =
                port.size() <= 5 && port.find_first_not_of("0123456789") == std::string::npos && !port.empty()
                    ? std::stoi(port)
                    : 0;
            if (number < 1 || number > 65535) {
                throw Fault::sender({"ter:InvalidArgVal"}, "'" + port + "' is no port");
            }
            protocol.ports.push_back(number);
        }
        protocols.push_back(std::move(protocol));
    }
    return protocols;
}

void setInterface(const pugi::xml_node& request, NetworkAnswers& network)
{
    if (requiredText(request, "tds:InterfaceToken") != kInterface) {
        throw Fault::invalid("ter:InvalidNetworkInterface",
                             std::string("the only network interface is '") + kInterface + "'");
    }
    const pugi::xml_node wanted = request.child("tds:NetworkInterface");
    network.interfaceEnabled = optionalBool(wanted, "tt:Enabled", network.interfaceEnabled);
    const pugi::xml_node ip = wanted.child("tt:IPv4");
    network.interfaceDhcp = optionalBool(ip, "tt:DHCP", network.interfaceDhcp);
    if (const pugi::xml_node manual = ip.child("tt:Manual")) {
        const std::string address = requiredText(manual, "tt:Address");
        const std::string length = requiredText(manual, "tt:PrefixLength");
        const bool numeric =
            !length.empty() && length.size() <= 2 && length.find_first_not_of("0123456789") == std::string::npos;
        if (!isAddress(AF_INET, address) || !numeric || std::stoi(length) > 32) {
            throw Fault::invalid("ter:InvalidIPv4Address", "'" + address + "/" + length + "' is no IPv4 address");
        }
        network.interfaceAddress = address + "/" + length;
    }
}

void putInterface(pugi::xml_node node, const NetworkAnswers& network, const std::string& bound)
{
    node.append_attribute("token").set_value(kInterface);
    put(node, "tt:Enabled", network.interfaceEnabled);
    pugi::xml_node info = node.append_child("tt:Info");
    put(info, "tt:Name", "eth0");
    put(info, "tt:HwAddress", kHardwareAddress);
    put(info, "tt:MTU", 1500);
    pugi::xml_node ip = node.append_child("tt:IPv4");
    put(ip, "tt:Enabled", true);
    pugi::xml_node config = ip.append_child("tt:Config");
    const std::string address = network.interfaceAddress.value_or(bound + "/24");
    const std::size_t slash = address.find('/');
    pugi::xml_node manual = config.append_child("tt:Manual");
    put(manual, "tt:Address", address.substr(0, slash));
    put(manual, "tt:PrefixLength", address.substr(slash + 1));
    put(config, "tt:DHCP", network.interfaceDhcp);
}

/// An operation that sets what it read of the request.
template <class Read>
Operation::Later setter(Kept<DeviceSettings>& settings, Read read)
{
    return [&settings, read](const std::shared_ptr<const Call>& call, const Reply& reply) {
        const auto edit = [call, read](DeviceSettings& wanted) { read(call->request(), wanted); };
        changeAndAnswer(settings, edit, call, reply);
    };
}

} // namespace

void DeviceService::addNetwork(Operations& operations)
{
    using Request = pugi::xml_node;
    constexpr AccessClass kWrite = AccessClass::writeSystem;
    operations.add("tds:GetHostname", AccessClass::preAuth, [this](const Call& /*call*/) {
        Answer answer("tds:GetHostnameResponse");
        pugi::xml_node node = answer.body().append_child("tds:HostnameInformation");
        put(node, "tt:FromDHCP", false);
        put(node, "tt:Name", _settings.value().network.hostname);
        return answer;
    });
    operations.addLater("tds:SetHostname", kWrite,
                        setter(_settings, [](const Request& request, DeviceSettings& wanted) {
                            const std::string name = requiredText(request, "tds:Name");
                            if (!isHostName(name)) {
                                throw Fault::invalid("ter:InvalidHostname", "'" + name + "' is no name of a host");
                            }
                            wanted.network.hostname = name;
                        }));
    operations.add("tds:GetDNS", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetDNSResponse");
        putList(answer.body().append_child("tds:DNSInformation"), _settings.value().network.dns, "tt:DNSManual");
        return answer;
    });
    operations.addLater("tds:SetDNS", kWrite, setter(_settings, [](const Request& request, DeviceSettings& wanted) {
                            wanted.network.dns = listOf(request, "tds:DNSManual", false);
                        }));
    operations.add("tds:GetNTP", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetNTPResponse");
        putList(answer.body().append_child("tds:NTPInformation"), _settings.value().network.ntp, "tt:NTPManual");
        return answer;
    });
    operations.addLater("tds:SetNTP", kWrite, setter(_settings, [](const Request& request, DeviceSettings& wanted) {
                            wanted.network.ntp = listOf(request, "tds:NTPManual", true);
                        }));
    operations.add("tds:GetNetworkDefaultGateway", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetNetworkDefaultGatewayResponse");
        pugi::xml_node node = answer.body().append_child("tds:NetworkGateway");
        for (const std::string& address : _settings.value().network.gateways) {
            put(node, isAddress(AF_INET, address) ? "tt:IPv4Address" : "tt:IPv6Address", address);
        }
        return answer;
    });
    operations.addLater(
        "tds:SetNetworkDefaultGateway", kWrite, setter(_settings, [](const Request& request, DeviceSettings& wanted) {
            std::vector<std::string> gateways;
            for (const auto& [name, family, subcode] :
                 {std::tuple("tds:IPv4Address", AF_INET, "ter:InvalidGatewayAddress"),
                  std::tuple("tds:IPv6Address", AF_INET6, "ter:InvalidGatewayAddress")}) {
                for (const std::string& address : textsOf(request, name)) {
                    if (!isAddress(family, address) || gateways.size() == kMostHosts) {
                        throw Fault::invalid(subcode,
                                             "'" + address + "' is no address of a gateway, or there are too many");
                    }
                    gateways.push_back(address);
                }
            }
            wanted.network.gateways = std::move(gateways);
        }));
    operations.add("tds:GetNetworkProtocols", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetNetworkProtocolsResponse");
        const auto putOne = [&answer](const std::string& name, bool enabled, const std::vector<int>& ports) {
            pugi::xml_node node = answer.body().append_child("tds:NetworkProtocols");
            put(node, "tt:Name", name);
            put(node, "tt:Enabled", enabled);
            for (const int port : ports) {
                put(node, "tt:Port", port);
            }
        };
        const auto& set = _settings.value().network.protocols;
        for (const NetworkAnswers::Protocol& protocol : set) {
            putOne(protocol.name, protocol.enabled, protocol.ports);
        }
        for (const auto& [name, port] :
             set.empty() ? _actions.protocols() : std::vector<std::pair<std::string, int>>()) {
            putOne(name, true, {port});
        }
        return answer;
    });
    operations.addLater("tds:SetNetworkProtocols", kWrite,
                        setter(_settings, [](const Request& request, DeviceSettings& wanted) {
                            wanted.network.protocols = protocolsOf(request);
                        }));
    operations.add("tds:GetNetworkInterfaces", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetNetworkInterfacesResponse");
        putInterface(answer.body().append_child("tds:NetworkInterfaces"), _settings.value().network,
                     _actions.address());
        return answer;
    });
    operations.addLater(
        "tds:SetNetworkInterfaces", kWrite, [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
            const auto edit = [call](DeviceSettings& wanted) { setInterface(call->request(), wanted.network); };
            changeAndAnswer(_settings, edit, reply, [call] {
                Answer answer = call->answer();
                put(answer.body(), "tds:RebootNeeded", false);
                return answer;
            });
        });
    operations.add("tds:GetDiscoveryMode", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetDiscoveryModeResponse");
        put(answer.body(), "tds:DiscoveryMode", _settings.value().discoverable ? "Discoverable" : "NonDiscoverable");
        return answer;
    });
    operations.addLater(
        "tds:SetDiscoveryMode", kWrite, setter(_settings, [](const Request& request, DeviceSettings& wanted) {
            const std::string mode = requiredText(request, "tds:DiscoveryMode");
            if (mode != "Discoverable" && mode != "NonDiscoverable") {
                throw Fault::sender({"ter:InvalidArgVal"}, "tds:DiscoveryMode is Discoverable or NonDiscoverable");
            }
            wanted.discoverable = mode == "Discoverable";
        }));
}

} // namespace camera::onvif
