#include "camera/onvif/Envelope.h"

#include "camera/base/Text.h"
#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/Fault.h"
#include "camera/onvif/XmlText.h"

#include <string_view>

namespace camera::onvif {

namespace {

constexpr const char* kSoap11 = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr const char* kFaultAction = "http://www.w3.org/2005/08/addressing/soap/fault"; // of all faults

Fault unreadable(const std::string& reason)
{
    return Fault::sender({"ter:WellFormed"}, reason);
}

/// The namespace of an element before its names are made ours.
std::string namespaceOfRoot(const pugi::xml_node& root)
{
    const std::string_view name(root.name());
    const std::size_t colon = name.find(':');
    const std::string declaration =
        colon == std::string_view::npos ? "xmlns" : "xmlns:" + std::string(name.substr(0, colon));
    return root.attribute(declaration.c_str()).value();
}

pugi::xml_document canonical(const std::string& text)
{
    if (text.size() > Envelope::kMostBytes) {
        throw unreadable("the request has " + std::to_string(text.size()) + " bytes; it may have at most " +
                         std::to_string(Envelope::kMostBytes));
    }
    try {
        pugi::xml_document document = parsed(text);
        if (namespaceOfRoot(document.document_element()) == kSoap11) {
            throw Fault(Fault::Code::versionMismatch, {}, "the request is SOAP 1.1; this camera speaks SOAP 1.2");
        }
        makeCanonical(document, text, NamespaceTable::ofMessages(), Envelope::kMostDeep);
        return document;
    } catch (const XmlRefusal& refusal) {
        throw unreadable("line " + std::to_string(refusal.line) + ", column " + std::to_string(refusal.column) + ": " +
                         refusal.what());
    }
}

/// What each of our messages begins with: the declarations of all prefixes.
std::string beginOfMessages()
{
    std::string begin = std::string(kXmlDeclaration) + "<env:Envelope";
    for (const auto& [prefix, uri] : NamespaceTable::ofMessages().rows()) {
        begin += " xmlns:" + prefix + "=\"" + uri + "\"";
    }
    return begin + ">";
}

/// @param header  null: there is none. @param body  its text
std::string message(const pugi::xml_node& header, const std::string& body)
{
    static const std::string begin = beginOfMessages();
    std::string text = begin;
    print(header, text);
    return text.append(body).append("</env:Envelope>");
}

std::string reply(const std::string& relatesTo, const std::string& action, const std::string& body)
{
    pugi::xml_document header;
    const auto add = [&header](const char* name, const std::string& text) {
        if (!text.empty()) {
            const pugi::xml_node known = header.document_element();
            pugi::xml_node blocks = known ? known : header.append_child("env:Header");
            blocks.append_child(name).text().set(text.c_str());
        }
    };
    add("wsa:RelatesTo", relatesTo);
    add("wsa:Action", action);
    return message(header.document_element(), body);
}

const char* nameOf(Fault::Code code)
{
    switch (code) {
    case Fault::Code::sender:
        return "env:Sender";
    case Fault::Code::versionMismatch:
        return "env:VersionMismatch";
    case Fault::Code::mustUnderstand:
        return "env:MustUnderstand";
    case Fault::Code::receiver:
        break;
    }
    return "env:Receiver";
}

} // namespace

Envelope::Envelope(const std::string& text) : _document(canonical(text))
{
    const pugi::xml_node root = _document.document_element();
    if (std::string_view(root.name()) != "env:Envelope") {
        throw unreadable("the root element of the request is not a SOAP 1.2 envelope");
    }
    _header = root.child("env:Header");
    _request = onlyElement(root.child("env:Body"));
    if (!_request) {
        throw unreadable("the body of the request does not have exactly one element");
    }
    checkHeaders();
}

std::string Envelope::answerAction() const
{
    constexpr std::string_view kRequest = "Request";
    const std::string action = base::trimmed(_header.child("wsa:Action").text().get());
    const bool told = action.size() > kRequest.size() &&
                      action.compare(action.size() - kRequest.size(), kRequest.size(), kRequest) == 0;
    return told ? action.substr(0, action.size() - kRequest.size()) + "Response" : "";
}

void Envelope::checkHeaders() const
{
    for (const pugi::xml_node& block : _header.children()) {
        const std::string_view name(block.name());
        const bool understood = name == "wsse:Security" || name.substr(0, 4) == "wsa:";
        if (!understood && block.attribute("env:mustUnderstand").as_bool()) {
            throw Fault(Fault::Code::mustUnderstand, {},
                        "the header '" + std::string(name) + "' must be understood, and is not");
        }
    }
}

Answer::Answer(const std::string& name) : _body(_document.append_child("env:Body").append_child(name.c_str()))
{
}

std::string Answer::text(const std::string& relatesTo, const std::string& action)
{
    return reply(relatesTo, action, _printed ? *_printed : printed(_document.document_element()));
}

std::string Answer::messageText(const std::string& to, const std::string& action, const std::string& more)
{
    pugi::xml_document header;
    pugi::xml_node blocks = header.append_child("env:Header");
    blocks.append_child("wsa:To").text().set(to.c_str());
    blocks.append_child("wsa:Action").text().set(action.c_str());
    blocks.append_buffer(more.data(), more.size());
    return message(header.document_element(), printed(_document.document_element()));
}

std::string faultText(const Fault& fault, const std::string& relatesTo)
{
    pugi::xml_document document;
    pugi::xml_node body = document.append_child("env:Body").append_child("env:Fault");
    pugi::xml_node code = body.append_child("env:Code");
    code.append_child("env:Value").text().set(nameOf(fault.code));
    for (const std::string& subcode : fault.subcodes) {
        code = code.append_child("env:Subcode");
        code.append_child("env:Value").text().set(subcode.c_str());
    }
    pugi::xml_node text = body.append_child("env:Reason").append_child("env:Text");
    text.append_attribute("xml:lang").set_value("en");
    text.text().set(base::printable(fault.what()).c_str());
    if (!fault.detail.empty()) {
        body.append_child("env:Detail").append_buffer(fault.detail.data(), fault.detail.size());
    }
    return reply(relatesTo, relatesTo.empty() ? "" : kFaultAction, printed(document.document_element()));
}

} // namespace camera::onvif
