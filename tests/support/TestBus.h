#pragma once

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

/// A message bus of the test's own, in a folder of its own; ends with the object.
class TestBus {
public:
    TestBus()
    {
        char name[] = "/tmp/test-bus-XXXXXX";
        if (::mkdtemp(name) == nullptr) {
            throw std::runtime_error("no folder for the bus");
        }
        _folder = name;
        std::ofstream(_folder / "bus.conf")
            << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\""
               " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">"
               "<busconfig><listen>"
            << address()
            << "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\"/>"
               "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy>"
               // The camera's own bus is as generous.
               "<limit name=\"max_message_size\">67108864</limit><limit name=\"max_incoming_bytes\">268435456</limit>"
               "<limit name=\"max_outgoing_bytes\">268435456</limit>"
               "<limit name=\"max_replies_per_connection\">65536</limit></busconfig>";
        start();
    }
    ~TestBus()
    {
        kill();
        std::error_code ignored;
        std::filesystem::remove_all(_folder, ignored);
    }
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;

    std::string address() const { return "unix:path=" + (_folder / "bus").string(); }

    /// Returns when it listens.
    void start()
    {
        std::filesystem::remove(_folder / "bus");
        int ready[2];
        if (::pipe(ready) != 0) {
            throw std::runtime_error("no pipe");
        }
        const std::string config = "--config-file=" + (_folder / "bus.conf").string();
        const std::string print = "--print-address=" + std::to_string(ready[1]);
        _process = ::fork();
        if (_process == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that is killed leaves no daemon
            ::close(ready[0]);
            ::execlp("dbus-daemon", "dbus-daemon", config.c_str(), "--nofork", "--nopidfile", print.c_str(),
                     static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::close(ready[1]);
        char byte = 0;
        const bool listens = ::read(ready[0], &byte, 1) == 1;
        ::close(ready[0]);
        if (!listens) {
            throw std::runtime_error("dbus-daemon does not start; is it installed?");
        }
    }

    /// As a crash would end it.
    void kill()
    {
        if (_process > 0) {
            ::kill(_process, SIGKILL);
            ::waitpid(_process, nullptr, 0);
            _process = -1;
        }
    }

private:
    std::filesystem::path _folder;
    pid_t _process = -1;
};

} // namespace test_support
