// The files of a run whose pipeline is started again.
#include "camera/pipeline/RunOutputs.h"

#include "camera/video/LibavLog.h"
#include "camera/video/Scene.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace {

using camera::pipeline::RunCounts;
using camera::pipeline::RunOutputs;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr camera::video::PictureSize kSize{64, 64};

class RunOutputsTest : public testing::Test {
protected:
    RunOutputsTest()
    {
        camera::video::routeLibavLog();
        options.overlay = folder / "o.mp4";
        options.metadata = folder / "m.xml";
    }

    // The next process of the run.
    RunOutputs& start()
    {
        outputs.reset();
        counts->starts++;
        return outputs.emplace(options, counts, [this](const std::string& sentence) { failures.push_back(sentence); });
    }

    void record(int frames)
    {
        outputs->openOverlay(kSize, 25);
        for (int i = 0; i < frames; ++i) {
            outputs->draw(*scene.next(), {}, "");
        }
    }

    // "o.mp4", or "o.mp4 incomplete"
    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& file : outputs->files()) {
            names.push_back(file.path.substr(folder.path().string().size() + 1) + (file.complete ? "" : " incomplete"));
        }
        return names;
    }

    const kit::TemporaryFolder folder;
    camera::base::RunOptions options;
    const std::shared_ptr<RunCounts> counts = std::make_shared<RunCounts>();
    std::vector<std::string> failures;
    camera::video::Scene scene{"scene:size=64x64,frames=0"};
    std::optional<RunOutputs> outputs;
};

TEST_F(RunOutputsTest, eachProcessAddsItsMetadataAndANumberedOverlay)
{
    EXPECT_EQ(start().metadataFile(), options.metadata);
    EXPECT_FALSE(outputs->metadataGoesOn());
    outputs->metadataBegins();
    folder.write("m.xml", "<a/>\n");
    record(3);
    EXPECT_TRUE(start().metadataGoesOn());
    record(2);
    outputs->finish();
    EXPECT_THAT(files(), ElementsAre("m.xml", "o.mp4", "o.2.mp4"));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(RunOutputsTest, anOverlayThatGotNoFrameIsBegunAgainAndNeverSaidToBeWritten)
{
    start();
    record(0);
    outputs->finish();
    EXPECT_THAT(files(), ElementsAre("o.mp4 incomplete"));
    start();
    record(1);
    EXPECT_THAT(files(), ElementsAre("o.mp4"));
}

TEST_F(RunOutputsTest, whatHasFailedIsNotBegunAgain)
{
    start();
    outputs->metadataBegins();
    folder.write("m.xml", "<a/>\n");
    record(1);
    counts->metadataFailed = true;
    counts->videosFailed = 1;
    EXPECT_EQ(start().metadataFile(), "");
    record(0);
    EXPECT_FALSE(outputs->draws());
    EXPECT_THAT(files(), ElementsAre("m.xml incomplete", "o.mp4 incomplete"));
}

TEST_F(RunOutputsTest, anOverlayThatCannotBeOpenedIsRefusedAtFirstAndToldAfterARestart)
{
    options.overlay = folder / "none/o.mp4";
    start();
    EXPECT_THROW(record(0), std::runtime_error);
    start();
    record(0);
    EXPECT_FALSE(outputs->draws());
    EXPECT_THAT(failures, ElementsAre(HasSubstr("cannot write the overlay video '" + options.overlay)));
    EXPECT_NE(counts->videosFailed, 0u);
}

} // namespace
