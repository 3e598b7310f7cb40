// How well the engines see, on generated scenes of which everything is known. The numbers are the
// same on every run: the scenes' pixels and times depend on their parameters alone.
#include "EngineBench.h"
#include "camera/video/Scene.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace engine_test;
using camera::video::Scene;

Box boxOf(const camera::video::TruthBox& truth)
{
    return {truth.id, double(truth.left), double(truth.top), double(truth.left + truth.width),
            double(truth.top + truth.height)};
}

struct Findings {
    std::size_t objects = 0;
    std::size_t foundInTime = 0; ///< within a second of their appearance
    std::size_t seen = 0;        ///< pairs of object and frame after that second
    std::size_t found = 0;       ///< of those, found
};

Findings watch(const std::string& parameters, unsigned enterFrame)
{
    Scene scene("scene:start=1700000000,enter=" + std::to_string(enterFrame) + "," + parameters);
    EngineBench bench("Motion");
    bench.activate(motionConfig());
    const auto second = static_cast<unsigned>(scene.framesPerSecond());
    std::map<int, bool> inTime;
    Findings findings;
    for (unsigned number = 0;; ++number) {
        const auto frame = scene.next();
        if (!frame) {
            break;
        }
        const std::vector<Box> boxes = boxesOf(bench.show(*frame), scene.width(), scene.height());
        for (const auto& truth : scene.truth()) {
            bool found = false;
            for (const Box& box : boxes) {
                found = found || overlapOverUnion(box, boxOf(truth)) >= 0.5;
            }
            const bool early = number < enterFrame + second;
            inTime[truth.id] = inTime[truth.id] || (found && early);
            findings.seen += early ? 0 : 1;
            findings.found += !early && found ? 1 : 0;
        }
    }
    findings.objects = inTime.size();
    for (const auto& [id, found] : inTime) {
        findings.foundInTime += found ? 1 : 0;
    }
    return findings;
}

TEST(EngineQualityTest, findsNineOfTenObjectsOfOnePercentWithinASecond)
{
    Findings all;
    for (int seed = 1; seed <= 10; ++seed) {
        const std::string own = "seed=" + std::to_string(seed) + ",frames=110,objects=4,area=1";
        for (const char* more : {"", ",shape=ellipse,noise=4", ",contrast=40,light=15,lightperiod=30"}) {
            const Findings one = watch(own + more, 50);
            all.objects += one.objects;
            all.foundInTime += one.foundInTime;
            all.seen += one.seen;
            all.found += one.found;
        }
    }
    EXPECT_EQ(all.objects, 120U);
    EXPECT_GE(all.foundInTime * 10, all.objects * 9);
    EXPECT_GE(all.found * 10, all.seen * 9);
}

TEST(EngineQualityTest, findsObjectsWithTheirShadowsBesideThem)
{
    Findings all;
    for (int seed = 1; seed <= 6; ++seed) {
        const Findings one = watch("seed=" + std::to_string(seed) + ",frames=110,objects=3,area=2,shadows=1", 50);
        all.objects += one.objects;
        all.foundInTime += one.foundInTime;
    }
    EXPECT_GE(all.foundInTime * 10, all.objects * 9);
}

/// A scene that both engines have seen, as sensitive as they can be.
struct Watched {
    explicit Watched(Scene& scene)
    {
        simple.activate(simpleConfig("", simpleItem("MinCount", "1") + simpleItem("AlarmOnDelay", "0")));
        motion.activate(motionConfig("", region("Sensitivity=\"1\"", "")));
        while (const auto frame = scene.next()) {
            simple.show(*frame);
            motion.show(*frame);
        }
    }

    EngineBench simple{"Simple"};
    EngineBench motion{"Motion"};
};

TEST(EngineQualityTest, raisesNothingInFiveThousandStillFramesWithNoiseAndSlowLight)
{
    Scene scene("scene:start=1700000000,seed=3,size=640x360,objects=0,noise=3,light=20,lightperiod=60,frames=5000");
    const Watched watched(scene);
    EXPECT_EQ(watched.simple.eventTexts(), "");
    EXPECT_EQ(watched.motion.eventTexts(), "");
}

TEST(EngineQualityTest, endsWhatALightSwitchRaisesWithinTwoSeconds)
{
    for (const char* levels : {"-50", "60", "-20", "25"}) {
        Scene scene(std::string("scene:start=1700000000,seed=4,objects=0,switch=100,frames=250,switchlevels=") +
                    levels);
        const Watched watched(scene);
        for (const EngineBench* bench : {&watched.simple, &watched.motion}) {
            for (const Event& event : bench->events()) {
                EXPECT_LE(event.frame, 150U) << levels << ": " << event.message;
            }
            EXPECT_EQ(bench->events().size() % 2, 0U) << levels;
        }
    }
}

TEST(EngineQualityTest, raisesNothingAfterAnArrivalAtAStillPlace)
{
    Scene there("scene:start=1700000000,seed=5,objects=0,frames=60");
    Scene here("scene:start=1700000003,seed=6,objects=0,frames=100");
    EngineBench simple("Simple");
    EngineBench motion("Motion");
    simple.activate(simpleConfig("", simpleItem("MinCount", "1") + simpleItem("AlarmOnDelay", "0")));
    motion.activate(motionConfig("", region("Sensitivity=\"1\"", "")));
    while (const auto frame = there.next()) {
        analytics_lib::YuvFrame picture = yuv(*frame);
        picture.pan = 1000;
        simple.show(picture);
        motion.show(picture);
    }
    unsigned pan = 1000;
    while (const auto frame = here.next()) {
        analytics_lib::YuvFrame picture = yuv(*frame);
        pan = std::min(pan + 200, 5000U); // still on the way in the first frames
        picture.pan = pan;
        simple.show(picture);
        motion.show(picture);
    }
    EXPECT_EQ(simple.eventTexts(), "");
    EXPECT_EQ(motion.eventTexts(), "");
}

} // namespace
