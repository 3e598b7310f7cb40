#include "camera/onvif/SoapService.h"

#include "Credentials.h"
#include "camera/onvif/Times.h"

#include <gmock/gmock.h>

#include <optional>
#include <stdexcept>

namespace camera::onvif {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kTarget = "/onvif/device_service";

std::string message(const std::string& body, const std::string& header = "")
{
    return "<env:Envelope xmlns:env='http://www.w3.org/2003/05/soap-envelope'><env:Header>" + header +
           "</env:Header><env:Body>" + body + "</env:Body></env:Envelope>";
}

constexpr const char* kNow = "2024-06-30T12:00:00Z";

/// The header of a user whose password is "secret".
std::string headerOf(const std::string& user, const std::string& password = "secret", const std::string& created = kNow)
{
    return elementOf(tokenOf(user, password, "nonce", created));
}

class SoapServiceTest : public testing::Test {
protected:
    SoapServiceTest()
    {
        _operations.add("tds:Open", AccessClass::preAuth, [](const Call& call) {
            Answer answer("tds:OpenResponse");
            answer.body().append_child("tds:Seen").text().set((call.base + " '" + call.user + "'").c_str());
            return answer;
        });
        _operations.add("tds:Read", AccessClass::readMedia, [](const Call& call) {
            Answer answer("tds:ReadResponse");
            answer.body().append_child("tds:Seen").text().set((call.user + " " + levelText(call.level)).c_str());
            return answer;
        });
        _operations.add("tds:Act", AccessClass::actuate, [](const Call&) { return Answer("tds:ActResponse"); });
        _operations.add("tds:Fails", AccessClass::preAuth, [](const Call&) -> Answer {
            throw Fault::sender({"ter:InvalidArgVal", "ter:NoConfig"}, "no");
        });
        _operations.add("tds:Throws", AccessClass::preAuth,
                        [](const Call&) -> Answer { throw std::runtime_error("the disk is full"); });
        _operations.add("tds:ThrowsAnything", AccessClass::preAuth, [](const Call&) -> Answer { throw 5; });
        _operations.addLater("tds:Later", AccessClass::preAuth,
                             [this](const std::shared_ptr<const Call>& call, const Reply& reply) {
                                 _waiting = call;
                                 _reply = reply;
                             });
    }

    HttpAnswer post(const std::string& body, const std::string& header = "", const std::string& authorization = "")
    {
        return ask({"POST", kTarget, "http://camera:8080", authorization, message(body, header), "127.0.0.1"});
    }

    HttpAnswer ask(const HttpRequest& request)
    {
        _answer.reset();
        _service.handle(request, [this](const HttpAnswer& answer) {
            EXPECT_FALSE(_answer) << "answered twice";
            _answer = answer;
        });
        return _answer.value_or(HttpAnswer{});
    }

