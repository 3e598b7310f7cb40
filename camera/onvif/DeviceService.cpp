#include "camera/onvif/DeviceService.h"

#include "camera/onvif/NamespaceScopes.h"
#include "camera/onvif/Requests.h"
#include "camera/onvif/Times.h"
#include "camera/onvif/XmlText.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace camera::onvif {

namespace {

constexpr std::size_t kMostScopes = 64;
constexpr std::size_t kLongestScope = 256;

std::string wsdlAddress()
{
    return "http://www.onvif.org/onvif/ver10/device/wsdl/devicemgmt.wsdl";
}

Fault prohibited(const char* subcode, const std::string& reason)
{
    return Fault::sender({"ter:OperationProhibited", subcode}, reason);
}

Fault faultOf(const UserRefusal& refusal)
{
    switch (refusal.fault) {
    case UserFault::usernameClash:
        return prohibited("ter:UsernameClash", refusal.what());
    case UserFault::usernameMissing:
        return Fault::invalid("ter:UsernameMissing", refusal.what());
    case UserFault::usernameTooShort:
    case UserFault::usernameInvalid:
        return prohibited("ter:UsernameTooShort", refusal.what());
    case UserFault::usernameTooLong:
        return prohibited("ter:UsernameTooLong", refusal.what());
    case UserFault::passwordTooLong:
        return prohibited("ter:PasswordTooLong", refusal.what());
    case UserFault::passwordTooWeak:
    case UserFault::passwordInvalid:
        return prohibited("ter:PasswordTooWeak", refusal.what());
    case UserFault::anonymousNotAllowed:
        return prohibited("ter:AnonymousNotAllowed", refusal.what());
    case UserFault::fixedUser:
        return Fault::invalid("ter:FixedUser", refusal.what());
    case UserFault::tooManyUsers:
        break;
    }
    return Fault::receiver({"ter:Action", "ter:TooManyUsers"}, refusal.what());
}

/// A change of the users whose refusals are the faults of ONVIF.
template <class Change>
Kept<Users>::Edit userEdit(Change change)
{
    return [change = std::move(change)](Users& users) {
        try {
            change(users);
        } catch (const UserRefusal& refusal) {
            throw faultOf(refusal);
        }
    };
}

UserLevel levelOf(const pugi::xml_node& user)
{
    const std::string text = requiredText(user, "tt:UserLevel");
    if (const auto level = levelNamed(text)) {
        return *level;
    }
    throw Fault::sender({"ter:InvalidArgVal"}, "there is no user level '" + text + "'");
}

void putTime(pugi::xml_node parent, const char* name, std::time_t seconds)
{
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    pugi::xml_node node = parent.append_child(name);
    pugi::xml_node time = node.append_child("tt:Time");
    put(time, "tt:Hour", utc.tm_hour);
    put(time, "tt:Minute", utc.tm_min);
    put(time, "tt:Second", utc.tm_sec);
    pugi::xml_node date = node.append_child("tt:Date");
    put(date, "tt:Year", utc.tm_year + 1900);
    put(date, "tt:Month", utc.tm_mon + 1);
    put(date, "tt:Day", utc.tm_mday);
}

std::string twoDigits(const pugi::xml_node& parent, const char* name)
{
    const std::string text = requiredText(parent, name);
    return text.size() == 1 ? "0" + text : text;
}

/// What a client may set of the time: the camera has its computer's clock, so only a time that this shows.
void setTime(const pugi::xml_node& request, std::chrono::system_clock::time_point now, DeviceSettings& wanted)
{
    constexpr std::chrono::seconds kNear(5);
    const std::string type = requiredText(request, "tds:DateTimeType");
    if (type != "NTP" && type != "Manual") {
        throw Fault::sender({"ter:InvalidArgVal"}, "tds:DateTimeType is NTP or Manual");
    }
    wanted.daylightSavings = requiredBool(request, "tds:DaylightSavings");
    if (const pugi::xml_node zone = request.child("tds:TimeZone")) {
        const std::string text = requiredText(zone, "tt:TZ");
        if (text.empty() || text.size() > 64 || text.find_first_of(" \t\r\n") != std::string::npos) {
            throw Fault::invalid("ter:InvalidTimeZone",
                                 "a time zone is written as POSIX does, 'CET-1CEST' for instance");
        }
        wanted.timeZone = text;
    }
    if (type == "Manual") {
        const pugi::xml_node utc = request.child("tds:UTCDateTime");
        const pugi::xml_node date = utc.child("tt:Date");
        const pugi::xml_node time = utc.child("tt:Time");
        const auto given = parseDateTime(requiredText(date, "tt:Year") + "-" + twoDigits(date, "tt:Month") + "-" +
                                         twoDigits(date, "tt:Day") + "T" + twoDigits(time, "tt:Hour") + ":" +
                                         twoDigits(time, "tt:Minute") + ":" + twoDigits(time, "tt:Second") + "Z");
        if (!given || *given < now - kNear || *given > now + kNear) {
            throw Fault::invalid("ter:InvalidDateTime",
                                 "this camera has the clock of its computer, which cannot be set here");
        }
    }
}

bool contains(const std::vector<std::string>& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// Scopes that a client may set. @throws Fault
std::vector<std::string> newScopes(const pugi::xml_node& request, const char* name,
                                   const std::vector<std::string>& fixed)
{
    std::vector<std::string> scopes = textsOf(request, name);
    for (const std::string& scope : scopes) {
        if (scope.empty() || scope.size() > kLongestScope || scope.find_first_of(" \t\r\n<>\"") != std::string::npos) {
            throw Fault::sender({"ter:InvalidArgVal"}, "a scope is an address of at most " +
                                                           std::to_string(kLongestScope) + " bytes without blanks");
        }
        if (contains(fixed, scope)) {
            throw prohibited("ter:ScopeOverwrite", "the scope '" + scope + "' is fixed");
        }
    }
    if (scopes.empty()) {
        throw Fault::sender({"ter:InvalidArgs"}, std::string(name) + " is missing");
    }
    return scopes;
}

void limitScopes(const DeviceSettings& settings)
{
    if (settings.scopes.size() > kMostScopes) {
        throw Fault::receiver({"ter:Action", "ter:TooManyScopes"},
                              "at most " + std::to_string(kMostScopes) + " scopes can be set");
    }
}

void putCapabilities(pugi::xml_node capabilities)
{
    using Row = std::pair<const char*, const char*>;
    const auto section = [&capabilities](const char* name, std::initializer_list<Row> rows) {
        pugi::xml_node node = capabilities.append_child(name);
        for (const auto& [attribute, value] : rows) {
            node.append_attribute(attribute).set_value(value);
        }
    };
    section("tds:Network", {{"IPFilter", "false"},
                            {"ZeroConfiguration", "false"},
                            {"IPVersion6", "false"},
                            {"DynDNS", "false"},
                            {"HostnameFromDHCP", "false"},
                            {"NTP", "8"}});
    section("tds:Security", {{"TLS1.2", "true"},
                             {"DefaultAccessPolicy", "true"},
                             {"UsernameToken", "true"},
                             {"HttpDigest", "true"},
                             {"MaxUsers", "32"},
                             {"MaxUserNameLength", "64"},
                             {"MaxPasswordLength", "128"}});
    section("tds:System", {{"SystemLogging", "true"}, {"HttpSystemLogging", "false"}});
}

void putOldCapabilities(pugi::xml_node device)
{
    const auto putAll = [](pugi::xml_node node, std::initializer_list<std::pair<const char*, bool>> rows) {
        for (const auto& [name, value] : rows) {
            put(node, name, value);
        }
    };
    putAll(device.append_child("tt:Network"),
           {{"tt:IPFilter", false}, {"tt:ZeroConfiguration", false}, {"tt:IPVersion6", false}, {"tt:DynDNS", false}});
    pugi::xml_node system = device.append_child("tt:System");
    putAll(system, {{"tt:DiscoveryResolve", false},
                    {"tt:DiscoveryBye", false},
                    {"tt:RemoteDiscovery", false},
                    {"tt:SystemBackup", false},
                    {"tt:SystemLogging", true},
                    {"tt:FirmwareUpgrade", false}});
    pugi::xml_node version = system.append_child("tt:SupportedVersions");
    put(version, "tt:Major", 2);
    put(version, "tt:Minor", 60);
    putAll(device.append_child("tt:Security"), {{"tt:TLS1.1", false},
                                                {"tt:TLS1.2", true},
                                                {"tt:OnboardKeyGeneration", false},
                                                {"tt:AccessPolicyConfig", false},
                                                {"tt:X.509Token", false},
                                                {"tt:SAMLToken", false},
                                                {"tt:KerberosToken", false},
                                                {"tt:RELToken", false}});
}

void putCategory(pugi::xml_node parent, const ServiceEntry& entry, const std::string& base)
{
    pugi::xml_node node = parent.append_child(("tt:" + entry.category).c_str());
    put(node, "tt:XAddr", base + entry.path);
    if (entry.categoryContent) {
        entry.categoryContent(node);
    }
}

/// The categories that stand in the answer itself, in its order. Others are an extension of it.
/// @param entries  those that are told
Answer servicesAnswer(const std::vector<const ServiceEntry*>& entries, const std::string& base, bool withCapabilities)
{
    Answer answer("tds:GetServicesResponse");
    for (const ServiceEntry* const entry : entries) {
        pugi::xml_node service = answer.body().append_child("tds:Service");
        put(service, "tds:Namespace", std::string(NamespaceTable::ofMessages().uriOf(entry->prefix).value_or("")));
        put(service, "tds:XAddr", base + entry->path);
        if (withCapabilities) {
            entry->capabilities(
                service.append_child("tds:Capabilities").append_child((entry->prefix + ":Capabilities").c_str()));
        }
        pugi::xml_node version = service.append_child("tds:Version");
        put(version, "tt:Major", entry->major);
        put(version, "tt:Minor", entry->minor);
    }
    return answer;
}

/// The last list of services without their capabilities: every client asks for it first, most by the same address.
class LastList {
public:
    Answer answer(std::vector<const ServiceEntry*> entries, const std::string& base)
    {
        if (!_text || entries != _entries || base != _base) {
            _text = std::make_shared<std::string>(printed(servicesAnswer(entries, base, false).body().parent()));
            _entries = std::move(entries);
            _base = base;
        }
        return Answer(_text);
    }

private:
    std::vector<const ServiceEntry*> _entries;
    std::string _base;
    std::shared_ptr<const std::string> _text;
};

constexpr std::array<const char*, 6> kCategories = {"Analytics", "Device", "Events", "Imaging", "Media", "PTZ"};
constexpr const char* kExtensionCategory = "DeviceIO";

Answer capabilitiesAnswer(const Call& call, const ServiceDirectory& directory)
{
    std::vector<std::string> wanted = textsOf(call.request(), "tds:Category");
    const bool all = wanted.empty() || contains(wanted, "All");
    for (const std::string& category : wanted) {
        const bool known =
            category == "All" || std::find(kCategories.begin(), kCategories.end(), category) != kCategories.end();
        if (!known || (category != "All" && directory.find(category) == nullptr)) {
            throw Fault::receiver({"ter:ActionNotSupported", "ter:NoSuchService"},
                                  "this camera has no service of the category '" + category + "'");
        }
    }
    Answer answer("tds:GetCapabilitiesResponse");
    pugi::xml_node capabilities = answer.body().append_child("tds:Capabilities");
    for (const char* const category : kCategories) {
        const ServiceEntry* const entry = directory.find(category);
        if (entry != nullptr && (all || contains(wanted, category))) {
            putCategory(capabilities, *entry, call.base);
        }
    }
    if (const ServiceEntry* const entry = directory.find(kExtensionCategory); entry != nullptr && all) {
        putCategory(capabilities.append_child("tt:Extension"), *entry, call.base);
    }
    return answer;
}

} // namespace

DeviceService::DeviceService(DeviceFacts facts, Kept<Users>& users, Kept<DeviceSettings>& settings,
                             DeviceActions actions, Clocks clocks)
    : _facts(std::move(facts)),
      _users(users),
      _settings(settings),
      _actions(std::move(actions)),
      _clocks(std::move(clocks))
{
}

void DeviceService::addTo(Operations& operations, ServiceDirectory& directory)
{
    directory.add({"tds", kDeviceServicePath, 24, 12, putCapabilities, "Device", putOldCapabilities}, operations);
    addDirectory(operations, directory);
    addSystem(operations);
    addScopes(operations);
    addUsers(operations);
    addNetwork(operations);
}

void DeviceService::addDirectory(Operations& operations, const ServiceDirectory& directory)
{
    operations.add("tds:GetServices", AccessClass::preAuth, [&directory, last = LastList()](const Call& call) mutable {
        return requiredBool(call.request(), "tds:IncludeCapability")
                   ? servicesAnswer(directory.present(), call.base, true)
                   : last.answer(directory.present(), call.base);
    });
    operations.add("tds:GetCapabilities", AccessClass::preAuth,
                   [&directory](const Call& call) { return capabilitiesAnswer(call, directory); });
    operations.add("tds:GetWsdlUrl", AccessClass::preAuth, [](const Call& /*call*/) {
        Answer answer("tds:GetWsdlUrlResponse");
        put(answer.body(), "tds:WsdlUrl", wsdlAddress());
        return answer;
    });
}

void DeviceService::addSystem(Operations& operations)
{
    operations.add("tds:GetDeviceInformation", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetDeviceInformationResponse");
        put(answer.body(), "tds:Manufacturer", _facts.manufacturer);
        put(answer.body(), "tds:Model", _facts.model);
        put(answer.body(), "tds:FirmwareVersion", _facts.firmware);
        put(answer.body(), "tds:SerialNumber", _facts.serial);
        put(answer.body(), "tds:HardwareId", _facts.hardware);
        return answer;
    });
    operations.add("tds:GetEndpointReference", AccessClass::preAuth, [this](const Call& /*call*/) {
        Answer answer("tds:GetEndpointReferenceResponse");
        put(answer.body(), "tds:GUID", "urn:uuid:" + _facts.uuid);
        return answer;
    });
    // Clients correct their clock by it before they log in.
    operations.add("tds:GetSystemDateAndTime", AccessClass::preAuth, [this](const Call& /*call*/) {
        Answer answer("tds:GetSystemDateAndTimeResponse");
        pugi::xml_node time = answer.body().append_child("tds:SystemDateAndTime");
        put(time, "tt:DateTimeType", "NTP");
        put(time, "tt:DaylightSavings", _settings.value().daylightSavings);
        put(time.append_child("tt:TimeZone"), "tt:TZ", _settings.value().timeZone);
        putTime(time, "tt:UTCDateTime", std::chrono::system_clock::to_time_t(_clocks.wall()));
        return answer;
    });
    operations.addLater("tds:SetSystemDateAndTime", AccessClass::writeSystem,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            const auto edit = [call, now = _clocks.wall()](DeviceSettings& wanted) {
                                setTime(call->request(), now, wanted);
                            };
                            changeAndAnswer(_settings, edit, call, reply);
                        });
    operations.addLater("tds:SystemReboot", AccessClass::unrecoverable,
                        [this](const std::shared_ptr<const Call>& /*call*/, const Reply& reply) {
                            _actions.reboot([reply](const std::optional<Fault>& failure) {
                                if (failure) {
                                    reply(*failure);
                                    return;
                                }
                                Answer answer("tds:SystemRebootResponse");
                                put(answer.body(), "tds:Message", "Rebooting in 0 seconds");
                                reply(std::move(answer));
                            });
                        });
    operations.addLater("tds:SetSystemFactoryDefault", AccessClass::unrecoverable,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            const std::string kind = requiredText(call->request(), "tds:FactoryDefault");
                            if (kind != "Hard" && kind != "Soft") {
                                throw Fault::sender({"ter:InvalidArgVal"}, "tds:FactoryDefault is Hard or Soft");
                            }
                            _actions.factoryDefault(kind == "Hard", answerWhenDone(call, reply));
                        });
    operations.add("tds:GetSystemLog", AccessClass::readSystemSecret, [this](const Call& call) {
        if (requiredText(call.request(), "tds:LogType") != "System") {
            throw Fault::invalid("ter:AccesslogUnavailable", "there is no access log");
        }
        Answer answer("tds:GetSystemLogResponse");
        put(answer.body().append_child("tds:SystemLog"), "tt:String", _actions.log());
        return answer;
    });
    operations.add("tds:GetRelayOutputs", AccessClass::readMedia,
                   [](const Call& /*call*/) { return Answer("tds:GetRelayOutputsResponse"); });
}

