#include "camera/onvif/Discovery.h"

#include "camera/base/Text.h"
#include "camera/base/Words.h"
#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/Requests.h"
#include "camera/onvif/ScopeRules.h"
#include "camera/onvif/Uuid.h"
#include "camera/onvif/XmlText.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace camera::onvif {

namespace {

const std::string kDiscovery = "http://schemas.xmlsoap.org/ws/2005/04/discovery";
const std::string kAddressing = "http://schemas.xmlsoap.org/ws/2004/08/addressing";
constexpr const char* kEverybody = "urn:schemas-xmlsoap-org:ws:2005:04:discovery";
constexpr std::array<const char*, 2> kTypes = {"dn:NetworkVideoTransmitter", "tds:Device"};
constexpr std::size_t kLongestId = 256;

// Its addressing is an older one than that of the other messages.
const NamespaceTable& discoveryNames()
{
    static const NamespaceTable table({{"env", "http://www.w3.org/2003/05/soap-envelope"},
                                       {"wsa", kAddressing},
                                       {"wsd", kDiscovery},
                                       {"dn", "http://www.onvif.org/ver10/network/wsdl"},
                                       {"tds", "http://www.onvif.org/ver10/device/wsdl"}});
    return table;
}

/// What a stranger asks.
struct Question {
    pugi::xml_document document;
    pugi::xml_node header;
    pugi::xml_node body; ///< the element in it
    std::string id;
};

bool isId(const std::string& text)
{
    return !text.empty() && text.size() <= kLongestId &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
}

/// A header that may be missing, but must not say anything else.
bool allows(const pugi::xml_node& header, const char* name, const std::string& text)
{
    const auto given = optionalText(header, name);
    return !given || *given == text;
}

bool isUnderstood(const pugi::xml_node& block)
{
    const std::string_view prefix = std::string_view(block.name()).substr(0, 4);
    return prefix == "wsa:" || prefix == "wsd:" || !block.attribute("env:mustUnderstand").as_bool();
}

std::optional<Question> questionIn(const std::string& datagram)
{
    Question question;
    try {
        question.document = parsed(datagram);
        makeCanonical(question.document, datagram, discoveryNames(), Discovery::kMostDeep);
    } catch (const XmlRefusal&) {
        return std::nullopt;
    }
    const pugi::xml_node envelope = question.document.child("env:Envelope");
    question.header = envelope.child("env:Header");
    question.body = onlyElement(envelope.child("env:Body"));
    question.id = optionalText(question.header, "wsa:MessageID").value_or("");
    const std::string name = question.body.name();
    const auto headers = question.header.children();
    const bool valid = (name == "wsd:Probe" || name == "wsd:Resolve") && isId(question.id) &&
                       std::all_of(headers.begin(), headers.end(), isUnderstood) &&
                       allows(question.header, "wsa:To", kEverybody) &&
                       allows(question.header, "wsa:Action", kDiscovery + "/" + name.substr(4));
    return valid ? std::optional(std::move(question)) : std::nullopt;
}

bool isMeant(const pugi::xml_node& probe, const std::vector<std::string>& scopes)
{
    const std::vector<std::string> types = base::wordsIn(probe.child("wsd:Types").text().get());
    const pugi::xml_node wanted = probe.child("wsd:Scopes");
    const std::string rule = base::trimmed(wanted.attribute("MatchBy").value());
    return std::all_of(
               types.begin(), types.end(),
               [](const std::string& type) { return std::find(kTypes.begin(), kTypes.end(), type) != kTypes.end(); }) &&
           matchScopes(base::wordsIn(wanted.text().get()), scopes, rule);
}

/// How many bytes a text has where it stands in XML, or some more.
std::size_t sizeInXml(const std::string& text)
{
    constexpr std::size_t kLongestReference = 6;
    const auto referred = std::count_if(text.begin(), text.end(),
                                        [](unsigned char c) { return c < ' ' || c == '&' || c == '<' || c == '>'; });
    return text.size() + static_cast<std::size_t>(referred) * kLongestReference;
}

} // namespace

/// A datagram that the camera sends.
class Discovery::Message {
public:
    Message(Discovery& owner, const std::string& name, const std::string& to)
    {
        pugi::xml_node envelope = _document.append_child("env:Envelope");
        _header = envelope.append_child("env:Header");
        put(_header, "wsa:MessageID", "urn:uuid:" + newUuid());
        put(_header, "wsa:To", to);
        put(_header, "wsa:Action", kDiscovery + "/" + name);
        pugi::xml_node sequence = _header.append_child("wsd:AppSequence");
        sequence.append_attribute("InstanceId").set_value(owner._instance);
        sequence.append_attribute("MessageNumber").set_value(++owner._sent);
        body = envelope.append_child("env:Body").append_child(("wsd:" + name).c_str());
    }

