#include "camera/serviceapi/MetadataStreamer.h"

#include "camera/serviceapi/Status.h"
#include "kit/FakeDeviceServices.h"
#include "kit/FileSizeLimit.h"
#include "kit/LogLines.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using camera::serviceapi::MetadataStreamer;
using testing::ElementsAre;
using testing::HasSubstr;

class MetadataStreamerTest : public testing::Test {
protected:
    void open(const std::filesystem::path& file, std::size_t capacity = MetadataStreamer::kCapacityBytes)
    {
        streamer = std::make_unique<MetadataStreamer>(services, file, goesOn, capacity);
        cookie = streamer->open();
    }

    ravel_core_status send(const std::string& document) { return streamer->send(cookie, document); }

    const kit::LogLines log;
    kit::TemporaryFolder folder;
    FakeDeviceServices services;
    std::unique_ptr<MetadataStreamer> streamer;
    std::uintptr_t cookie = 0;
    bool goesOn = false;
};

TEST_F(MetadataStreamerTest, writesEachDocumentOnALineOfItsOwn)
{
    open(folder / "metadata.xml");
    EXPECT_EQ(send("<a/>"), 0);
    EXPECT_EQ(send("<b\n x=\"1\">\r\n</b>"), 0);
    streamer->drain();
    EXPECT_EQ(kit::contentOf(folder / "metadata.xml"), "<a/>\n<b  x=\"1\">  </b>\n");
    EXPECT_EQ(streamer->counters().received, 2u);
    EXPECT_EQ(streamer->counters().written, 2u);
}

TEST_F(MetadataStreamerTest, keepsWholeDocumentsOnlyWhenTheDiskIsFull)
{
    open(folder / "metadata.xml");
    const std::string large(100000, 'x');
    send(large);
    send("<b/>");
    streamer->drain();
    {
        const kit::FileSizeLimit disk(100010);
        send(large);
        send("<c/>");
        streamer->drain();
    }
    EXPECT_EQ(kit::contentOf(folder / "metadata.xml"), large + "\n<b/>\n");
    EXPECT_EQ(streamer->counters().written, 2u);
    EXPECT_EQ(streamer->counters().dropped, 2u);
    EXPECT_THAT(streamer->counters().error, testing::EndsWith("metadata.xml is incomplete: File too large"));
}

TEST_F(MetadataStreamerTest, emptiesAnOlderFileBeforeItWrites)
{
    std::ofstream(folder / "metadata.xml") << "older\n";
    open(folder / "metadata.xml");
    streamer.reset();
    EXPECT_EQ(kit::contentOf(folder / "metadata.xml"), "");
}

TEST_F(MetadataStreamerTest, goesOnAfterTheLastWholeLineAndSaysWhatItCutsOff)
{
    goesOn = true;
    const std::string whole = std::string(5000, 'x') + "\n<b/>\n";
    std::ofstream(folder / "metadata.xml") << whole << "<c/>\n<torn";
    open(folder / "metadata.xml");
    send("<d/>");
    streamer.reset();
    EXPECT_EQ(kit::contentOf(folder / "metadata.xml"), whole + "<c/>\n<d/>\n");
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("is not whole: 5 bytes are cut off")));
}

TEST_F(MetadataStreamerTest, goesOnInAFileThatIsWholeOrEmptyOrHasNoWholeLine)
{
    goesOn = true;
    for (const std::string before : {"", "<a/>\n"}) {
        std::ofstream(folder / "metadata.xml") << before;
        open(folder / "metadata.xml");
        send("<d/>");
        streamer.reset();
        EXPECT_EQ(kit::contentOf(folder / "metadata.xml"), before + "<d/>\n");
    }
    EXPECT_TRUE(log.lines().empty());
    std::ofstream(folder / "metadata.xml") << std::string(10000, 'x');
    open(folder / "metadata.xml");
    streamer.reset();
    EXPECT_EQ(kit::contentOf(folder / "metadata.xml"), "");
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("10000 bytes")));
}

TEST_F(MetadataStreamerTest, aFileThatCannotBeOpenedAgainHasFailed)
{
    goesOn = true;
    open(folder / "missing/metadata.xml");
    EXPECT_THAT(streamer->counters().error, HasSubstr("cannot be written: No such file or directory"));
    EXPECT_EQ(send("<d/>"), 0);
    streamer->drain();
    EXPECT_EQ(streamer->counters().written, 0u);
}

TEST_F(MetadataStreamerTest, writesWhatIsQueuedBeforeItEnds)
{
    open(folder / "metadata.xml");
    for (int document = 0; document < 500; ++document) {
        EXPECT_EQ(send("<d/>"), 0);
    }
    streamer.reset();
    EXPECT_EQ(kit::contentOf(folder / "metadata.xml").size(), 500 * 5u);
}

TEST_F(MetadataStreamerTest, handsEachDocumentOverUnchanged)
{
    open({});
    send("<a>\n</a>");
    send("<b/>");
    streamer->drain();
    EXPECT_THAT(services.documents(), ElementsAre("<a>\n</a>", "<b/>"));
    EXPECT_EQ(streamer->counters().received, 2u);
    EXPECT_EQ(streamer->counters().written, 0u);
    EXPECT_EQ(streamer->counters().dropped, 0u);
}

TEST_F(MetadataStreamerTest, neverMakesTheSenderWaitAndDropsTheOldest)
{
    open({}, 10);
    std::promise<void> entered;
    std::promise<void> gate;
    services.onDocument = [&](const std::string& document) {
        if (document == "first") {
            entered.set_value();
            gate.get_future().wait();
        }
    };
    send("first");
    entered.get_future().wait();
    for (const char* document : {"aaaa", "bbbb", "cccc", "dddd"}) {
        EXPECT_EQ(send(document), 0);
    }
    gate.set_value();
    streamer->drain();
    EXPECT_THAT(services.documents(), ElementsAre("first", "cccc", "dddd"));
    EXPECT_EQ(streamer->counters().dropped, 2u);
}

TEST_F(MetadataStreamerTest, reportsAFullDiskOnceAndGoesOnCounting)
{
    open("/dev/full");
    for (int document = 0; document < 3; ++document) {
        EXPECT_EQ(send("<d/>"), 0) << "the sender is not told: the frame goes on";
    }
    streamer->drain();
    EXPECT_EQ(streamer->counters().written, 0u);
    EXPECT_EQ(streamer->counters().dropped, 3u);
    EXPECT_THAT(streamer->counters().error,
                HasSubstr("the metadata file /dev/full is incomplete: No space left on device"));
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("the metadata file /dev/full is incomplete")));
}

TEST_F(MetadataStreamerTest, refusesAFileThatCannotBeOpenedWithOneSentence)
{
    try {
        open(folder / "missing/metadata.xml");
        FAIL() << "opened a file in a folder that is not there";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), "the metadata file " + (folder / "missing/metadata.xml").string() +
                                                 " cannot be written: No such file or directory; name another one");
    }
}

TEST_F(MetadataStreamerTest, takesNothingOnAConnectionThatIsClosed)
{
    open({});
    EXPECT_EQ(streamer->send(0, "<a/>"), camera::serviceapi::kInvalidArgument);
    streamer->close(0);
    streamer->close(cookie);
    EXPECT_EQ(send("<a/>"), camera::serviceapi::kInvalidArgument);
    cookie = streamer->open();
    streamer->discard();
    EXPECT_EQ(send("<a/>"), camera::serviceapi::kInvalidArgument);
    EXPECT_EQ(streamer->counters().received, 0u);
}

} // namespace
