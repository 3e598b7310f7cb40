#include "camera/onvif/Users.h"

#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace camera::onvif {
namespace {

using kit::refusalOf;
using testing::HasSubstr;
using testing::Not;

const User kRoot{"root", UserLevel::administrator, "swordfish"};
const User kGuard{"guard", UserLevel::operator_, "trout"};
const User kViewer{"viewer", UserLevel::user, "perch"};

Users three()
{
    return Users({kRoot, kGuard, kViewer});
}

template <class Action>
std::optional<UserFault> faultOf(Action&& action)
{
    try {
        action();
    } catch (const UserRefusal& refusal) {
        return refusal.fault;
    }
    return std::nullopt;
}

std::optional<UserFault> faultOfCreating(const std::vector<User>& added)
{
    Users users = three();
    const std::string before = usersText(users);
    const std::optional<UserFault> fault = faultOf([&] { users.create(added); });
    EXPECT_EQ(before == usersText(users), fault.has_value()) << "a refusal changes nothing";
    return fault;
}

std::optional<UserFault> faultOfSetting(const std::vector<UserChange>& changes)
{
    Users users = three();
    const std::string before = usersText(users);
    const std::optional<UserFault> fault = faultOf([&] { users.set(changes); });
    EXPECT_EQ(before == usersText(users), fault.has_value()) << "a refusal changes nothing";
    return fault;
}

std::optional<UserFault> faultOfRemoving(const std::vector<std::string>& names)
{
    Users users = three();
    const std::string before = usersText(users);
    const std::optional<UserFault> fault = faultOf([&] { users.remove(names); });
    EXPECT_EQ(before == usersText(users), fault.has_value()) << "a refusal changes nothing";
    return fault;
}

User named(const std::string& name)
{
    return {name, UserLevel::user, "pike"};
}

User withPassword(const std::string& password)
{
    return {"new", UserLevel::user, password};
}

TEST(AccessPolicyTest, letsEachLevelCallItsClassesAndThoseBelow)
{
    struct Row {
        AccessClass access;
        UserLevel lowest;
    };
    for (const auto& [access, lowest] :
         {Row{AccessClass::preAuth, UserLevel::anonymous}, Row{AccessClass::readSystem, UserLevel::user},
          Row{AccessClass::readMedia, UserLevel::user}, Row{AccessClass::readSystemSensitive, UserLevel::operator_},
          Row{AccessClass::actuate, UserLevel::operator_}, Row{AccessClass::readSystemSecret, UserLevel::administrator},
          Row{AccessClass::writeSystem, UserLevel::administrator},
          Row{AccessClass::unrecoverable, UserLevel::administrator}}) {
        for (const UserLevel level :
             {UserLevel::anonymous, UserLevel::user, UserLevel::operator_, UserLevel::administrator}) {
            EXPECT_EQ(mayCall(level, access), level >= lowest)
                << levelText(level) << " and class " << static_cast<int>(access);
        }
    }
}

TEST(AccessPolicyTest, knowsLevelsByTheirNamesInAnyCase)
{
    EXPECT_EQ(levelNamed("Administrator"), UserLevel::administrator);
    EXPECT_EQ(levelNamed("operator"), UserLevel::operator_);
    EXPECT_EQ(levelNamed("USER"), UserLevel::user);
    EXPECT_EQ(levelNamed("Anonymous"), UserLevel::anonymous);
    for (const char* text : {"", "Extended", "admin", "user ", "users"}) {
        EXPECT_EQ(levelNamed(text), std::nullopt) << text;
    }
}

TEST(UsersTest, createsAllOfAListOrNone)
{
    Users users = three();
    users.create({named("a"), named("b")});
    EXPECT_EQ(users.all().size(), 5U);
    ASSERT_NE(users.find("b"), nullptr);
    EXPECT_EQ(users.find("b")->password, "pike");
    EXPECT_EQ(users.find("B"), nullptr);

    EXPECT_EQ(faultOfCreating({named("a"), named("guard")}), UserFault::usernameClash);
    EXPECT_EQ(faultOfCreating({named("a"), named("a")}), UserFault::usernameClash);
}

TEST(UsersTest, refusesNamesThatNoClientCouldLogInWith)
{
    EXPECT_EQ(faultOfCreating({named("")}), UserFault::usernameTooShort);
    EXPECT_EQ(faultOfCreating({named(std::string(64, 'n'))}), std::nullopt);
    EXPECT_EQ(faultOfCreating({named(std::string(65, 'n'))}), UserFault::usernameTooLong);
    for (const std::string& name :
         {std::string("a:b"), std::string("a\nb"), std::string("a\0b", 3), std::string("a\x7f"),
          std::string("\xc2\x9b"), std::string("\xff"), std::string(" a"), std::string("a ")}) {
        EXPECT_EQ(faultOfCreating({named(name)}), UserFault::usernameInvalid) << name;
    }
    EXPECT_EQ(faultOfCreating({named("J\xc3\xb6rg \"the\" <Admin> #1 'x' \\ \xf0\x9f\x90\x9f")}), std::nullopt);
}

TEST(UsersTest, refusesPasswordsThatAreMissingLongOrNoText)
{
    EXPECT_EQ(faultOfCreating({withPassword("")}), UserFault::passwordTooWeak);
    EXPECT_EQ(faultOfCreating({withPassword(std::string(128, 'p'))}), std::nullopt);
    EXPECT_EQ(faultOfCreating({withPassword(std::string(129, 'p'))}), UserFault::passwordTooLong);
    EXPECT_EQ(faultOfCreating({withPassword("a\nb")}), UserFault::passwordInvalid);
    EXPECT_EQ(faultOfCreating({withPassword("a\xff")}), UserFault::passwordInvalid);
    EXPECT_EQ(faultOfCreating({withPassword(" a:b\"\\\xc3\xa9 ")}), std::nullopt);
}

TEST(UsersTest, refusesTheLevelAnonymous)
{
    EXPECT_EQ(faultOfCreating({{"new", UserLevel::anonymous, "p"}}), UserFault::anonymousNotAllowed);
    EXPECT_EQ(faultOfSetting({{"viewer", UserLevel::anonymous, "p"}}), UserFault::anonymousNotAllowed);
}

TEST(UsersTest, refusesMoreUsersThanItHoldsRoomFor)
{
    std::vector<User> added;
    for (std::size_t i = 0; i < kMostUsers - 3; ++i) {
        added.push_back(named("user" + std::to_string(i)));
    }
    EXPECT_EQ(faultOfCreating(added), std::nullopt);
    added.push_back(named("one more"));
    EXPECT_EQ(faultOfCreating(added), UserFault::tooManyUsers);
}

TEST(UsersTest, keepsThePasswordThatAChangeDoesNotName)
{
    Users users = three();
    users.set({{"viewer", UserLevel::operator_, std::nullopt}, {"guard", UserLevel::user, "salmon"}});
    EXPECT_EQ(users.find("viewer")->level, UserLevel::operator_);
    EXPECT_EQ(users.find("viewer")->password, "perch");
    EXPECT_EQ(users.find("guard")->level, UserLevel::user);
    EXPECT_EQ(users.find("guard")->password, "salmon");
}

TEST(UsersTest, changesAllOfAListOrNone)
{
    const UserChange good{"viewer", UserLevel::operator_, "salmon"};
    EXPECT_EQ(faultOfSetting({good, {"nobody", UserLevel::user, std::nullopt}}), UserFault::usernameMissing);
    EXPECT_EQ(faultOfSetting({good, good}), UserFault::usernameClash);
    EXPECT_EQ(faultOfSetting({good, {"guard", UserLevel::user, ""}}), UserFault::passwordTooWeak);
    EXPECT_EQ(faultOfSetting({good, {"guard", UserLevel::user, std::string(129, 'p')}}), UserFault::passwordTooLong);
}

TEST(UsersTest, removesAllOfAListOrNone)
{
    Users users = three();
    users.remove({"viewer", "guard"});
    ASSERT_EQ(users.all().size(), 1U);
    EXPECT_EQ(users.all()[0].name, "root");

    EXPECT_EQ(faultOfRemoving({"viewer", "nobody"}), UserFault::usernameMissing);
    EXPECT_EQ(faultOfRemoving({"viewer", "viewer"}), UserFault::usernameClash);
}

TEST(UsersTest, keepsAnAdministrator)
{
    EXPECT_EQ(faultOfRemoving({"viewer", "root"}), UserFault::fixedUser);
    EXPECT_EQ(faultOfSetting({{"root", UserLevel::operator_, std::nullopt}}), UserFault::fixedUser);
    EXPECT_EQ(faultOfSetting({{"root", UserLevel::administrator, "new"}}), std::nullopt);
    EXPECT_EQ(faultOf([] { Users({kGuard}); }), UserFault::fixedUser);

    Users users = three();
    users.set({{"root", UserLevel::user, std::nullopt}, {"guard", UserLevel::administrator, std::nullopt}});
    EXPECT_EQ(users.find("root")->level, UserLevel::user) << "there is another administrator after the list";
    users.remove({"root"});
}

TEST(UsersTextTest, givesUnusualNamesAndPasswordsBack)
{
    const Users users({{"J\xc3\xb6rg \"x\" <#1>", UserLevel::administrator, ":a:b: "},
                       {"#", UserLevel::operator_, " \xf0\x9f\x90\x9f\"'\\ "},
                       {"user", UserLevel::user, "user:administrator:x"}});
    const Users back = readUsers(usersText(users));
    ASSERT_EQ(back.all().size(), users.all().size());
    for (std::size_t i = 0; i < users.all().size(); ++i) {
        EXPECT_EQ(back.all()[i].name, users.all()[i].name);
        EXPECT_EQ(back.all()[i].level, users.all()[i].level);
        EXPECT_EQ(back.all()[i].password, users.all()[i].password);
    }
}

TEST(UsersTextTest, isReadAsPeopleWriteIt)
{
    const Users users = readUsers("root:ADMINISTRATOR:a\r\n\n\r\nviewer:user:b:c");
    ASSERT_EQ(users.all().size(), 2U);
    EXPECT_EQ(users.find("root")->password, "a");
    EXPECT_EQ(users.find("viewer")->password, "b:c");
}

std::string refusalOfUsers(const std::string& text)
{
    return refusalOf([&] { readUsers(text); });
}

TEST(UsersTextTest, isRefusedWithTheNumberOfTheLine)
{
    const std::string good = "root:administrator:a\n\n";
    EXPECT_EQ(refusalOfUsers(good + "x"), "line 3: it is not of the form NAME:LEVEL:PASSWORD");
    EXPECT_EQ(refusalOfUsers(good + "x:user"), "line 3: it is not of the form NAME:LEVEL:PASSWORD");
    EXPECT_EQ(refusalOfUsers("x:admin:b\n"), "line 1: the level is 'administrator', 'operator' or 'user'");
    EXPECT_EQ(refusalOfUsers("x:anonymous:b\n"), "line 1: the level is 'administrator', 'operator' or 'user'");
    EXPECT_EQ(refusalOfUsers(good + ":user:b\n"), "line 3: a user needs a name");
    EXPECT_EQ(refusalOfUsers(good + "x:user:\n"), "line 3: the user 'x' needs a password");
    EXPECT_EQ(refusalOfUsers(good + "root:user:b\n"), "line 3: there is a user 'root' already");
    EXPECT_EQ(refusalOfUsers(""), "one user must be an administrator");
    EXPECT_EQ(refusalOfUsers("x:user:b\n"), "one user must be an administrator");
}

TEST(UsersTextTest, isRefusedWithoutTellingWhatMayBeThePassword)
{
    const std::string secret = "swordfish";
    for (const std::string& text :
         {secret, "x:" + secret, "x:" + secret + ":user", "x:" + secret + ":administrator", "x:user:" + secret + "\x01",
          "x:user:" + secret + std::string(128, 'p'), "x:user:" + secret + "\nx:user:" + secret, "x:user:" + secret,
          ":user:" + secret, "a b :user:" + secret}) {
        EXPECT_THAT(refusalOfUsers(text), Not(HasSubstr(secret))) << text;
        EXPECT_NE(refusalOfUsers(text), "not refused") << text;
    }
}

TEST(UserArgumentTest, takesThePasswordBetweenTheFirstAndTheLastColon)
{
    const User user = readUserArgument("root:a:b::administrator");
    EXPECT_EQ(user.name, "root");
    EXPECT_EQ(user.password, "a:b:");
    EXPECT_EQ(user.level, UserLevel::administrator);
}

TEST(UserArgumentTest, isRefusedWithoutTellingThePassword)
{
    const auto refusal = [](const std::string& text) { return refusalOf([&] { readUserArgument(text); }); };
    EXPECT_EQ(refusal("swordfish"), "it is not of the form NAME:PASSWORD:LEVEL");
    EXPECT_EQ(refusal("x:swordfish"), "it is not of the form NAME:PASSWORD:LEVEL");
    EXPECT_EQ(refusal("x:user:swordfish"), "the level is 'administrator', 'operator' or 'user'");
    EXPECT_EQ(refusal("x:swordfish:anonymous"), "the level is 'administrator', 'operator' or 'user'");
    EXPECT_EQ(refusal("x::user"), "the user 'x' needs a password");
    EXPECT_EQ(refusal(":swordfish:user"), "a user needs a name");
}

TEST(FirstPasswordTest, hasFiveBitsOfEachOfSixteenBytes)
{
    Bytes bytes;
    const auto counting = [&bytes](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            bytes.push_back(static_cast<std::uint8_t>(i));
        }
        return bytes;
    };
    EXPECT_EQ(firstPassword(counting), "abcd-efgh-ijkm-npqr");
    EXPECT_EQ(bytes.size(), 16U);

    std::set<std::string> letters;
    for (unsigned value = 0; value < 256; ++value) {
        letters.insert(
            firstPassword([value](std::size_t count) { return Bytes(count, static_cast<std::uint8_t>(value)); }));
    }
    EXPECT_EQ(letters.size(), 32U);
}

TEST(FirstPasswordTest, isAnotherOneEachTime)
{
    EXPECT_NE(firstPassword(), firstPassword());
    EXPECT_EQ(faultOfCreating({withPassword(firstPassword())}), std::nullopt);
}

} // namespace
} // namespace camera::onvif