    void relateTo(const std::string& id) { put(_header, "wsa:RelatesTo", id); }

    void putEndpoint(pugi::xml_node node, const Discovery& owner)
    {
        put(node.append_child("wsa:EndpointReference"), "wsa:Address", owner._endpoint);
    }

    void putCamera(pugi::xml_node node, const Discovery& owner, const std::vector<std::string>& addresses)
    {
        putEndpoint(node, owner);
        put(node, "wsd:Types", base::spaced({kTypes.begin(), kTypes.end()}));
        _scopes = node.append_child("wsd:Scopes");
        put(node, "wsd:XAddrs", base::spaced(addresses));
        put(node, "wsd:MetadataVersion", std::to_string(owner._version));
    }

    /// With as many scopes as the datagram can hold. Nothing when it is larger without any.
    std::optional<std::string> text(const std::vector<std::string>& scopes, std::size_t mostBytes)
    {
        declareUsed(_document.document_element(), discoveryNames());
        std::string text = wholeText(_document);
        std::size_t bytes = text.size() + std::string_view("</wsd:Scopes>").size();
        std::vector<std::string> told;
        for (const std::string& scope : scopes) {
            bytes += sizeInXml(scope) + 1;
            if (bytes > mostBytes) {
                break;
            }
            told.push_back(scope);
        }
        if (_scopes && !told.empty()) {
            _scopes.text().set(base::spaced(told).c_str());
            text = wholeText(_document);
        }
        return text.size() <= mostBytes ? std::optional(text) : std::nullopt;
    }

    pugi::xml_node body; ///< the element in it

private:
    pugi::xml_document _document;
    pugi::xml_node _header;
    pugi::xml_node _scopes;
};

Discovery::Discovery(const std::string& uuid, std::uint32_t started, DiscoveryFacts facts)
    : _endpoint("urn:uuid:" + uuid), _instance(started), _facts(std::move(facts)), _version(started)
{
}

bool Discovery::tell(DiscoveryFacts facts)
{
    const bool changed = facts.scopes != _facts.scopes || facts.discoverable != _facts.discoverable;
    _facts = std::move(facts);
    _version += changed ? 1 : 0;
    return changed;
}

std::optional<DiscoveryAnswer> Discovery::answer(const std::string& datagram, const std::string& sender,
                                                 const std::vector<std::string>& addresses, Clock::time_point now)
{
    if (!_facts.discoverable || datagram.size() > kMostBytes) {
        return std::nullopt;
    }
    const std::optional<Question> question = questionIn(datagram);
    if (!question) {
        return std::nullopt;
    }
    const bool probes = std::string_view(question->body.name()) == "wsd:Probe";
    const bool meant = probes ? isMeant(question->body, _facts.scopes)
                              : optionalText(question->body.child("wsa:EndpointReference"), "wsa:Address") == _endpoint;
    // A question is sent several times, because datagrams get lost.
    const std::string known = sender + " " + question->id;
    if (!meant || std::find(_answered.begin(), _answered.end(), known) != _answered.end() ||
        !_rate.takes(sender, now)) {
        return std::nullopt;
    }
    _answered.push_back(known);
    if (_answered.size() > kRemembered) {
        _answered.pop_front();
    }
    Message message(*this, probes ? "ProbeMatches" : "ResolveMatches", kAddressing + "/role/anonymous");
    message.relateTo(question->id);
    message.putCamera(message.body.append_child(probes ? "wsd:ProbeMatch" : "wsd:ResolveMatch"), *this, addresses);
    const auto text = message.text(_facts.scopes, std::min(kMostBytes, kMostTimes * datagram.size()));
    return text ? std::optional(DiscoveryAnswer{*text, probes}) : std::nullopt;
}

std::string Discovery::hello(const std::vector<std::string>& addresses)
{
    Message message(*this, "Hello", kEverybody);
    message.putCamera(message.body, *this, addresses);
    return message.text(_facts.scopes, kMostBytes).value_or("");
}

std::string Discovery::bye()
{
    Message message(*this, "Bye", kEverybody);
    message.putEndpoint(message.body, *this);
    return message.text({}, kMostBytes).value_or("");
}

} // namespace camera::onvif
