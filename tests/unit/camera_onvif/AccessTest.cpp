#include "Credentials.h"
#include "WholeDevice.h"
#include "camera/onvif/SoapService.h"
#include "camera/onvif/Times.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace camera::onvif {
namespace {

using namespace std::chrono_literals;

constexpr UserLevel kLevels[] = {UserLevel::anonymous, UserLevel::user, UserLevel::operator_, UserLevel::administrator};

std::string lineBegin(UserLevel level)
{
    return "- " + levelText(level) + ":";
}

/// The operations of subscriptions are those of another standard, and so is their prefix.
bool isOf(const ServiceEntry& service, const std::string& operation)
{
    return operation.rfind(service.prefix + ":", 0) == 0 ||
           (service.prefix == "tev" && operation.rfind("wsnt:", 0) == 0);
}

/// Services with their operations by the lowest level that may call them, as docs/onvif.md has them.
std::string operationsPage()
{
    const WholeDevice device(true);
    std::ostringstream page;
    for (const ServiceEntry& service : device.services.all()) {
        page << "### `" << service.prefix << "` " << service.path << ", version " << service.major << '.'
             << service.minor << "\n\n";
        for (const UserLevel level : kLevels) {
            std::string names;
            for (const auto& [name, operation] : device.operations.all()) {
                if (isOf(service, name) && lowestLevel(operation.access) == level) {
                    const std::string prefix = service.prefix + ":";
                    names += " " + (name.rfind(prefix, 0) == 0 ? name.substr(prefix.size()) : name);
                }
            }
            if (!names.empty()) {
                page << lineBegin(level) << names << '\n';
            }
        }
        page << '\n';
    }
    return page.str();
}

constexpr const char* kBegin = "<!-- operations: written by a test program -->\n\n";
constexpr const char* kEnd = "<!-- end of operations -->\n";

TEST(OperationsPageTest, namesEveryOperationWithTheLevelThatItNeeds)
{
    const std::string page = ::kit::contentOf(CAMERA_ONVIF_PAGE);
    const std::size_t begin = page.find(kBegin);
    const std::size_t end = page.find(kEnd);
    ASSERT_NE(std::string::npos, begin);
    ASSERT_NE(std::string::npos, end);
    const std::size_t from = begin + std::string(kBegin).size();
    if (std::getenv("WRITE_ONVIF_PAGE") != nullptr) {
        std::ofstream(CAMERA_ONVIF_PAGE) << page.substr(0, from) << operationsPage() << page.substr(end);
        GTEST_SKIP() << "the page was written";
    }
    EXPECT_EQ(operationsPage(), page.substr(from, end - from)) << "WRITE_ONVIF_PAGE=1 writes it";
}

/// The lowest level of every operation, read from the page.
std::map<std::string, UserLevel> documentedLevels()
{
    std::map<std::string, UserLevel> levels;
    std::string prefix;
    for (const std::string& line : ::kit::linesOf(CAMERA_ONVIF_PAGE)) {
        if (line.rfind("### `", 0) == 0) {
            prefix = line.substr(5, line.find('`', 5) - 5);
        }
        for (const UserLevel level : kLevels) {
            if (line.rfind(lineBegin(level), 0) == 0) {
                std::istringstream names(line.substr(lineBegin(level).size()));
                for (std::string name; names >> name;) {
                    levels.emplace(name.find(':') == std::string::npos ? prefix + ":" + name : name, level);
                }
            }
        }
    }
    return levels;
}

struct Credentials {
    std::string header;        ///< in the message
    std::string authorization; ///< of the HTTP request
};

/// A service with all operations of the device, which do nothing but answer, and a client of it.
class Client {
public:
    explicit Client(const Operations& real)
    {
        for (const auto& [name, operation] : real.all()) {
            _operations.add(name, operation.access, [](const Call& call) { return call.answer(); });
        }
    }

    /// "performed", else the status of the answer with its subcode, or that the client shall try again.
    std::string calls(const std::string& operation, const Credentials& credentials)
    {
        const HttpAnswer answer = post(operation, credentials);
        const std::string name = operation.substr(operation.find(':') + 1);
        if (answer.status == 200 && answer.body.find(name + "Response") != std::string::npos) {
            return "performed";
        }
        const bool named = answer.body.find("<env:Value>ter:NotAuthorized</env:Value>") != std::string::npos;
        const bool stale = !answer.challenges.empty() && answer.challenges[0].find("stale=true") != std::string::npos;
        return std::to_string(answer.status) + (named ? "" : " without its subcode") + (stale ? " stale" : "") +
               (answer.challenges.size() == (answer.status == 401 ? 2U : 0U) ? "" : " with wrong challenges");
    }

    UsernameToken token(UserLevel level, std::chrono::seconds ahead = 0s, const std::string& password = "secret")
    {
        return tokenOf(levelText(level), password, "nonce " + std::to_string(++_nonces), dateTimeText(wall + ahead));
    }

