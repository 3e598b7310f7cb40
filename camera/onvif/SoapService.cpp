#include "camera/onvif/SoapService.h"

#include <utility>

namespace camera::onvif {

namespace {

constexpr const char* kContentType = "application/soap+xml; charset=utf-8";

HttpAnswer withText(int status, std::string text)
{
    HttpAnswer answer;
    answer.status = status;
    answer.contentType = kContentType;
    answer.body = std::move(text);
    return answer;
}

HttpAnswer faultAnswer(const Fault& fault, const std::string& relatesTo)
{
    return withText(fault.httpStatus(), faultText(fault, relatesTo));
}

HttpAnswer plain(int status, const std::string& text)
{
    HttpAnswer answer;
    answer.status = status;
    answer.contentType = "text/plain; charset=utf-8";
    answer.body = text + "\n";
    return answer;
}

Fault notAuthorized(const std::string& reason)
{
    return Fault::sender({"ter:NotAuthorized"}, reason);
}

UsernameToken tokenOf(const pugi::xml_node& element)
{
    const pugi::xml_node password = element.child("wsse:Password");
    return {element.child("wsse:Username").text().get(), password.text().get(), password.attribute("Type").value(),
            element.child("wsse:Nonce").text().get(), element.child("wsu:Created").text().get()};
}

bool isSoapAddress(const std::string& target)
{
    return target.compare(0, 7, "/onvif/") == 0;
}

} // namespace

SoapService::SoapService(const Operations& operations, const Users& users, DigestAccess digestAccess, Clocks clocks)
    : _operations(operations), _users(users), _digestAccess(std::move(digestAccess)), _clocks(std::move(clocks))
{
}

void SoapService::handle(const HttpRequest& request, const Answered& answered)
{
    if (!isSoapAddress(request.target)) {
        answered(
            plain(404, std::string("There is nothing here; the device service is at ") + kDeviceServicePath + "."));
        return;
    }
    if (request.method != "POST") {
        answered(plain(405, "ONVIF requests are sent with POST."));
        return;
    }
    std::shared_ptr<Call> call;
    try {
        call = std::make_shared<Call>(Call{Envelope(request.body), request.base});
        call->target = request.target;
        call->peer = request.peer;
        call->whenGone = request.whenGone;
        perform(request, call, answered);
    } catch (...) {
        answered(faultAnswer(Fault::current(), call ? call->envelope.messageId() : ""));
    }
}

void SoapService::perform(const HttpRequest& request, std::shared_ptr<Call>& call, const Answered& answered)
{
    const std::string name = call->envelope.operation();
    const Operation* const operation = _operations.find(name);
    if (operation == nullptr) {
        throw Fault::receiver({"ter:ActionNotSupported"}, "this camera has no operation '" + name + "'");
    }
    if (operation->access != AccessClass::preAuth) {
        const Login login = logIn(request, *call);
        if (login.outcome != LoginOutcome::ok) {
            answered(asksToLogIn(DigestAccess::isStale(login.outcome), call->envelope.messageId()));
            return;
        }
        if (!mayCall(login.level, operation->access)) {
            throw notAuthorized("'" + login.user + "' is " + levelText(login.level) + "; this operation is for " +
                                levelText(lowestLevel(operation->access)));
        }
        call->user = login.user;
        call->level = login.level;
    }
    const auto reply = [answered, messageId = call->envelope.messageId(),
                        action = call->envelope.answerAction()](std::variant<Answer, Fault> outcome) {
        if (auto* const fault = std::get_if<Fault>(&outcome)) {
            answered(faultAnswer(*fault, messageId));
        } else {
            answered(withText(200, std::get<Answer>(outcome).text(messageId, action)));
        }
    };
    if (const auto* const later = std::get_if<Operation::Later>(&operation->perform)) {
        (*later)(call, reply);
    } else {
        reply(std::get<Operation::AtOnce>(operation->perform)(*call));
    }
}

/// A header of HTTP counts before one of the message. @throws Fault for a token that is not accepted.
Login SoapService::logIn(const HttpRequest& request, const Call& call)
{
    if (!request.authorization.empty()) {
        return _digestAccess.check(request.authorization, request.method, request.target, _users, _clocks.steady());
    }
    const pugi::xml_node element = call.envelope.usernameToken();
    if (!element) {
        return {};
    }
    const Login login = _tokens.check(tokenOf(element), _users, _clocks.wall(), _clocks.steady());
    if (login.outcome != LoginOutcome::ok) {
        throw notAuthorized("the credentials in the message are not accepted");
    }
    return login;
}

HttpAnswer SoapService::asksToLogIn(bool stale, const std::string& relatesTo) const
{
    HttpAnswer answer = withText(401, faultText(notAuthorized("log in"), relatesTo));
    answer.challenges = _digestAccess.challenges(stale, _clocks.steady());
    return answer;
}

} // namespace camera::onvif