    std::chrono::system_clock::time_point _wall = parseDateTime(kNow).value();
    std::chrono::steady_clock::time_point _steady{1h};
    Users _users{{{"root", UserLevel::administrator, "secret"}, {"viewer", UserLevel::user, "secret"}}};
    Operations _operations;
    SoapService _service{_operations,
                         _users,
                         DigestAccess("camera", Bytes(32, 'k')),
                         {[this] { return _wall; }, [this] { return _steady; }}};
    std::optional<HttpAnswer> _answer;
    std::shared_ptr<const Call> _waiting;
    Reply _reply;
};

TEST_F(SoapServiceTest, performsWhatEverybodyMayCallWithoutALogin)
{
    const HttpAnswer answer = post("<tds:Open/>", "<wsa:MessageID>urn:1</wsa:MessageID>");
    EXPECT_EQ(200, answer.status);
    EXPECT_EQ("application/soap+xml; charset=utf-8", answer.contentType);
    EXPECT_THAT(answer.body, HasSubstr("<tds:OpenResponse><tds:Seen>http://camera:8080 ''</tds:Seen>"));
    EXPECT_THAT(answer.body, HasSubstr("<wsa:RelatesTo>urn:1</wsa:RelatesTo>"));
    EXPECT_THAT(answer.challenges, IsEmpty());
}

TEST_F(SoapServiceTest, answerIsCalledAsTheRequestIs)
{
    const auto header = [this](const std::string& action) {
        const std::string text = post("<tds:Open/>", "<wsa:Action>" + action + "</wsa:Action>").body;
        return text.substr(0, text.find("<env:Body>"));
    };
    EXPECT_THAT(header(" urn:a/OpenRequest\n"), HasSubstr("<wsa:Action>urn:a/OpenResponse</wsa:Action>"));
    for (const char* const action : {"", "Request", "urn:a/Open", "urn:a/OpenRequest/x"}) {
        EXPECT_THAT(header(action), Not(HasSubstr("<wsa:Action>"))) << action;
    }
}

TEST_F(SoapServiceTest, doesNotLookAtTheCredentialsOfWhatEverybodyMayCall)
{
    EXPECT_EQ(200, post("<tds:Open/>", headerOf("nobody", "secret", "1970-01-01T00:00:00Z")).status);
    EXPECT_EQ(200, post("<tds:Open/>", "", "Digest nonsense").status);
}

TEST_F(SoapServiceTest, challengesAClientThatDoesNotLogIn)
{
    const HttpAnswer answer = post("<tds:Read/>", "<wsa:MessageID>urn:1</wsa:MessageID>");
    EXPECT_EQ(401, answer.status);
    ASSERT_THAT(answer.challenges, SizeIs(2));
    EXPECT_THAT(answer.challenges[0], HasSubstr("algorithm=MD5"));
    EXPECT_THAT(answer.challenges[1], HasSubstr("algorithm=SHA-256"));
    EXPECT_THAT(answer.challenges[0], Not(HasSubstr("stale=true")));
    EXPECT_THAT(answer.body, HasSubstr("ter:NotAuthorized"));
    EXPECT_THAT(answer.body, HasSubstr("urn:1"));
}

TEST_F(SoapServiceTest, takesATokenOnceAndTellsTheOperationWhoCalls)
{
    const std::string token = headerOf("viewer");
    const HttpAnswer answer = post("<tds:Read/>", token);
    EXPECT_EQ(200, answer.status);
    EXPECT_THAT(answer.body, HasSubstr("viewer User"));
    const HttpAnswer again = post("<tds:Read/>", token);
    EXPECT_EQ(400, again.status);
    EXPECT_THAT(again.body, HasSubstr("<env:Value>ter:NotAuthorized</env:Value>"));
    EXPECT_THAT(again.challenges, IsEmpty());
}

TEST_F(SoapServiceTest, refusesATokenByTheClockOfTheCamera)
{
    _wall += 301s;
    EXPECT_EQ(400, post("<tds:Read/>", headerOf("viewer")).status);
    _wall -= 2s;
    EXPECT_EQ(200, post("<tds:Read/>", headerOf("viewer")).status);
}

TEST_F(SoapServiceTest, refusesAWrongPassword)
{
    EXPECT_EQ(400, post("<tds:Read/>", headerOf("viewer", "guess")).status);
    EXPECT_EQ(400, post("<tds:Read/>", "<wsse:Security><wsse:UsernameToken/></wsse:Security>").status);
}

TEST_F(SoapServiceTest, takesADigestOfHttp)
{
    const std::string nonce = nonceOf(post("<tds:Read/>").challenges.at(0));
    const std::string authorization = DigestClient{"viewer", "secret", nonce}.header();
    const HttpAnswer answer = post("<tds:Read/>", "", authorization);
    EXPECT_EQ(200, answer.status);
    EXPECT_THAT(answer.body, HasSubstr("viewer User"));
    const HttpAnswer again = post("<tds:Read/>", "", authorization);
    EXPECT_EQ(401, again.status);
    EXPECT_THAT(again.challenges.at(0), HasSubstr("stale=true"));
}

TEST_F(SoapServiceTest, takesADigestOfHttpBeforeAToken)
{
    EXPECT_EQ(401, post("<tds:Read/>", headerOf("viewer"), "Digest nonsense").status);
}

TEST_F(SoapServiceTest, tellsWhoMayNotWhoMay)
{
    const HttpAnswer answer = post("<tds:Act/>", headerOf("viewer"));
    EXPECT_EQ(400, answer.status);
    EXPECT_THAT(answer.body, HasSubstr("ter:NotAuthorized"));
    EXPECT_THAT(answer.body, HasSubstr("'viewer' is User; this operation is for Operator"));
    EXPECT_EQ(200, post("<tds:Act/>", headerOf("root")).status);
}

TEST_F(SoapServiceTest, knowsTheUsersOfTheMoment)
{
    const std::string token = headerOf("new");
    EXPECT_EQ(400, post("<tds:Read/>", token).status);
    _users.create({{"new", UserLevel::user, "secret"}});
    EXPECT_EQ(200, post("<tds:Read/>", token).status);
}

TEST_F(SoapServiceTest, answersFaults)
{
    const HttpAnswer sender = post("<tds:Fails/>", "<wsa:MessageID>urn:1</wsa:MessageID>");
    EXPECT_EQ(400, sender.status);
    EXPECT_THAT(sender.body, HasSubstr("ter:NoConfig"));
    EXPECT_THAT(sender.body, HasSubstr("urn:1"));
    const HttpAnswer receiver = post("<tds:Throws/>");
    EXPECT_EQ(500, receiver.status);
    EXPECT_THAT(receiver.body, HasSubstr("env:Receiver"));
    EXPECT_THAT(receiver.body, HasSubstr("the disk is full"));
    EXPECT_EQ(500, post("<tds:ThrowsAnything/>").status);
}

TEST_F(SoapServiceTest, saysThatAnOperationIsNotThere)
{
    const HttpAnswer answer = post("<tds:Unknown/>");
    EXPECT_EQ(500, answer.status);
    EXPECT_THAT(answer.body, HasSubstr("ter:ActionNotSupported"));
    EXPECT_THAT(answer.body, HasSubstr("no operation 'tds:Unknown'"));
    EXPECT_EQ(500, post("<Open/>").status);
}

TEST_F(SoapServiceTest, answersWhatIsNoEnvelope)
{
    const HttpAnswer answer = ask({"POST", kTarget, "http://a", "", "<a", "127.0.0.1"});
    EXPECT_EQ(400, answer.status);
    EXPECT_THAT(answer.body, HasSubstr("ter:WellFormed"));
}

TEST_F(SoapServiceTest, answersOnlyBelowItsAddressAndOnlyPosts)
{
    const std::string body = message("<tds:Open/>");
    EXPECT_EQ(200, ask({"POST", "/onvif/anything", "", "", body, ""}).status);
    EXPECT_EQ(404, ask({"POST", "/", "", "", body, ""}).status);
    EXPECT_EQ(404, ask({"POST", "/onvif", "", "", body, ""}).status);
    const HttpAnswer get = ask({"GET", kTarget, "", "", body, ""});
    EXPECT_EQ(405, get.status);
    EXPECT_THAT(get.contentType, StartsWith("text/plain"));
}

TEST_F(SoapServiceTest, answersLaterWhatTakesItsTime)
{
    post("<tds:Later><a/></tds:Later>", "<wsa:MessageID>urn:1</wsa:MessageID>");
    ASSERT_FALSE(_answer);
    EXPECT_STREQ("tds:Later", _waiting->request().name());
    EXPECT_STREQ("a", _waiting->request().first_child().name());
    _reply(Answer("tds:LaterResponse"));
    ASSERT_TRUE(_answer);
    EXPECT_EQ(200, _answer->status);
    EXPECT_THAT(_answer->body, HasSubstr("urn:1"));

    post("<tds:Later/>");
    _reply(Fault::receiver({"ter:Action"}, "nobody answers"));
    ASSERT_TRUE(_answer);
    EXPECT_EQ(500, _answer->status);
    EXPECT_THAT(_answer->body, HasSubstr("nobody answers"));
}

} // namespace
} // namespace camera::onvif
