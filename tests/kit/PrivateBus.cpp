#include "kit/PrivateBus.h"

#include <stdexcept>

namespace kit {

PrivateBus::PrivateBus()
{
    _folder.write("bus.conf",
                  "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\""
                  " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">"
                  "<busconfig><listen>" +
                      address() +
                      "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\"/>"
                      "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy>"
                      // The camera's own bus is as generous.
                      "<limit name=\"max_message_size\">67108864</limit>"
                      "<limit name=\"max_incoming_bytes\">268435456</limit>"
                      "<limit name=\"max_outgoing_bytes\">268435456</limit>"
                      "<limit name=\"max_replies_per_connection\">65536</limit></busconfig>");
    start();
}

void PrivateBus::start()
{
    kill();
    std::filesystem::remove(_folder / "bus");
    _daemon = std::make_unique<ChildProcess>(
        std::vector<std::string>{"dbus-daemon", "--config-file=" + (_folder / "bus.conf").string(), "--nofork",
                                 "--nopidfile", "--print-address"});
    if (!_daemon->waitForOutput("unix:")) {
        throw std::runtime_error("dbus-daemon does not start; is it installed? " + _daemon->err());
    }
}

} // namespace kit