void DeviceService::addScopes(Operations& operations)
{
    operations.add("tds:GetScopes", AccessClass::readSystem, [this](const Call& /*call*/) {
        Answer answer("tds:GetScopesResponse");
        const auto putAll = [&answer](const char* kind, const std::vector<std::string>& scopes) {
            for (const std::string& scope : scopes) {
                pugi::xml_node node = answer.body().append_child("tds:Scopes");
                put(node, "tt:ScopeDef", kind);
                put(node, "tt:ScopeItem", scope);
            }
        };
        putAll("Fixed", _actions.fixedScopes());
        putAll("Configurable", _settings.value().scopes);
        return answer;
    });
    operations.addLater("tds:SetScopes", AccessClass::writeSystem,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            const auto scopes = newScopes(call->request(), "tds:Scopes", _actions.fixedScopes());
                            const auto edit = [scopes](DeviceSettings& settings) {
                                settings.scopes = scopes;
                                limitScopes(settings);
                            };
                            changeAndAnswer(_settings, edit, call, reply);
                        });
    operations.addLater("tds:AddScopes", AccessClass::writeSystem,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            const auto scopes = newScopes(call->request(), "tds:ScopeItem", _actions.fixedScopes());
                            const auto edit = [scopes](DeviceSettings& settings) {
                                for (const std::string& scope : scopes) {
                                    if (!contains(settings.scopes, scope)) {
                                        settings.scopes.push_back(scope);
                                    }
                                }
                                limitScopes(settings);
                            };
                            changeAndAnswer(_settings, edit, call, reply);
                        });
    operations.addLater("tds:RemoveScopes", AccessClass::writeSystem,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            const auto scopes = textsOf(call->request(), "tds:ScopeItem");
                            const auto edit = [scopes, fixed = _actions.fixedScopes()](DeviceSettings& settings) {
                                for (const std::string& scope : scopes) {
                                    const auto found = std::find(settings.scopes.begin(), settings.scopes.end(), scope);
                                    if (found != settings.scopes.end()) {
                                        settings.scopes.erase(found);
                                    } else if (contains(fixed, scope)) {
                                        throw prohibited("ter:FixedScope", "the scope '" + scope + "' is fixed");
                                    } else {
                                        throw Fault::invalid("ter:NoScope", "there is no scope '" + scope + "'");
                                    }
                                }
                            };
                            changeAndAnswer(_settings, edit, reply, [call, scopes] {
                                Answer answer = call->answer();
                                for (const std::string& scope : scopes) {
                                    put(answer.body(), "tds:ScopeItem", scope);
                                }
                                return answer;
                            });
                        });
}