    DigestClient digest(UserLevel level, const std::string& password = "secret")
    {
        return {levelText(level), password, nonceOf(post("tds:GetUsers", {}).challenges.at(0))};
    }

    std::chrono::system_clock::time_point wall = parseDateTime("2024-06-30T12:00:00Z").value();
    std::chrono::steady_clock::time_point steady{1h};

private:
    HttpAnswer post(const std::string& operation, const Credentials& credentials)
    {
        HttpAnswer answer;
        const std::string message = "<env:Envelope><env:Header>" + credentials.header + "</env:Header><env:Body><" +
                                    operation + "/></env:Body></env:Envelope>";
        _service.handle({"POST", "/onvif/device_service", "http://camera", credentials.authorization, message, ""},
                        [&answer](const HttpAnswer& given) { answer = given; });
        return answer;
    }

    int _nonces = 0;
    Users _users{{{"User", UserLevel::user, "secret"},
                  {"Operator", UserLevel::operator_, "secret"},
                  {"Administrator", UserLevel::administrator, "secret"}}};
    Operations _operations;
    SoapService _service{_operations,
                         _users,
                         DigestAccess("camera", Bytes(32, 'k')),
                         {[this] { return wall; }, [this] { return steady; }}};
};

constexpr const char* kByLevel = "";

/// A way to log in, and what comes of it.
struct Way {
    const char* name;
    const char* outcome; ///< of a user of the camera; kByLevel: what the level may, it does
    const char* unknown; ///< of somebody who is not one
    Credentials (*make)(Client& client, const std::string& operation, UserLevel level);
};

/// What was accepted once.
Credentials used(Client& client, const std::string& operation, const Credentials& credentials)
{
    client.calls(operation, credentials);
    return credentials;
}

const Way kWays[] = {
    {"none", "401", "401", [](Client&, const std::string&, UserLevel) { return Credentials(); }},
    {"token", kByLevel, "400",
     [](Client& client, const std::string&, UserLevel level) {
         return Credentials{elementOf(client.token(level)), ""};
     }},
    {"token, wrong password", "400", "400",
     [](Client& client, const std::string&, UserLevel level) {
         return Credentials{elementOf(client.token(level, 0s, "guess")), ""};
     }},
    {"token, replay", "400", "400",
     [](Client& client, const std::string& operation, UserLevel level) {
         return used(client, operation, {elementOf(client.token(level)), ""});
     }},
    {"token, old", "400", "400",
     [](Client& client, const std::string&, UserLevel level) {
         return Credentials{elementOf(client.token(level, -301s)), ""};
     }},
    {"token, future", "400", "400",
     [](Client& client, const std::string&, UserLevel level) {
         return Credentials{elementOf(client.token(level, 301s)), ""};
     }},
    {"token, no nonce", "400", "400",
     [](Client& client, const std::string&, UserLevel level) {
         UsernameToken token = tokenOf(levelText(level), "secret", "", dateTimeText(client.wall));
         return Credentials{elementOf(token), ""};
     }},
    {"digest", kByLevel, "401",
     [](Client& client, const std::string&, UserLevel level) {
         return Credentials{"", client.digest(level).header()};
     }},
    {"digest, wrong password", "401", "401",
     [](Client& client, const std::string&, UserLevel level) {
         return Credentials{"", client.digest(level, "guess").header()};
     }},
    {"digest, replay", "401 stale", "401",
     [](Client& client, const std::string& operation, UserLevel level) {
         return used(client, operation, {"", client.digest(level).header()});
     }},
    {"digest, old", "401 stale", "401",
     [](Client& client, const std::string&, UserLevel level) {
         const Credentials credentials{"", client.digest(level).header()};
         client.steady += 301s;
         return credentials;
     }},
    {"digest, no nonce", "401", "401",
     [](Client& client, const std::string&, UserLevel level) {
         DigestClient digest = client.digest(level);
         digest.nonce.clear();
         return Credentials{"", digest.header()};
     }},
};

TEST(AccessTest, everyOperationIsPerformedForTheDocumentedLevelsThatLogInAndForNobodyElse)
{
    const WholeDevice device(true);
    const auto documented = documentedLevels();
    for (const auto& [name, operation] : device.operations.all()) {
        ASSERT_EQ(1U, documented.count(name)) << name;
        const UserLevel lowest = documented.at(name);
        Client client(device.operations);
        for (const UserLevel level : kLevels) {
            for (const Way& way : kWays) {
                std::string expected = level == UserLevel::anonymous ? way.unknown : way.outcome;
                if (lowest == UserLevel::anonymous) {
                    expected = "performed";
                } else if (expected == kByLevel) {
                    expected = level >= lowest ? "performed" : "400";
                }
                EXPECT_EQ(expected, client.calls(name, way.make(client, name, level)))
                    << name << " for " << levelText(level) << ": " << way.name;
            }
        }
    }
}

} // namespace
} // namespace camera::onvif
