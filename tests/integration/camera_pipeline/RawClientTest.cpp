// A client that writes its messages by hand can send what no library would.
#include "integration/camera_pipeline/ServedDevice.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace pipeline_test {
namespace {

/// Builds a method call byte by byte, little-endian.
class RawMessage {
public:
    RawMessage(std::uint32_t serial, const std::string& destination, const std::string& path,
               const std::string& interface, const std::string& member, const std::string& signature,
               const std::string& body)
    {
        std::string fields;
        field(fields, 1, 'o', path);
        field(fields, 2, 's', interface);
        field(fields, 3, 's', member);
        field(fields, 6, 's', destination);
        if (!signature.empty()) {
            align(fields, 8);
            fields += {8, 1, 'g', 0, static_cast<char>(signature.size())};
            fields += signature + '\0';
        }
        _bytes += {'l', 1, 0, 1};
        number(_bytes, static_cast<std::uint32_t>(body.size()));
        number(_bytes, serial);
        number(_bytes, static_cast<std::uint32_t>(fields.size()));
        _bytes += fields;
        align(_bytes, 8);
        _bytes += body;
    }

    static void text(std::string& bytes, const std::string& value)
    {
        align(bytes, 4);
        number(bytes, static_cast<std::uint32_t>(value.size()));
        bytes += value + '\0';
    }

    const std::string& bytes() const { return _bytes; }

private:
    static void align(std::string& bytes, std::size_t boundary)
    {
        bytes.resize((bytes.size() + boundary - 1) / boundary * boundary, '\0');
    }

    static void number(std::string& bytes, std::uint32_t value)
    {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>((value >> shift) & 0xFF);
        }
    }

    // Fields begin at a multiple of 8, here as in the message.
    static void field(std::string& fields, char code, char type, const std::string& value)
    {
        align(fields, 8);
        fields += {code, 1, type, 0};
        text(fields, value);
    }

    std::string _bytes;
};

/// A connection to the bus without a library.
class RawClient {
public:
    explicit RawClient(const std::string& address) : _socket(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        const std::string path = address.substr(std::strlen("unix:path="));
        std::memcpy(name.sun_path, path.c_str(), path.size() + 1);
        _connected = ::connect(_socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
        std::string user;
        for (const char digit : std::to_string(::getuid())) {
            user += {'3', digit}; // its code, in hexadecimal
        }
        write(std::string(1, '\0') + "AUTH EXTERNAL " + user + "\r\n");
        _connected = _connected && read().find("OK ") == 0;
        write("BEGIN\r\n");
        write(RawMessage(1, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "Hello", "", "")
                  .bytes());
        _connected = _connected && !read().empty();
    }
    ~RawClient() { ::close(_socket); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool connected() const { return _connected; }

    void write(const std::string& bytes)
    {
        std::size_t written = 0;
        while (written < bytes.size()) {
            const ssize_t count = ::send(_socket, bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL);
            if (count <= 0) {
                return;
            }
            written += static_cast<std::size_t>(count);
        }
    }

    /// Some bytes, or nothing when the other side has closed the connection.
    std::string read()
    {
        std::string bytes(4096, '\0');
        const ssize_t count = ::recv(_socket, bytes.data(), bytes.size(), 0);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return bytes;
    }

    bool closedByTheBus()
    {
        while (!read().empty()) {
        }
        return true;
    }

private:
    int _socket;
    bool _connected = false;
};

class RawClientTest : public ServedDevice {
protected:
    void SetUp() override
    {
        ServedDevice::SetUp();
        serve();
    }

    static std::string setConfiguration(const std::string& xml, std::uint32_t serial = 2)
    {
        std::string body;
        RawMessage::text(body, xml);
        return RawMessage(serial, "ravel.onvif_analytic_service", "/ravel/onvif_analytic_service/main",
                          "ravel.onvif_analytic_service", "setConfiguration", "s", body)
            .bytes();
    }
};

TEST_F(RawClientTest, isUnderstoodWhenWhatItSaysIsInOrder)
{
    RawClient raw(bus.address());
    ASSERT_TRUE(raw.connected());
    raw.write(setConfiguration(documentFor("Motion")));
    EXPECT_TRUE(eventually([&] { return hosted.count("Motion isEngineConfiguration") == 1; }));
}

TEST_F(RawClientTest, isPutOffTheBusForTextThatIsNotUtf8AndOthersAreAnswered)
{
    const std::string texts[] = {"\xFF", "\xC0\x80", "\xED\xA0\x80", std::string("a\0b", 3)};
    for (const std::string& text : texts) {
        RawClient raw(bus.address());
        ASSERT_TRUE(raw.connected());
        raw.write(setConfiguration(text));
        EXPECT_TRUE(raw.closedByTheBus());
        EXPECT_EQ(analytics<Texts>("getEventTopics").size(), 2u);
    }
    EXPECT_EQ(hosted.count("Motion isEngineConfiguration"), 0u) << "nothing of it reached an engine";
    EXPECT_EQ(pipelineService->sessions(), 1u);
}

TEST_F(RawClientTest, mayLeaveInTheMiddleOfAMessage)
{
    const std::string whole = setConfiguration(documentFor("Motion"));
    for (const std::size_t length : {std::size_t{1}, std::size_t{16}, whole.size() / 2, whole.size() - 1}) {
        RawClient raw(bus.address());
        ASSERT_TRUE(raw.connected());
        raw.write(whole.substr(0, length));
    }
    EXPECT_EQ(analytics<Texts>("getEventTopics").size(), 2u);
    EXPECT_EQ(hosted.count("Motion isEngineConfiguration"), 0u);
}

TEST_F(RawClientTest, mayLeaveBeforeItsAnswersCome)
{
    for (int round = 0; round < 20; ++round) {
        RawClient raw(bus.address());
        ASSERT_TRUE(raw.connected());
        for (std::uint32_t serial = 2; serial < 12; ++serial) {
            raw.write(setConfiguration(documentFor("Motion"), serial));
        }
    }
    EXPECT_EQ(analytics<Texts>("getEventTopics").size(), 2u);
    EXPECT_EQ(pipelineService->sessions(), 1u);
}

} // namespace
} // namespace pipeline_test
