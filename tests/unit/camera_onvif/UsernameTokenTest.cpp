#include "camera/onvif/UsernameToken.h"

#include "Credentials.h"
#include "camera/onvif/Times.h"

#include <gtest/gtest.h>

namespace camera::onvif {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;
using SteadyTime = ReplayMemory::Clock::time_point;

Bytes bytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

TEST(DigestsTest, computesKnownValues)
{
    EXPECT_EQ(hexText(hashOf(Hash::md5, "abc")), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(hexText(hashOf(Hash::sha1, "abc")), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(hexText(hashOf(Hash::sha256, "abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hexText(signatureOf(bytesOf("Jefe"), "what do ya want for nothing?")),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
}

TEST(DigestsTest, comparesWholeTexts)
{
    EXPECT_TRUE(sameSecret("abc", "abc"));
    EXPECT_FALSE(sameSecret("abc", "abd"));
    EXPECT_FALSE(sameSecret("abc", "ab"));
    EXPECT_FALSE(sameSecret("", "a"));
    EXPECT_NE(randomBytes(16), randomBytes(16));
}

class ReplayMemoryTest : public testing::Test {
protected:
    bool isNew(const std::string& entry, std::chrono::seconds named, std::chrono::seconds at,
               const std::string& user = "root")
    {
        return memory.isNew(user, bytesOf(entry), named, SteadyTime(at));
    }

    ReplayMemory memory{600s, 3};
};

TEST_F(ReplayMemoryTest, keepsAnEntryForItsWholeTime)
{
    EXPECT_TRUE(isNew("a", 1s, 1000s));
    EXPECT_FALSE(isNew("a", 1s, 1000s));
    EXPECT_FALSE(isNew("a", 1s, 1600s));
    EXPECT_TRUE(isNew("a", 1s, 1601s));
}

TEST_F(ReplayMemoryTest, keepsTheUsersApart)
{
    EXPECT_TRUE(isNew("a", 1s, 1000s));
    EXPECT_TRUE(isNew("a", 1s, 1000s, "guard"));
    EXPECT_EQ(memory.size(), 2U);
    isNew("b", 2s, 2000s);
    EXPECT_EQ(memory.size(), 1U) << "what is over goes for all users";
}

TEST_F(ReplayMemoryTest, refusesWhatMayHaveBeenDroppedWhenItIsFull)
{
    for (const char* const entry : {"a", "b", "c", "d"}) {
        EXPECT_TRUE(isNew(entry, 50s, 1000s));
        EXPECT_LE(memory.size(), 3U);
    }
    EXPECT_FALSE(isNew("a", 50s, 1001s)) << "it was dropped and is not accepted again";
    EXPECT_FALSE(isNew("new", 50s, 1001s)) << "it cannot be told from one that was dropped";
    EXPECT_TRUE(isNew("later", 51s, 1001s));
    EXPECT_FALSE(isNew("a", 50s, 1600s));
    EXPECT_TRUE(isNew("a", 50s, 1601s)) << "it would have been forgotten";
}

TEST_F(ReplayMemoryTest, refusesUpToTheLatestTimeThatWasDropped)
{
    isNew("future", 90s, 1000s);
    for (const char* const entry : {"b", "c", "d"}) {
        EXPECT_TRUE(isNew(entry, 50s, 1010s));
    }
    EXPECT_FALSE(isNew("e", 60s, 1020s));
    for (const char* const entry : {"f", "g", "h"}) {
        EXPECT_TRUE(isNew(entry, 91s, 1020s)); // those of 50 go
    }
    EXPECT_FALSE(isNew("future", 90s, 1020s)) << "an earlier one that is dropped later allows nothing";
    EXPECT_FALSE(isNew("d", 50s, 1605s)) << "the last one that was dropped is protected for its whole time";
}

class UsernameTokenTest : public testing::Test {
protected:
    static UsernameToken token(system_clock::duration ahead, const std::string& password = "userpassword",
                               const std::string& nonce = "0123456789abcdef")
    {
        return tokenOf("user", password, nonce, dateTimeText(kNow + ahead));
    }

    LoginOutcome outcome(const UsernameToken& token, std::chrono::seconds later = 0s)
    {
        const Login login = tokens.check(token, users, kNow + later, SteadyTime(100000s + later));
        EXPECT_EQ(login.outcome == LoginOutcome::ok, login.user == "user");
        EXPECT_EQ(login.outcome == LoginOutcome::ok, login.level == UserLevel::operator_);
        return login.outcome;
    }

    static inline const system_clock::time_point kNow = *parseDateTime("2010-09-16T07:50:45Z");

    Users users{{{"root", UserLevel::administrator, "swordfish"}, {"user", UserLevel::operator_, "userpassword"}}};
    UsernameTokens tokens;
};

TEST_F(UsernameTokenTest, isAcceptedOnce)
{
    // Computed by another program.
    const UsernameToken known{"user", "tuOSpGlFlIXsozq4HFNeeGeFLEI=", kPasswordDigest,
                              "LKqI6G/AikKCQrN0zqZFlg==", "2010-09-16T07:50:45Z"};
    EXPECT_EQ(outcome(known), LoginOutcome::ok);
    EXPECT_EQ(outcome(known), LoginOutcome::replay);
    EXPECT_EQ(outcome(known, 300s), LoginOutcome::replay);
    EXPECT_EQ(outcome(token(0s)), LoginOutcome::ok);
}

TEST_F(UsernameTokenTest, liesWithinFiveMinutesOfTheClock)
{
    EXPECT_EQ(outcome(token(-300s)), LoginOutcome::ok);
    EXPECT_EQ(outcome(token(300s)), LoginOutcome::ok);
    EXPECT_EQ(outcome(token(-301s)), LoginOutcome::tooOld);
    EXPECT_EQ(outcome(token(301s)), LoginOutcome::inTheFuture);
    EXPECT_EQ(outcome(token(10h)), LoginOutcome::inTheFuture);
}

TEST_F(UsernameTokenTest, isRememberedAsLongAsItCouldBeAccepted)
{
    const UsernameToken early = token(300s);
    EXPECT_EQ(outcome(early), LoginOutcome::ok);
    EXPECT_EQ(outcome(early, 599s), LoginOutcome::replay);
    EXPECT_EQ(outcome(early, 600s), LoginOutcome::replay);
    EXPECT_EQ(outcome(early, 601s), LoginOutcome::tooOld);
}

TEST_F(UsernameTokenTest, mayNameItsTimeInAnotherZone)
{
    UsernameToken zoned = token(0s);
    zoned.created = "2010-09-16T09:50:45+02:00";
    zoned.password = kit::base64Text(hashOf(Hash::sha1, "0123456789abcdef" + zoned.created + "userpassword"));
    EXPECT_EQ(outcome(zoned), LoginOutcome::ok);
}

TEST_F(UsernameTokenTest, isNotNewInAnotherSpellingOfTheSameBytes)
{
    const UsernameToken first = token(0s);
    EXPECT_EQ(outcome(first), LoginOutcome::ok);
    UsernameToken spaced = first;
    spaced.nonce.insert(4, " \n");
    spaced.password.insert(4, "\t");
    EXPECT_EQ(outcome(spaced), LoginOutcome::replay);

    UsernameToken moved = first; // the digest is the same
    moved.nonce = kit::base64Text(bytesOf("0123456789abcde"));
    moved.created = "f" + first.created;
    EXPECT_EQ(outcome(moved), LoginOutcome::malformed);
}

TEST_F(UsernameTokenTest, tellsOnlyThatTheCredentialsAreWrong)
{
    UsernameToken unknown = token(0s);
    unknown.username = "nobody";
    EXPECT_EQ(outcome(unknown), LoginOutcome::wrongCredentials);
    EXPECT_EQ(outcome(token(0s, "")), LoginOutcome::wrongCredentials);
    EXPECT_EQ(outcome(token(10h, "wrong")), LoginOutcome::wrongCredentials);
    UsernameToken nobodys = token(0s, "");
    nobodys.username = "nobody";
    EXPECT_EQ(outcome(nobodys), LoginOutcome::wrongCredentials) << "a user that is not there has no password either";
    UsernameToken shortened = token(0s);
    shortened.password = shortened.password.substr(0, 24);
    EXPECT_EQ(outcome(shortened), LoginOutcome::wrongCredentials);
}

TEST_F(UsernameTokenTest, isRememberedOnlyWithTheRightPassword)
{
    EXPECT_EQ(outcome(token(0s, "wrong")), LoginOutcome::wrongCredentials);
    EXPECT_EQ(outcome(token(0s, "wrong")), LoginOutcome::wrongCredentials);
    EXPECT_EQ(outcome(token(0s)), LoginOutcome::ok);
}

TEST_F(UsernameTokenTest, needsEachOfItsParts)
{
    for (std::string UsernameToken::*part :
         {&UsernameToken::username, &UsernameToken::password, &UsernameToken::nonce, &UsernameToken::created}) {
        UsernameToken partial = token(0s);
        (partial.*part).clear();
        EXPECT_EQ(outcome(partial), LoginOutcome::incomplete);
    }
}

TEST_F(UsernameTokenTest, hasADigestAsPassword)
{
    for (const char* type : {"", "#PasswordText", "PasswordDigest", "#PasswordDigest2"}) {
        UsernameToken other = token(0s);
        other.passwordType = type;
        EXPECT_EQ(outcome(other), LoginOutcome::unsupported) << type;
    }
    UsernameToken clear = token(0s);
    clear.password = "userpassword";
    clear.passwordType = "#PasswordText";
    EXPECT_EQ(outcome(clear), LoginOutcome::unsupported);
}

TEST_F(UsernameTokenTest, isRefusedWhenAPartCannotBeRead)
{
    const auto with = [](std::string UsernameToken::*part, const std::string& text) {
        UsernameToken changed = token(0s);
        changed.*part = text;
        return changed;
    };
    EXPECT_EQ(outcome(with(&UsernameToken::nonce, "?")), LoginOutcome::malformed);
    EXPECT_EQ(outcome(with(&UsernameToken::nonce, " ")), LoginOutcome::malformed);
    EXPECT_EQ(outcome(with(&UsernameToken::password, "?")), LoginOutcome::malformed);
    EXPECT_EQ(outcome(with(&UsernameToken::created, "yesterday")), LoginOutcome::malformed);
    for (std::string UsernameToken::*part : {&UsernameToken::username, &UsernameToken::password, &UsernameToken::nonce,
                                             &UsernameToken::created, &UsernameToken::passwordType}) {
        EXPECT_EQ(outcome(with(part, std::string(257, 'A'))), LoginOutcome::malformed);
    }
}

} // namespace
} // namespace camera::onvif
