// Presets: saved, renamed and removed.
#include "unit/camera_ptz/PositioningFixture.h"

namespace {

using camera::ptz::Position;
using testing::ElementsAre;
using testing::IsEmpty;

class PositioningPresetsTest : public PositioningFixture {
protected:
    void SetUp() override { build(); }
};

TEST_F(PositioningPresetsTest, saysHowAPresetWasModified)
{
    EXPECT_TRUE(unit->savePreset({"Cellar", {1, 2, 100}}));
    EXPECT_TRUE(unit->savePreset({"Cellar", {3, 4, 100}}));
    EXPECT_EQ(unit->preset("Cellar")->position.pan, 3u);
    EXPECT_TRUE(unit->removePreset("Cellar"));
    EXPECT_EQ(unit->removePreset("Cellar").status, Status::unknownPreset);
    EXPECT_THAT(reported(), ElementsAre("Cellar created", "Cellar changed", "Cellar removed"));
}

TEST_F(PositioningPresetsTest, savesWhereItIs)
{
    unit->moveTo({20000, 1000, 300}, operator1);
    untilItStands();
    reported();
    EXPECT_TRUE(unit->savePresetHere("Here"));
    EXPECT_EQ(unit->preset("Here")->position, (Position{20000, 1000, 300}));
    EXPECT_THAT(reported(), ElementsAre("Here created"));
}

TEST_F(PositioningPresetsTest, saysAfterwardsThatItLeftAPresetThatWasRemovedUnderIt)
{
    standAt("Gate");
    EXPECT_TRUE(unit->removePreset("Gate"));
    EXPECT_THAT(reported(), ElementsAre("Gate removed", "state 0 Gate"));
    EXPECT_EQ(unit->activePreset(), "");
}

TEST_F(PositioningPresetsTest, doesNotArriveAtAPresetThatWasRemovedOnTheWay)
{
    unit->goToPreset("Gate", operator1);
    pass(Milliseconds(50));
    unit->removePreset("Gate");
    untilItStands();
    EXPECT_THAT(reported(),
                ElementsAre("priority 100", "state 1 Gate", "motion started", "Gate removed", "motion stopped"));
    EXPECT_EQ(unit->position(), (Position{10000, -5000, 200}));
}

TEST_F(PositioningPresetsTest, arrivesUnderTheNewNameWhenItIsRenamed)
{
    standAt("Gate");
    EXPECT_TRUE(unit->renamePreset("Gate", "Door"));
    EXPECT_THAT(reported(), ElementsAre("Door created", "Gate removed", "state 2 Door"));
    EXPECT_EQ(unit->activePreset(), "Door");
    unit->goToPreset("Yard", operator1);
    reported();
    EXPECT_TRUE(unit->renamePreset("Yard", "Court"));
    untilItStands();
    EXPECT_THAT(reported(), ElementsAre("Court created", "Yard removed", "state 2 Court", "motion stopped"));
    EXPECT_TRUE(unit->renamePreset("Roof", "Top"));
    EXPECT_THAT(reported(), ElementsAre("Top created", "Roof removed"));
}

TEST_F(PositioningPresetsTest, refusesWhatIsNoName)
{
    for (const std::string& name :
         {std::string(), std::string(129, 'a'), std::string("a\nb"), std::string("a\0b", 3)}) {
        EXPECT_EQ(unit->savePreset({name, {}}).status, Status::badName);
        EXPECT_EQ(unit->savePresetHere(name).status, Status::badName);
        EXPECT_EQ(unit->renamePreset("Gate", name).status, Status::badName);
    }
    EXPECT_EQ(unit->renamePreset("Gate", "Yard").status, Status::nameTaken);
    EXPECT_EQ(unit->renamePreset("Cellar", "Door").status, Status::unknownPreset);
    EXPECT_EQ(unit->savePreset({"Sky", {0, 90001, 100}}).status, Status::outOfLimits);
    EXPECT_EQ(unit->presets().size(), 3u);
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_TRUE(unit->savePreset({std::string(128, 'a'), {}}));
    EXPECT_TRUE(unit->savePreset({"Hof \xc3\xb6stlich", {}}));
}

TEST_F(PositioningPresetsTest, keepsNoMoreThanItHasRoomFor)
{
    for (int index = 3; index < 256; ++index) {
        ASSERT_TRUE(unit->savePreset({"P" + std::to_string(index), {}}));
    }
    EXPECT_EQ(unit->savePreset({"P256", {}}).status, Status::tooMany);
    EXPECT_EQ(unit->presets().size(), 256u);
    EXPECT_TRUE(unit->savePreset({"P255", {1, 0, 100}})) << "changed";
}

} // namespace
