#include "camera/ptz/Axis.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using camera::ptz::Axis;
using camera::ptz::AxisDescription;

constexpr double kStep = 0.005;
const AxisDescription kEndless{0, 0, true, 360000, 100000, 200000, 50};
const AxisDescription kLimited{-90000, 30000, false, 360000, 100000, 200000, 50};

double secondsUntilSettled(Axis& axis, double& fastest, double& sharpest)
{
    double seconds = 0;
    while ((!axis.settled() || axis.speed() != 0) && seconds < 100) {
        const double before = axis.speed();
        axis.step(kStep);
        fastest = std::max(fastest, std::abs(axis.speed()));
        sharpest = std::max(sharpest, std::abs(axis.speed() - before) / kStep);
        seconds += kStep;
    }
    return seconds;
}

TEST(Axis, goesToItsTargetNoFasterAndNoSharperThanItCan)
{
    Axis axis(kEndless, 0);
    axis.goTo(100000, 1.0);
    const double expected = axis.secondsToTarget();
    EXPECT_NEAR(expected, 1.5, 0.001); // half a second up, half a second down, 50 degrees between
    double fastest = 0;
    double sharpest = 0;
    EXPECT_NEAR(secondsUntilSettled(axis, fastest, sharpest), expected, 0.2);
    EXPECT_DOUBLE_EQ(axis.position(), 100000);
    EXPECT_NEAR(fastest, 100000, 1);
    EXPECT_LE(sharpest, 200000 * 1.001);
}

TEST(Axis, reachesNotItsGreatestSpeedOnAShortWay)
{
    Axis axis(kEndless, 0);
    axis.goTo(10000, 1.0);
    EXPECT_NEAR(axis.secondsToTarget(), 2 * std::sqrt(10000.0 / 200000), 0.001);
    double fastest = 0;
    double sharpest = 0;
    secondsUntilSettled(axis, fastest, sharpest);
    EXPECT_DOUBLE_EQ(axis.position(), 10000);
    EXPECT_LT(fastest, 50000);
}

TEST(Axis, goesSlowerWhenItIsTold)
{
    Axis axis(kEndless, 0);
    axis.goTo(100000, 0.1);
    double fastest = 0;
    double sharpest = 0;
    EXPECT_NEAR(secondsUntilSettled(axis, fastest, sharpest), 10, 0.3);
    EXPECT_NEAR(fastest, 10000, 1);
}

TEST(Axis, goesTheShorterWayRoundWhenItHasNoEnd)
{
    Axis axis(kEndless, 10000);
    axis.goTo(350000, 1.0);
    axis.step(kStep);
    EXPECT_LT(axis.speed(), 0);
    double fastest = 0;
    double sharpest = 0;
    secondsUntilSettled(axis, fastest, sharpest);
    EXPECT_DOUBLE_EQ(axis.position(), 350000);
}

TEST(Axis, turnsRoundWhenTheNewTargetLiesBehind)
{
    Axis axis(kLimited, 0);
    axis.drive(1.0);
    for (int step = 0; step < 20; ++step) {
        axis.step(kStep);
    }
    ASSERT_GT(axis.speed(), 0);
    axis.goTo(-40000, 1.0);
    double fastest = 0;
    double sharpest = 0;
    const double expected = axis.secondsToTarget();
    EXPECT_LE(secondsUntilSettled(axis, fastest, sharpest), expected + 0.2);
    EXPECT_DOUBLE_EQ(axis.position(), -40000);
    EXPECT_LE(sharpest, 200000 * 1.05);
}

TEST(Axis, stopsAtItsEndsWithoutPassingThem)
{
    for (const double direction : {1.0, -1.0}) {
        Axis axis(kLimited, 0);
        axis.drive(direction);
        double lowest = 0;
        double highest = 0;
        for (int step = 0; step < 1000; ++step) {
            axis.step(kStep);
            lowest = std::min(lowest, axis.position());
            highest = std::max(highest, axis.position());
        }
        EXPECT_FALSE(axis.driving());
        EXPECT_TRUE(axis.settled());
        EXPECT_GE(lowest, -90000);
        EXPECT_LE(highest, 30000);
        EXPECT_NEAR(axis.position(), direction > 0 ? 30000 : -90000, 1);
    }
}

TEST(Axis, keepsItsSpeedUntilItIsReleased)
{
    Axis axis(kEndless, 350000);
    axis.drive(0.5);
    for (int step = 0; step < 1000; ++step) {
        axis.step(kStep);
        ASSERT_GE(axis.position(), 0);
        ASSERT_LT(axis.position(), 360000);
    }
    EXPECT_DOUBLE_EQ(axis.speed(), 50000);
    EXPECT_TRUE(axis.driving());
    EXPECT_FALSE(axis.settled());
    axis.release();
    EXPECT_FALSE(axis.settled()) << "it brakes first";
    for (int step = 0; step < 60; ++step) {
        axis.step(kStep);
    }
    EXPECT_EQ(axis.speed(), 0);
    EXPECT_TRUE(axis.settled());
}

TEST(Axis, knowsAPlaceOnTheOtherSideByItsOtherName)
{
    const Axis axis(kLimited, 0);
    EXPECT_EQ(axis.placeOf(350000), -10000);
    EXPECT_EQ(axis.placeOf(30000), 30000);
    EXPECT_EQ(axis.placeOf(30001), std::nullopt);
    EXPECT_EQ(axis.placeOf(270000), -90000);
    EXPECT_EQ(axis.placeOf(269999), std::nullopt);
    EXPECT_EQ(Axis(kEndless, 0).placeOf(359999), 359999);
    EXPECT_EQ(axis.speed(), 0);
}

TEST(Axis, isNeverInPlaceWithoutATolerance)
{
    AxisDescription description = kEndless;
    description.tolerance = -1;
    Axis axis(description, 5000);
    axis.goTo(5000, 1.0);
    axis.step(kStep);
    EXPECT_FALSE(axis.settled());
    axis.release();
    EXPECT_TRUE(axis.settled());
}

} // namespace
