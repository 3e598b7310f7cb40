#include "camera/supervisor/BusDaemon.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <pwd.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace camera::supervisor {

namespace {

constexpr std::size_t kLongestErrorText = 4096;

// A configuration of 10 MB is a message too, and a slow reader of events must not be cut off by a burst.
constexpr const char* kLimits = "  <limit name=\"max_message_size\">67108864</limit>\n"
                                "  <limit name=\"max_incoming_bytes\">268435456</limit>\n"
                                "  <limit name=\"max_outgoing_bytes\">268435456</limit>\n"
                                "  <limit name=\"max_completed_connections\">1024</limit>\n"
                                "  <limit name=\"max_incomplete_connections\">256</limit>\n"
                                "  <limit name=\"max_connections_per_user\">1024</limit>\n"
                                "  <limit name=\"max_names_per_connection\">1024</limit>\n"
                                "  <limit name=\"max_match_rules_per_connection\">65536</limit>\n"
                                "  <limit name=\"max_replies_per_connection\">65536</limit>\n";

std::string xmlText(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

// Takes the daemon's error output. Without memory for it the daemon starts all the same, and the output is lost.
base::FileDescriptor boundedMemory()
{
    base::FileDescriptor memory(::memfd_create("dbus-daemon", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory || ::ftruncate(memory.get(), kLongestErrorText) != 0 ||
        ::fcntl(memory.get(), F_ADD_SEALS, F_SEAL_GROW) != 0) {
        return base::FileDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    }
    return memory;
}

} // namespace

BusDaemon::BusDaemon(const RuntimeFolder& folder, std::string program) : _folder(folder), _program(std::move(program))
{
    // Without it the daemon starts, and refuses everybody.
    if (::getpwuid(::geteuid()) == nullptr) {
        throw std::runtime_error("the camera's bus refuses the user " + std::to_string(::geteuid()) +
                                 ", who has no entry in the system's list of users; add one to /etc/passwd, in a "
                                 "container too, or run it as another user");
    }
    writeConfiguration();
}

void BusDaemon::writeConfiguration() const
{
    std::ofstream file(_folder.configuration());
    file << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig>\n  <type>session</type>\n  <listen>"
         << xmlText(_folder.address())
         << "</listen>\n  <auth>EXTERNAL</auth>\n"
            // Other users are refused when they connect; the daemon's own user is not, and root is named.
            "  <policy context=\"default\">\n    <allow user=\"root\"/>\n"
            "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
            "    <allow eavesdrop=\"true\"/>\n    <allow own=\"*\"/>\n  </policy>\n"
         << kLimits << "</busconfig>\n";
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write '" + _folder.configuration().string() + "'; make room on the disk");
    }
}

std::unique_ptr<ChildProcess> BusDaemon::start()
{
    std::error_code ignored;
    std::filesystem::remove(_folder.socket(), ignored); // a killed daemon leaves it, and the next one could not listen
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error(std::string("no pipe can be opened: ") + std::strerror(errno));
    }
    _ready = base::FileDescriptor(ends[0]);
    const base::FileDescriptor writer(ends[1]);
    ::fcntl(_ready.get(), F_SETFL, O_NONBLOCK);
    _errorOutput = boundedMemory();
    _listens = false;
    Program program;
    program.words = {_program, "--config-file=" + _folder.configuration().string(), "--nofork", "--nopidfile",
                     "--print-address=" + std::to_string(writer.get())};
    program.errorOutput = _errorOutput.get();
    program.passed = {writer.get()};
    try {
        return std::make_unique<ChildProcess>(program);
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string(error.what()) + "; the camera's bus needs the package dbus-daemon");
    }
}

bool BusDaemon::listens()
{
    std::array<char, 256> text{};
    if (!_listens) {
        _listens = ::read(_ready.get(), text.data(), text.size()) > 0;
    }
    return _listens;
}

std::string BusDaemon::errorText() const
{
    std::string text(kLongestErrorText, '\0');
    const ssize_t length = ::pread(_errorOutput.get(), text.data(), text.size(), 0);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    text.resize(std::strlen(text.c_str()));
    text.erase(text.find_last_not_of('\n') + 1);
    return text.substr(text.find_last_of('\n') + 1); // the whole text when there is one line
}

} // namespace camera::supervisor
