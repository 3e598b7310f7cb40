#include "camera/ptz/Motion.h"

#include <gtest/gtest.h>

namespace {

using camera::ptz::CameraDescription;
using camera::ptz::kStep;
using camera::ptz::Motion;
using camera::ptz::Position;
using Progress = Motion::Progress;
using std::chrono::milliseconds;

class MotionTest : public testing::Test {
protected:
    /// How the move ends; it takes at most a hundred seconds.
    Progress end(Motion& motion)
    {
        Progress progress = Progress::moving;
        for (took = milliseconds(0); took < milliseconds(100000) && progress == Progress::moving; took += kStep) {
            progress = motion.step();
        }
        return progress;
    }

    CameraDescription description;
    Motion motion{description};
    milliseconds took{0};
    const Position place{10000, -5000, 200};
};

TEST_F(MotionTest, arrivesExactlyAtThePlaceAndStands)
{
    ASSERT_TRUE(motion.canReach(place));
    motion.goTo(place, 1.0);
    EXPECT_TRUE(motion.moving());
    EXPECT_EQ(end(motion), Progress::arrived);
    EXPECT_EQ(motion.position(), place);
    EXPECT_FALSE(motion.moving());
}

TEST_F(MotionTest, beginsStraightAheadWithTheWidestView)
{
    EXPECT_EQ(motion.position(), (Position{0, 0, 100}));
    for (const Position& other : {Position{1, 0, 100}, Position{0, 1, 100}, Position{0, 0, 101}}) {
        EXPECT_NE(motion.position(), other);
    }
}

TEST_F(MotionTest, mayTakeAsLongAsItsSlowestAxisNeeds)
{
    description.arrivalMargin = milliseconds(500);
    for (const Position& far : {Position{180000, 0, 100}, Position{0, 80000, 100}, Position{0, 0, 3000}}) {
        Motion slow(description);
        slow.goTo(far, 0.1);
        EXPECT_EQ(end(slow), Progress::arrived);
        slow.placeAt({});
        slow.zoomTo(3000);
        EXPECT_EQ(end(slow), Progress::arrived);
    }
}

TEST_F(MotionTest, endsExactlyAtThePlaceHoweverWideTheTolerance)
{
    description.pan.tolerance = 5000;
    description.stableFor = kStep;
    Motion coarse(description);
    coarse.goTo({90000, 0, 100}, 1.0);
    EXPECT_EQ(end(coarse), Progress::arrived);
    EXPECT_EQ(coarse.position(), (Position{90000, 0, 100}));
}

TEST_F(MotionTest, keepsTheOtherAxesOfADriveAndBrakesThoseOfAWayToAPlace)
{
    const auto panIn = [this](milliseconds time) {
        const unsigned before = motion.position().pan;
        for (milliseconds passed(0); passed < time; passed += kStep) {
            motion.step();
        }
        return motion.position().pan - before;
    };
    motion.drive({50, {}, {}, {}});
    panIn(milliseconds(2000));
    motion.drive({{}, 10, {}, {}});
    EXPECT_EQ(panIn(milliseconds(1000)), 60000U) << "half of its greatest speed";
    motion.placeAt({});
    motion.goTo({170000, 0, 100}, 1.0);
    panIn(milliseconds(1000));
    motion.drive({{}, 10, {}, {}});
    panIn(milliseconds(1000));
    EXPECT_EQ(panIn(milliseconds(100)), 0U);
}

TEST_F(MotionTest, needsTheStableTimeAlsoWhereItStands)
{
    motion.goTo({}, 1.0);
    EXPECT_EQ(end(motion), Progress::arrived);
    EXPECT_EQ(took, description.stableFor);
}

TEST_F(MotionTest, isStoppedByAStopOfAnyAxisOnTheWayToAPlace)
{
    motion.goTo(place, 1.0);
    motion.step();
    motion.stop({false, false, true});
    EXPECT_EQ(end(motion), Progress::stopped);
}

TEST_F(MotionTest, isStoppedAfterItsMarginWhenAnAxisIsNeverInPlace)
{
    description.pan.tolerance = -1;
    Motion blocked(description);
    blocked.goTo({}, 1.0);
    EXPECT_EQ(end(blocked), Progress::stopped);
    EXPECT_EQ(took, description.arrivalMargin + description.stableFor - kStep);
}

TEST_F(MotionTest, knowsWhatItCanReach)
{
    EXPECT_FALSE(motion.canReach({360000, 0, 100}));
    EXPECT_FALSE(motion.canReach({0, 90001, 100}));
    EXPECT_FALSE(motion.canReach({0, 0, 99}));
    EXPECT_TRUE(motion.canZoomTo(3000));
    EXPECT_FALSE(motion.canZoomTo(3001));
}

TEST_F(MotionTest, isPlacedAtTheNearestEnds)
{
    motion.goTo(place, 1.0);
    motion.placeAt({5, 95000, 9999});
    EXPECT_FALSE(motion.moving());
    EXPECT_EQ(motion.position(), (Position{5, 90000, 3000}));
}

} // namespace
