// Plays camera-services, camera-pipeline or camera-gateway. usage: NAME JOURNAL ADDRESS BUS-NAME|- [EXIT-CODES
// [stubborn]]
//
// Writes "NAME started" and "NAME told to end" into the journal. The n-th of EXIT-CODES ("3,0,...") ends its n-th
// start at once; "-", or none, means that it runs until it is told to end. A stubborn one does not end then. One that
// is told to end when there is no bus any more says so. Letters before a code say what it does first: b, it tells that
// it has begun, f, a frame comes through, d, it begins a frame, e, it says its last word. 'k' in the place of the
// number is a crash, 'h' a bus thread that hangs, 's' a stop by a signal, 'w' a frame that does not end.

#include "camera/base/Activity.h"
#include "camera/bus/Address.h"
#include "camera/bus/Connection.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

void note(const std::string& journal, const std::string& line)
{
    // One write, so that lines of several processes do not mix.
    const int file = ::open(journal.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    const std::string text = line + "\n";
    [[maybe_unused]] const ssize_t written = ::write(file, text.data(), text.size());
    ::close(file);
}

std::size_t startsSoFar(const std::string& journal, const std::string& name)
{
    std::ifstream file(journal);
    std::size_t count = 0;
    for (std::string line; std::getline(file, line);) {
        count += line == name + " started" ? 1 : 0;
    }
    return count;
}

using camera::base::Activity;

void share(const std::string& address)
{
    const std::filesystem::path socket = camera::bus::socketPath(address);
    Activity::instance().share(socket.parent_path() / "activity");
}

void beginFrame()
{
    static const Activity::Label label("onFrame of engine 'Motion'");
    static std::optional<Activity::Scope> frame;
    frame.emplace(Activity::Kind::frame, label);
}

[[noreturn]] void end(const std::string& address, std::string code)
{
    const std::string word = code.substr(0, code.find_first_of("0123456789k"));
    code.erase(0, word.size());
    const auto connection = sdbus::createSessionBusConnectionWithAddress(address);
    const auto proxy = sdbus::createProxy(*connection, "ravel.supervisor", "/ravel/supervisor/main");
    for (const char letter : word) {
        if (letter == 'b') {
            proxy->callMethod("pipelineBegun").onInterface("ravel.supervisor");
        } else if (letter == 'e') {
            proxy->callMethod("pipelineEnds")
                .onInterface("ravel.supervisor")
                .withArguments(static_cast<std::uint32_t>(::getpid()), std::int32_t{code == "k" ? 0 : std::stoi(code)});
        } else {
            share(address);
            if (letter == 'f') {
                Activity::instance().addFrame();
            } else {
                beginFrame();
            }
        }
    }
    if (code == "k") {
        ::raise(SIGKILL);
    }
    std::_Exit(std::stoi(code));
}

// What it does in this start when it does not end at once.
std::string endAsPlanned(const std::string& codes, std::size_t start, const std::string& address)
{
    std::istringstream list(codes);
    std::string code;
    for (std::size_t i = 0; i < start && std::getline(list, code, ','); ++i) {
        if (i + 1 == start && code.find_first_of("0123456789k") != std::string::npos) {
            end(address, code);
        }
        if (i + 1 == start) {
            return code;
        }
    }
    return "-";
}

int waitForTheEnd()
{
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    int number = 0;
    sigwait(&end, &number);
    return number;
}

bool hasBus(const std::string& address)
{
    try {
        camera::bus::requireListener(address);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

struct Name {};

} // namespace

// The library keeps a little of each attempt to connect that fails, as all do while the bus is away.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:sd_bus_new\nleak:libsystemd";
}

int main(int count, char** words)
{
    const std::vector<std::string> given(words + 1, words + count);
    const std::string& name = given.at(0);
    const std::string& journal = given.at(1);
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &end, nullptr);
    ::alarm(120); // whatever goes wrong in a test, nothing of it stays for ever
    note(journal, name + " started");
    const std::string plan = endAsPlanned(given.size() > 4 ? given[4] : "", startsSoFar(journal, name), given.at(2));
    camera::bus::Connection connection(given.at(2), name);
    if (given.at(3) != "-") {
        connection.add<Name>([&](const std::shared_ptr<camera::bus::Session>& session) {
            session->connection().requestName(given[3]);
            while (plan == "h") {
                ::pause();
            }
            return std::make_shared<Name>();
        });
    }
    connection.start();
    if (plan == "w") {
        share(given[2]);
        beginFrame();
    }
    if (plan == "s" && connection.waitUntilConnected(std::chrono::steady_clock::now() + std::chrono::seconds(30))) {
        ::raise(SIGSTOP);
    }
    const bool stubborn = given.size() > 5;
    do {
        waitForTheEnd();
        note(journal, name + " told to end" + (hasBus(given[2]) ? "" : " without a bus"));
    } while (stubborn);
    return 0;
}
