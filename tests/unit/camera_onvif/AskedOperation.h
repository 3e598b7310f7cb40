#pragma once

#include "camera/onvif/Operations.h"

#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace camera::onvif {

/// Who asks, and where.
struct Asking {
    std::string target = {};
    std::string user = {};
    UserLevel level = UserLevel::anonymous;
    std::string peer = {};
    WhenGone whenGone = {};
    std::string base = "http://camera";
};

/// Nothing before the operation has answered.
using AskedOutcome = std::shared_ptr<std::optional<Outcome<std::string>>>;

/// Begins an operation.
inline AskedOutcome begun(const Operations& operations, const std::string& name, const std::string& content,
                          const Asking& asking = {})
{
    const std::string text =
        "<env:Envelope><env:Body><" + name + ">" + content + "</" + name + "></env:Body></env:Envelope>";
    const auto answered = std::make_shared<std::optional<Outcome<std::string>>>();
    const auto call = std::make_shared<const Call>(
        Call{Envelope(text), asking.base, asking.user, asking.level, asking.target, asking.peer, asking.whenGone});
    const Operation* const operation = operations.find(name);
    if (operation == nullptr) {
        *answered = Fault::receiver({"ter:ActionNotSupported"}, "no such operation");
        return answered;
    }
    const Reply reply = [answered](Outcome<Answer> outcome) {
        if (auto* const fault = std::get_if<Fault>(&outcome)) {
            *answered = *fault;
        } else {
            *answered = std::get<Answer>(outcome).text("");
        }
    };
    try {
        if (const auto* const later = std::get_if<Operation::Later>(&operation->perform)) {
            (*later)(call, reply);
        } else {
            reply(std::get<Operation::AtOnce>(operation->perform)(*call));
        }
    } catch (const Fault& fault) {
        *answered = fault;
    }
    return answered;
}

/// What comes of an operation that everybody may call: nothing when it has not answered yet.
inline std::optional<Outcome<std::string>> performed(const Operations& operations, const std::string& name,
                                                     const std::string& content)
{
    return *begun(operations, name, content);
}

/// The body of the answer, or the fault as "Sender ter:InvalidArgVal/ter:NoProfile: its reason".
inline std::string outcomeText(const std::optional<Outcome<std::string>>& outcome)
{
    if (!outcome) {
        return "nothing";
    }
    if (const auto* const fault = std::get_if<Fault>(&*outcome)) {
        std::string text = fault->code == Fault::Code::sender ? "Sender " : "Receiver ";
        for (const std::string& subcode : fault->subcodes) {
            text += (&subcode == &fault->subcodes.front() ? "" : "/") + subcode;
        }
        return text + ": " + fault->what();
    }
    const std::string& answer = std::get<std::string>(*outcome);
    const std::size_t begin = answer.find("<env:Body>") + 10;
    return answer.substr(begin, answer.find("</env:Body>") - begin);
}

inline std::string ask(const Operations& operations, const std::string& name, const std::string& content = "")
{
    return outcomeText(performed(operations, name, content));
}

} // namespace camera::onvif
