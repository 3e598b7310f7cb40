#include "ptz/PtzShim.h"

#include "kit/PlatformTest.h"

namespace {

using kit::journal;
using kit::platform;
using korva::meridan::PtzShim;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PtzShimTest : public kit::PlatformTest {
protected:
    PtzShimTest() { platform().positioning.available = true; }

    /// What GetPtzCameraInfo yields; each output starts with a value of its own.
    struct CameraInfo {
        unsigned int sensorWidth = 1;
        unsigned int sensorHeight = 2;
        unsigned int angleOfView = 3;
        unsigned int focalFirst = 4;
        unsigned int focalSecond = 5;
    };

    static CameraInfo infoOf(analytics_lib::IAnalyticsPtz& shim)
    {
        CameraInfo info;
        shim.GetPtzCameraInfo(info.sensorWidth, info.sensorHeight, info.angleOfView, info.focalFirst, info.focalSecond);
        return info;
    }

    static CameraInfo infoFor(unsigned int angle, unsigned int focal, unsigned int sensorFirst,
                              unsigned int sensorSecond = 3000)
    {
        platform().positioning.angleLimits[0] = 1111;
        platform().positioning.angleLimits[1] = angle;
        platform().positioning.focalLimits[0] = focal;
        platform().positioning.focalLimits[1] = 120000;
        platform().positioning.sensorDimensions[0] = sensorFirst;
        platform().positioning.sensorDimensions[1] = sensorSecond;
        PtzShim shim;
        return infoOf(shim);
    }
};

TEST_F(PtzShimTest, asksForAvailabilityOnceWhenItIsMade)
{
    platform().positioning.journalAvailability = true;
    PtzShim shim;
    EXPECT_TRUE(shim.IsValid());
    EXPECT_TRUE(shim.IsValid());
    shim.SetZoomPosition(1);
    EXPECT_THAT(journal().all(), ElementsAre("isAvailable -> true", "setZoomPosition 1 -> true"));
}

TEST_F(PtzShimTest, staysValidWhenThePositioningUnitGoesAway)
{
    PtzShim shim;
    platform().positioning.available = false;
    EXPECT_TRUE(shim.IsValid());
    EXPECT_TRUE(shim.SetZoomPosition(7));
}

TEST_F(PtzShimTest, staysInvalidWhenAPositioningUnitComesLater)
{
    platform().positioning.available = false;
    PtzShim shim;
    platform().positioning.available = true;
    EXPECT_FALSE(shim.IsValid());
    EXPECT_FALSE(shim.SetZoomPosition(7));
    EXPECT_THAT(journal().all(), IsEmpty());
}

TEST_F(PtzShimTest, forwardsAMovementWithItsSixArgumentsInOrder)
{
    PtzShim shim;
    EXPECT_TRUE(shim.StartMovement(true, -11, false, 22, true, -33));
    EXPECT_TRUE(shim.StartMovement(false, 11, true, -22, false, 33));
    EXPECT_THAT(journal().all(), ElementsAre("startMovement true -11 false 22 true -33 -> true",
                                             "startMovement false 11 true -22 false 33 -> true"));
}

TEST_F(PtzShimTest, forwardsAStopWithItsThreeArgumentsInOrder)
{
    PtzShim shim;
    EXPECT_TRUE(shim.CancelMovement(true, false, false));
    EXPECT_TRUE(shim.CancelMovement(false, true, false));
    EXPECT_TRUE(shim.CancelMovement(false, false, true));
    EXPECT_THAT(journal().all(),
                ElementsAre("stopMovement true false false -> true", "stopMovement false true false -> true",
                            "stopMovement false false true -> true"));
}

TEST_F(PtzShimTest, forwardsAZoomPositionOfAnyWidth)
{
    PtzShim shim;
    EXPECT_TRUE(shim.SetZoomPosition(4294967295U));
    EXPECT_THAT(journal().all(), ElementsAre("setZoomPosition 4294967295 -> true"));
}

TEST_F(PtzShimTest, passesRefusalsOfThePositioningUnitOn)
{
    platform().positioning.startResult = false;
    platform().positioning.stopResult = false;
    platform().positioning.zoomResult = false;
    PtzShim shim;
    EXPECT_FALSE(shim.StartMovement(true, 1, true, 1, true, 1));
    EXPECT_FALSE(shim.CancelMovement(true, true, true));
    EXPECT_FALSE(shim.SetZoomPosition(1));
    EXPECT_THAT(journal().all(), ElementsAre("startMovement true 1 true 1 true 1 -> false",
                                             "stopMovement true true true -> false", "setZoomPosition 1 -> false"));
}

TEST_F(PtzShimTest, goesToAPresetWithTheCallersFlag)
{
    PtzShim shim;
    shim.GoToPreset("Gate", true);
    shim.GoToPreset("", false);
    EXPECT_THAT(journal().all(), ElementsAre("goToPreset Gate true -> true", "goToPreset  false -> true"));
}

TEST_F(PtzShimTest, tellsWhereAPresetLooks)
{
    platform().positioning.presets["Gate"] = {350000U, -45000, 12U};
    PtzShim shim;
    unsigned int pan = 1;
    int tilt = 2;
    unsigned int zoom = 3;
    shim.GetPresetLocation("Gate", pan, tilt, zoom);
    EXPECT_EQ(pan, 350000U);
    EXPECT_EQ(tilt, -45000);
    EXPECT_EQ(zoom, 12U);
}

TEST_F(PtzShimTest, leavesTheLocationOfAnUnknownPresetToThePositioningUnit)
{
    PtzShim shim;
    unsigned int pan = 1;
    int tilt = 2;
    unsigned int zoom = 3;
    shim.GetPresetLocation("Nowhere", pan, tilt, zoom);
    EXPECT_EQ(pan, 777U);
    EXPECT_EQ(tilt, -777);
    EXPECT_EQ(zoom, 777U);
    EXPECT_THAT(journal().all(), ElementsAre("getPresetLocation Nowhere -> false"));
}

TEST_F(PtzShimTest, doesNothingOnACameraThatCannotMove)
{
    platform().positioning.available = false;
    platform().positioning.presets["Gate"] = {10U, 20, 30U};
    PtzShim shim;
    EXPECT_FALSE(shim.IsValid());
    EXPECT_FALSE(shim.StartMovement(true, 1, true, 1, true, 1));
    EXPECT_FALSE(shim.CancelMovement(true, true, true));
    EXPECT_FALSE(shim.SetZoomPosition(1));
    shim.GoToPreset("Gate", true);
    unsigned int pan = 1;
    int tilt = 2;
    unsigned int zoom = 3;
    shim.GetPresetLocation("Gate", pan, tilt, zoom);
    EXPECT_EQ(pan, 1U);
    EXPECT_EQ(tilt, 2);
    EXPECT_EQ(zoom, 3U);
    const CameraInfo info = infoOf(shim);
    EXPECT_EQ(info.sensorWidth, 1U);
    EXPECT_EQ(info.sensorHeight, 2U);
    EXPECT_EQ(info.angleOfView, 3U);
    EXPECT_EQ(info.focalFirst, 4U);
    EXPECT_EQ(info.focalSecond, 5U);
    EXPECT_THAT(journal().all(), IsEmpty());
}

TEST_F(PtzShimTest, asksForAngleFocalLengthAndSensorInThatOrder)
{
    infoFor(60000, 4000, 4618);
    EXPECT_THAT(journal().all(), ElementsAre("getAngleOfViewLimits", "getFocalLengthLimits", "getSensorDimensions"));
}

TEST_F(PtzShimTest, derivesTheSensorWidthFromTheSecondAngleAndTheFirstFocalLength)
{
    const CameraInfo info = infoFor(60000, 4000, 4000);
    EXPECT_EQ(info.sensorWidth, 4618U);
    EXPECT_EQ(info.sensorHeight, 4618U);
    EXPECT_EQ(info.angleOfView, 60000U);
    EXPECT_EQ(info.focalFirst, 4000U);
    EXPECT_EQ(info.focalSecond, 120000U);
}

TEST_F(PtzShimTest, cutsTheSensorWidthTowardZero)
{
    EXPECT_EQ(infoFor(90000, 500, 1).sensorWidth, 1000U) << "dividing before multiplying falls just short of it";
    EXPECT_EQ(infoFor(2000, 100, 1).sensorWidth, 3U);
    EXPECT_EQ(infoFor(50000, 1, 1).sensorWidth, 0U);
}

TEST_F(PtzShimTest, roundsTheAngleToSinglePrecisionBeforeItIsUsed)
{
    // Odd values above 2^24 have no place in single precision: these two stand for their even neighbours.
    EXPECT_EQ(infoFor(16942619, 1000000, 1).sensorWidth, 400002U);
    EXPECT_EQ(infoFor(18000001, 4000000000U, 1).sensorWidth, 0U);
}

TEST_F(PtzShimTest, saturatesTheSensorWidthAtBothEnds)
{
    EXPECT_EQ(infoFor(179000, 4294967295U, 1).sensorWidth, 4294967295U);
    EXPECT_EQ(infoFor(270000, 4000, 1).sensorWidth, 0U) << "the tangent is negative there";
    EXPECT_EQ(infoFor(0, 4000, 1).sensorWidth, 0U);
}

TEST_F(PtzShimTest, hasNoSensorHeightWithoutAFirstSensorDimension)
{
    const CameraInfo info = infoFor(60000, 4000, 0);
    EXPECT_EQ(info.sensorWidth, 4618U);
    EXPECT_EQ(info.sensorHeight, 0U);
}

TEST_F(PtzShimTest, hasNoSensorHeightWhenThePositioningUnitWritesNoDimensions)
{
    platform().positioning.writesSensorDimensions = false;
    EXPECT_EQ(infoFor(60000, 4000, 4000).sensorHeight, 0U);
}

TEST_F(PtzShimTest, neverUsesTheSecondSensorDimension)
{
    EXPECT_EQ(infoFor(60000, 4000, 4000, 1).sensorHeight, 4618U);
    EXPECT_EQ(infoFor(60000, 4000, 4000, 0).sensorHeight, 4618U);
    EXPECT_EQ(infoFor(60000, 4000, 4000, 4294967295U).sensorHeight, 4618U);
}

TEST_F(PtzShimTest, wrapsTheProductBehindTheSensorHeightAt32Bits)
{
    // 90.01 degrees and 2500 give a width of 5000: 5,000,000,000 mod 2^32 is 705,032,704.
    const CameraInfo info = infoFor(90010, 2500, 1000000);
    ASSERT_EQ(info.sensorWidth, 5000U);
    EXPECT_EQ(info.sensorHeight, 705U);
}

TEST_F(PtzShimTest, usesWhatTheCallerHadWhereThePositioningUnitWritesNothing)
{
    platform().positioning.writesAngleLimits = false;
    platform().positioning.writesFocalLimits = false;
    platform().positioning.sensorDimensions[0] = 10;
    PtzShim shim;
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int angle = 90000;
    unsigned int focalFirst = 5001;
    unsigned int focalSecond = 9;
    shim.GetPtzCameraInfo(width, height, angle, focalFirst, focalSecond);
    EXPECT_EQ(width, 10002U);
    EXPECT_EQ(height, 10002U);
    EXPECT_EQ(angle, 90000U);
    EXPECT_EQ(focalSecond, 9U);
}

TEST_F(PtzShimTest, livesAsLongAsAnyHandleOfTheInterface)
{
    std::shared_ptr<analytics_lib::IAnalyticsPtz> engineHandle;
    std::weak_ptr<PtzShim> watched;
    {
        const auto shim = std::make_shared<PtzShim>();
        watched = shim;
        engineHandle = shim;
    }
    EXPECT_TRUE(engineHandle->IsValid());
    engineHandle.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(PtzShimTest, writesTheHeightOfTheSensorLast)
{
    infoFor(90000, 500, 0);
    PtzShim shim;
    unsigned int both = 1;
    unsigned int other = 0;
    unsigned int focalFirst = 0;
    unsigned int focalSecond = 0;
    shim.GetPtzCameraInfo(both, both, other, focalFirst, focalSecond);
    EXPECT_EQ(both, 0U) << "the width is 1000";
}

} // namespace
