#include "camera/services/ServiceObjects.h"
#include "integration/camera_services/ServicesFixture.h"
#include "integration/camera_services/SocketReader.h"

namespace {

using namespace services_test;

using Counters = std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t>;

class MetadataTest : public ServicesFixture {
protected:
    void send(const std::string& xml)
    {
        client.ask<>(service::kOnvifMetadataStreamer, "sendOnvifAnalyticsMetadataXml", xml, 1);
    }
    Counters counters()
    {
        return client.ask<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t>(service::kOnvifMetadataStreamer,
                                                                                      "getCounters");
    }
    std::string socket() { return client.one<std::string>(service::kOnvifMetadataStreamer, "getSocket"); }
    bool waitForSubscribers(std::uint32_t count)
    {
        return eventually([&] { return std::get<3>(counters()) == count; });
    }
};

TEST_F(MetadataTest, theSocketIsNamedAndLiesInTheStateFolder)
{
    EXPECT_EQ(socket(), (folder / "metadata.sock").string());
}

TEST_F(MetadataTest, theRuntimeFolderIsMadeAndHoldsTheSocket)
{
    options.runtime = folder / "run" / "camera";
    restart();
    EXPECT_EQ(socket(), (folder / "run" / "camera" / "metadata.sock").string());
    EXPECT_TRUE(std::filesystem::is_socket(socket()));
    EXPECT_FALSE(std::filesystem::exists(folder / "metadata.sock"));
}

TEST_F(MetadataTest, documentsAreCountedThoughNobodyListens)
{
    send("<a/>");
    send("<b/>");
    EXPECT_EQ(counters(), Counters(2, 0, 0, 0));
}

TEST_F(MetadataTest, aSubscriberGetsEachDocumentAsALine)
{
    SocketReader reader(socket());
    ASSERT_TRUE(waitForSubscribers(1));
    send("<a>\n<b/>\r\n</a>");
    send("<c/>");
    EXPECT_EQ(reader.line(), "<a> <b/>  </a>");
    EXPECT_EQ(reader.line(), "<c/>");
    EXPECT_TRUE(eventually([&] { return counters() == Counters(2, 2, 0, 1); }));
}

TEST_F(MetadataTest, threeSubscribersGetTheSame)
{
    SocketReader first(socket());
    SocketReader second(socket());
    SocketReader third(socket());
    ASSERT_TRUE(waitForSubscribers(3));
    send("<one/>");
    send("<two/>");
    for (SocketReader* reader : {&first, &second, &third}) {
        EXPECT_EQ(reader->line(), "<one/>");
        EXPECT_EQ(reader->line(), "<two/>");
    }
    EXPECT_TRUE(eventually([&] { return counters() == Counters(2, 6, 0, 3); }));
}

TEST_F(MetadataTest, aDocumentOfTenMegabytesArrivesWhole)
{
    SocketReader reader(socket());
    ASSERT_TRUE(waitForSubscribers(1));
    std::string large(10 * 1000 * 1000, 'x');
    for (std::size_t i = 0; i < large.size(); i += 997) {
        large[i] = static_cast<char>('a' + i % 26);
    }
    send(large);
    EXPECT_TRUE(reader.line() == large);
    EXPECT_TRUE(eventually([&] { return counters() == Counters(1, 1, 0, 1); }));
}

TEST_F(MetadataTest, theLargestDocumentIsTakenAndALargerOneIsRefused)
{
    const std::size_t most = camera::services::kLargestDocumentBytes;
    send(std::string(most, 'x'));
    EXPECT_EQ(
        client.refusal(service::kOnvifMetadataStreamer, "sendOnvifAnalyticsMetadataXml", std::string(most + 1, 'x'), 1),
        "ravel.Error.TooLarge|a metadata document has at most 16777216 bytes, not 16777217");
    EXPECT_EQ(client.refusal(service::kOnvifMetadataStreamer, "sendOnvifAnalyticsMetadataXml", std::string(), 1),
              "ravel.Error.Refused|the metadata document is empty");
    EXPECT_EQ(counters(), Counters(1, 0, 0, 0));
}

TEST_F(MetadataTest, subscribersStayWhileTheBusIsAway)
{
    SocketReader reader(socket());
    ASSERT_TRUE(waitForSubscribers(1));
    restartBus();
    send("<after/>");
    EXPECT_EQ(reader.line(), "<after/>");
}

TEST_F(MetadataTest, theSocketEndsWithTheProcess)
{
    SocketReader reader(socket());
    ASSERT_TRUE(waitForSubscribers(1));
    const std::string path = socket();
    process.reset();
    EXPECT_TRUE(reader.ends());
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
