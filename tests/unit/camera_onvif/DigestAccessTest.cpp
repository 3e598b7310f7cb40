#include "camera/onvif/DigestAccess.h"

#include "Credentials.h"

#include <gmock/gmock.h>

namespace camera::onvif {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::StartsWith;

TEST(AuthorizationHeaderTest, isReadWithQuotesTokensAndBlanks)
{
    const auto header =
        parseAuthorization("  DiGeSt  Username = \"a \\\"b\\\" \\\\ , c=d\" ,, nc=00000001,\tempty=\"\", ");
    ASSERT_TRUE(header);
    EXPECT_EQ(header->scheme, "digest");
    EXPECT_THAT(header->parameters,
                ElementsAre(Pair("empty", ""), Pair("nc", "00000001"), Pair("username", "a \"b\" \\ , c=d")));
}

TEST(AuthorizationHeaderTest, isRefusedInAnyOtherForm)
{
    for (const char* text :
         {"", " ", "Digest", ":", "Digest username", "Digest username=", "Digest =\"a\"", "Digest a=\"b",
          "Digest a=\"b\\", "Digest a=\"b\" c=\"d\"", "Digest a=b c=d", "Digest a=\"b\"c", "Digest a=b;c=d",
          "Digest a=\"\n\"", "Digest a=\"\\\n\"", "Digest a=b, A=c", "Digest a=b, a=b", "Digest a=b@"}) {
        EXPECT_FALSE(parseAuthorization(text)) << text;
    }
}

TEST(AuthorizationHeaderTest, isRefusedWhenItIsLongOrHasManyParameters)
{
    const std::string begin = "Digest a=\"";
    EXPECT_TRUE(parseAuthorization(begin + std::string(4096 - begin.size() - 1, 'a') + "\""));
    EXPECT_FALSE(parseAuthorization(begin + std::string(4096 - begin.size(), 'a') + "\""));

    std::string many = "Digest a=b";
    for (int i = 1; i < 32; ++i) {
        many += ",p" + std::to_string(i) + "=1";
    }
    EXPECT_TRUE(parseAuthorization(many));
    EXPECT_FALSE(parseAuthorization(many + ",one=more"));
}

class DigestAccessTest : public testing::Test {
protected:
    DigestClient client(std::chrono::seconds challenged = 0s)
    {
        return {"guard \"x\"", "trout", nonceOf(access.challenges(false, kStart + challenged)[0])};
    }

    LoginOutcome outcome(const std::string& header, std::chrono::seconds later = 0s)
    {
        const Login login = access.check(header, "POST", "/onvif/device_service", users, kStart + later);
        EXPECT_EQ(login.outcome == LoginOutcome::ok, login.user == "guard \"x\"");
        EXPECT_EQ(login.outcome == LoginOutcome::ok, login.level == UserLevel::operator_);
        return login.outcome;
    }
    LoginOutcome outcome(const DigestClient& sender, std::chrono::seconds later = 0s)
    {
        return outcome(sender.header(), later);
    }

    // A header of a right client in which one text stands for another.
    std::string changed(const std::string& from, const std::string& to)
    {
        std::string header = client().header();
        const std::size_t place = header.find(from);
        EXPECT_NE(place, std::string::npos) << from;
        return header.replace(place, from.size(), to);
    }

    static constexpr DigestAccess::Time kStart{100000s};

