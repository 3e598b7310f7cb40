#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace camera::onvif {

/**
 * A SOAP 1.2 request. All names in it have our prefixes (NamespaceTable::ofMessages()), whatever the client called
 * them.
 *
 * Neither the action of an addressing header nor one of HTTP is looked at: many clients send none or a wrong one.
 */
class Envelope {
public:
    static constexpr std::size_t kMostBytes = 1024 * 1024;
    static constexpr std::size_t kMostDeep = 64; ///< elements within each other

    /// @throws Fault when the text is no envelope with one element in its body, or has a header that must be understood
    ///         and is not.
    explicit Envelope(const std::string& text);

    /// The element of the body. What it refers to lives as long as this object.
    pugi::xml_node request() const { return _request; }

    /// Its name, "tds:GetUsers".
    std::string operation() const { return _request.name(); }

    /// The message's id, to be told in the answer; empty: none.
    std::string messageId() const { return _header.child("wsa:MessageID").text().get(); }

    /// What an answer is, when the message tells what it is itself as the descriptions of events do; empty otherwise.
    std::string answerAction() const;

    /// The credentials that the header carries, or a null node.
    pugi::xml_node usernameToken() const { return _header.child("wsse:Security").child("wsse:UsernameToken"); }

private:
    void checkHeaders() const;

    pugi::xml_document _document;
    pugi::xml_node _header;
    pugi::xml_node _request;
};

/// The envelope of an answer, or of a message of the camera's own, to be filled.
class Answer {
public:
    /// @param name  of the element in the body, "tds:GetUsersResponse"
    explicit Answer(const std::string& name);

    /// One whose env:Body is printed already; there is nothing to be filled.
    explicit Answer(std::shared_ptr<const std::string> body) : _printed(std::move(body)) {}

    /// The element in the body. What is put in has names with the prefixes of NamespaceTable::ofMessages(), or declares
    /// its own.
    pugi::xml_node body() const { return _body; }

    /// The whole text, once. @param relatesTo  the id of the request; empty: it had none.
    /// @param action  what the answer is, see Envelope::answerAction().
    std::string text(const std::string& relatesTo, const std::string& action = "");

    /// The whole text of a message that is no answer, with where it goes and what it is.
    /// @param more  elements that the header has behind these.
    std::string messageText(const std::string& to, const std::string& action, const std::string& more = "");

private:
    pugi::xml_document _document;
    pugi::xml_node _body;
    std::shared_ptr<const std::string> _printed; ///< null: the document has it
};

class Fault;

/// The envelope of a fault.
std::string faultText(const Fault& fault, const std::string& relatesTo);

} // namespace camera::onvif
