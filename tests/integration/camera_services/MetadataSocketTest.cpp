#include "camera/services/MetadataSocket.h"

#include "integration/camera_services/SocketReader.h"
#include "kit/Eventually.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>
#include <list>
#include <sys/stat.h>

namespace {

using camera::services::MetadataSocket;
using services_test::SocketReader;
using testing::HasSubstr;

class MetadataSocketTest : public testing::Test {
protected:
    bool waitForSubscribers(std::size_t count)
    {
        return kit::eventually([&] { return socket->counters().subscribers.size() == count; });
    }
    std::string refusal(const std::filesystem::path& where)
    {
        return kit::refusalOf([&] { const MetadataSocket second(where); });
    }

    kit::TemporaryFolder folder;
    std::unique_ptr<MetadataSocket> socket = std::make_unique<MetadataSocket>(folder.path());
};

TEST_F(MetadataSocketTest, aSubscriberThatNeverReadsLosesTheOldestAndHindersNobody)
{
    SocketReader idle(socket->path());
    ASSERT_TRUE(waitForSubscribers(1));
    SocketReader quick(socket->path());
    ASSERT_TRUE(waitForSubscribers(2));
    constexpr int kDocuments = 300;
    const std::string filling(100000, 'x');
    for (int i = 0; i < kDocuments; ++i) {
        socket->publish(std::to_string(i) + filling);
        ASSERT_EQ(quick.line(), std::to_string(i) + filling);
    }
    ASSERT_TRUE(kit::eventually([&] { return socket->counters().subscribers.at(1).delivered == kDocuments; }));
    const auto now = socket->counters();
    EXPECT_EQ(now.received, 300U);
    EXPECT_EQ(now.subscribers.at(1).lost, 0U);
    EXPECT_GT(now.subscribers.at(0).lost, 200U);
    EXPECT_EQ(now.lost, now.subscribers.at(0).lost);
    EXPECT_LE(now.subscribers.at(0).queuedBytes, MetadataSocket::kQueueBytes);
    // What is left comes whole: first what was on its way, then the newest without a gap.
    std::vector<int> seen;
    while (seen.empty() || seen.back() != kDocuments - 1) {
        const std::string line = idle.line();
        ASSERT_FALSE(line.empty());
        seen.push_back(std::stoi(line));
        ASSERT_TRUE(line == std::to_string(seen.back()) + filling);
    }
    EXPECT_EQ(seen.size() + now.lost, 300U);
    for (std::size_t i = seen.size() - 20; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i], kDocuments - static_cast<int>(seen.size() - i));
    }
}

TEST_F(MetadataSocketTest, thereAreAtMostSixtyFourSubscribers)
{
    std::list<SocketReader> readers;
    for (std::size_t i = 0; i < MetadataSocket::kMostSubscribers; ++i) {
        readers.emplace_back(socket->path());
        ASSERT_TRUE(waitForSubscribers(i + 1));
    }
    SocketReader refused(socket->path());
    EXPECT_TRUE(refused.ends());
    readers.pop_back();
    ASSERT_TRUE(waitForSubscribers(MetadataSocket::kMostSubscribers - 1));
    readers.emplace_back(socket->path());
    ASSERT_TRUE(waitForSubscribers(MetadataSocket::kMostSubscribers));
    socket->publish("<all/>");
    for (SocketReader& reader : readers) {
        EXPECT_EQ(reader.line(), "<all/>");
    }
}

TEST_F(MetadataSocketTest, whatSubscribersSayIsIgnoredAndWhoSaysNoMoreStillListens)
{
    SocketReader reader(socket->path());
    reader.say(std::string(100000, '?'));
    reader.sayNoMore();
    ASSERT_TRUE(waitForSubscribers(1));
    socket->publish("<a/>");
    EXPECT_EQ(reader.line(), "<a/>");
}

TEST_F(MetadataSocketTest, oneThatLeavesInTheMiddleOfADocumentIsForgotten)
{
    {
        SocketReader reader(socket->path());
        ASSERT_TRUE(waitForSubscribers(1));
        socket->publish(std::string(8000000, 'x'));
    }
    ASSERT_TRUE(waitForSubscribers(0));
    EXPECT_EQ(socket->counters().delivered, 0U);
}

TEST_F(MetadataSocketTest, aFileThatAKilledProcessLeftIsTakenOver)
{
    const std::string path = socket->path();
    const auto kept = folder / "kept";
    std::filesystem::create_hard_link(path, kept); // outlives the object, as after a kill
    socket.reset();
    std::filesystem::rename(kept, path);
    ASSERT_TRUE(std::filesystem::is_socket(path));
    socket = std::make_unique<MetadataSocket>(folder.path());
    SocketReader reader(path);
    ASSERT_TRUE(waitForSubscribers(1));
}

TEST_F(MetadataSocketTest, aSocketThatIsAliveIsLeftAlone)
{
    EXPECT_EQ(refusal(folder.path()), "the metadata socket " + socket->path() +
                                          " cannot be used: another process listens there; free it or name another "
                                          "folder with --runtime");
    SocketReader reader(socket->path());
    EXPECT_TRUE(waitForSubscribers(1));
}

TEST_F(MetadataSocketTest, somethingElseOfThatNameIsLeftAlone)
{
    socket.reset();
    folder.write(MetadataSocket::kFileName, "mine");
    EXPECT_THAT(refusal(folder.path()), HasSubstr("something else has its name"));
    EXPECT_EQ(std::filesystem::file_size(folder / MetadataSocket::kFileName), 4U);
}

TEST_F(MetadataSocketTest, whatTookItsPlaceIsNotRemoved)
{
    std::filesystem::remove(socket->path());
    std::ofstream(socket->path()) << "mine";
    const std::string path = socket->path();
    socket.reset();
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(MetadataSocketTest, aPathThatNoSocketCanHaveIsRefusedBeforeAnythingIsMade)
{
    const auto deep = folder / std::string(100, 'd');
    EXPECT_THAT(refusal(deep),
                HasSubstr("bytes, and a socket's has at most 107; name a shorter folder with --runtime"));
    EXPECT_FALSE(std::filesystem::exists(deep));
}

TEST_F(MetadataSocketTest, aFolderThatCannotBeMadeIsASentence)
{
    folder.write("file", "no folder");
    EXPECT_THAT(refusal(folder / "file" / "below"), HasSubstr("cannot be used: Not a directory; free it or name"));
}

TEST_F(MetadataSocketTest, onlyItsUserMayConnect)
{
    struct stat found {};
    ASSERT_EQ(::stat(socket->path().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
}

} // namespace