    Users users{{{"root", UserLevel::administrator, "swordfish"}, {"guard \"x\"", UserLevel::operator_, "trout"}}};
    DigestAccess access{"camera", Bytes(32, 7)};
};

TEST_F(DigestAccessTest, challengesWithMd5First)
{
    const std::vector<std::string> challenges = access.challenges(false, kStart);
    EXPECT_THAT(challenges,
                ElementsAre(StartsWith("Digest realm=\"camera\", qop=\"auth\", algorithm=MD5, nonce=\""),
                            StartsWith("Digest realm=\"camera\", qop=\"auth\", algorithm=SHA-256, nonce=\"")));
    EXPECT_THAT(challenges[0], HasSubstr("stale=false"));
    EXPECT_THAT(access.challenges(true, kStart)[1], HasSubstr("stale=true"));
    EXPECT_NE(nonceOf(challenges[0]), nonceOf(access.challenges(false, kStart + 1s)[0]));
}

TEST_F(DigestAccessTest, acceptsEachAlgorithmThatItOffers)
{
    DigestClient sender = client();
    EXPECT_EQ(outcome(sender), LoginOutcome::ok);
    sender.hash = Hash::sha256;
    sender.nc = "0000000A";
    EXPECT_EQ(outcome(sender), LoginOutcome::ok);
}

// The values are the published examples of the scheme; their nonce is of another server, which only a client with
// the right password is told.
TEST_F(DigestAccessTest, computesTheKnownResponses)
{
    const Users mufasa({{"Mufasa", UserLevel::administrator, "Circle of Life"}});
    DigestAccess other("http-auth@example.org", Bytes(32, 7));
    const auto outcomeOf = [&](const std::string& algorithm, const std::string& response) {
        return other
            .check("Digest username=\"Mufasa\", realm=\"http-auth@example.org\", uri=\"/dir/index.html\", algorithm=" +
                       algorithm +
                       ", nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", nc=00000001, "
                       "cnonce=\"f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ\", qop=auth, response=\"" +
                       response + "\", opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"",
                   "GET", "/dir/index.html", mufasa, kStart)
            .outcome;
    };
    const std::string sha256 = "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1";
    EXPECT_EQ(outcomeOf("MD5", "8ca523f5e9506fed4657c9700eebdbec"), LoginOutcome::tooOld);
    EXPECT_EQ(outcomeOf("MD5", "8CA523F5E9506FED4657C9700EEBDBEC"), LoginOutcome::tooOld);
    EXPECT_EQ(outcomeOf("SHA-256", sha256), LoginOutcome::tooOld);
    EXPECT_EQ(outcomeOf("MD5", "8ca523f5e9506fed4657c9700eebdbed"), LoginOutcome::wrongCredentials);
    EXPECT_EQ(outcomeOf("MD5", sha256), LoginOutcome::wrongCredentials);
    EXPECT_EQ(outcomeOf("SHA-512-256", sha256), LoginOutcome::unsupported);
    EXPECT_EQ(outcomeOf("MD5-sess", "8ca523f5e9506fed4657c9700eebdbec"), LoginOutcome::unsupported);
}

TEST_F(DigestAccessTest, acceptsNonceCountAndClientNonceTogetherOnce)
{
    DigestClient sender = client();
    EXPECT_EQ(outcome(sender), LoginOutcome::ok);
    EXPECT_EQ(outcome(sender), LoginOutcome::replay);
    sender.nc = "00000002";
    EXPECT_EQ(outcome(sender), LoginOutcome::ok);
    sender.nc = "00000001";
    EXPECT_EQ(outcome(sender), LoginOutcome::replay);
    sender.cnonce = "another";
    EXPECT_EQ(outcome(sender), LoginOutcome::ok) << "clients that do not count take a new client nonce";
    EXPECT_EQ(outcome(sender, 300s), LoginOutcome::replay);
    EXPECT_TRUE(DigestAccess::isStale(LoginOutcome::replay));
}

TEST_F(DigestAccessTest, acceptsANonceForFiveMinutes)
{
    EXPECT_EQ(outcome(client(), 300s), LoginOutcome::ok);
    EXPECT_EQ(outcome(client(), 301s), LoginOutcome::tooOld);
    EXPECT_EQ(outcome(client(10s), 9s), LoginOutcome::tooOld) << "it was not made yet";
    EXPECT_TRUE(DigestAccess::isStale(LoginOutcome::tooOld));
}

TEST_F(DigestAccessTest, acceptsNoNonceThatItDidNotSign)
{
    DigestClient sender = client();
    DigestAccess restarted("camera", Bytes(32, 8));
    sender.nonce = nonceOf(restarted.challenges(false, kStart)[0]);
    EXPECT_EQ(outcome(sender), LoginOutcome::tooOld);
    for (const char* nonce : {"x", "0000000000000000", "-1", "ffffffffffffffff", "99999999999999999999999999"}) {
        sender.nonce = nonce;
        EXPECT_EQ(outcome(sender), LoginOutcome::tooOld) << nonce;
    }
    sender.nonce = client().nonce;
    sender.nonce[15] = sender.nonce[15] == '0' ? '1' : '0';
    EXPECT_EQ(outcome(sender), LoginOutcome::tooOld) << "another time";
}

TEST_F(DigestAccessTest, tellsOnlyThatTheCredentialsAreWrong)
{
    DigestClient wrong = client();
    wrong.password = "perch";
    EXPECT_EQ(outcome(wrong), LoginOutcome::wrongCredentials);
    EXPECT_EQ(outcome(wrong, 301s), LoginOutcome::wrongCredentials) << "not stale: it would ask again and again";
    DigestClient unknown = client();
    unknown.user = "nobody";
    unknown.password = "";
    EXPECT_EQ(outcome(unknown), LoginOutcome::wrongCredentials);
    EXPECT_FALSE(DigestAccess::isStale(LoginOutcome::wrongCredentials));
    EXPECT_EQ(outcome(client()), LoginOutcome::ok) << "nothing of it was remembered";
}

TEST_F(DigestAccessTest, bindsTheResponseToMethodAndTarget)
{
    DigestClient sender = client();
    sender.method = "GET";
    EXPECT_EQ(outcome(sender), LoginOutcome::wrongCredentials);
    sender = client();
    sender.uri = "/onvif/other";
    EXPECT_EQ(outcome(sender), LoginOutcome::malformed);
    sender = client();
    sender.realm = "another";
    EXPECT_EQ(outcome(sender), LoginOutcome::malformed);
}

TEST_F(DigestAccessTest, needsEachOfItsParameters)
{
    for (const char* name : {"username", "realm", "nonce", "uri", "response", "qop", "nc", "cnonce"}) {
        EXPECT_EQ(outcome(changed(std::string(name) + "=", "other-" + std::string(name) + "=")),
                  LoginOutcome::incomplete)
            << name;
    }
    EXPECT_EQ(outcome(changed("cnonce=\"c0ffee\"", "cnonce=\"\"")), LoginOutcome::incomplete);
}

TEST_F(DigestAccessTest, refusesWhatItDidNotOffer)
{
    EXPECT_EQ(outcome(changed("Digest ", "Bearer ")), LoginOutcome::unsupported);
    EXPECT_EQ(outcome("Basic dXNlcjpwYXNz=="), LoginOutcome::unsupported);
    EXPECT_EQ(outcome(changed("qop=auth", "qop=auth-int")), LoginOutcome::unsupported);
    EXPECT_EQ(outcome(changed("unknown=1", "userhash=true")), LoginOutcome::unsupported);
    EXPECT_EQ(outcome(changed("unknown=1", "username*=UTF-8''guard")), LoginOutcome::unsupported);
    EXPECT_EQ(outcome(changed("unknown=1", "algorithm=SHA-512-256")), LoginOutcome::unsupported);
    EXPECT_EQ(outcome(changed("unknown=1", "userhash=false")), LoginOutcome::ok);
}

TEST_F(DigestAccessTest, refusesWhatItCannotRead)
{
    EXPECT_EQ(outcome("Digest"), LoginOutcome::malformed);
    EXPECT_EQ(outcome(changed("nc=00000001", "nc=1")), LoginOutcome::malformed);
    EXPECT_EQ(outcome(changed("nc=00000001", "nc=0000000g")), LoginOutcome::malformed);
    EXPECT_EQ(outcome(changed("unknown=1", "nc=00000001")), LoginOutcome::malformed) << "twice";
}

} // namespace
} // namespace camera::onvif