void DeviceService::addUsers(Operations& operations)
{
    operations.add("tds:GetUsers", AccessClass::readSystemSecret, [this](const Call& /*call*/) {
        Answer answer("tds:GetUsersResponse");
        for (const User& user : _users.value().all()) {
            pugi::xml_node node = answer.body().append_child("tds:User");
            put(node, "tt:Username", user.name);
            put(node, "tt:UserLevel", levelText(user.level));
        }
        return answer;
    });
    operations.addLater("tds:CreateUsers", AccessClass::writeSystem,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            std::vector<User> users;
                            for (const pugi::xml_node& node : call->request().children("tds:User")) {
                                users.push_back({node.child("tt:Username").text().get(), levelOf(node),
                                                 node.child("tt:Password").text().get()});
                            }
                            const auto edit = userEdit([users](Users& all) { all.create(users); });
                            changeAndAnswer(_users, edit, call, reply);
                        });
    operations.addLater("tds:SetUser", AccessClass::writeSystem,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            std::vector<UserChange> changes;
                            for (const pugi::xml_node& node : call->request().children("tds:User")) {
                                UserChange change{node.child("tt:Username").text().get(), levelOf(node), std::nullopt};
                                if (const pugi::xml_node password = node.child("tt:Password")) {
                                    change.password = password.text().get();
                                }
                                changes.push_back(std::move(change));
                            }
                            const auto edit = userEdit([changes](Users& all) { all.set(changes); });
                            changeAndAnswer(_users, edit, call, reply);
                        });
    operations.addLater("tds:DeleteUsers", AccessClass::writeSystem,
                        [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                            std::vector<std::string> names;
                            for (const pugi::xml_node& node : call->request().children("tds:Username")) {
                                names.emplace_back(node.text().get());
                            }
                            const auto edit = userEdit([names](Users& all) { all.remove(names); });
                            changeAndAnswer(_users, edit, call, reply);
                        });
}

} // namespace camera::onvif
