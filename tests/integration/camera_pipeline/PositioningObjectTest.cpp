// Positioning on the bus: commands, their refusals, and what the unit tells.
#include "integration/camera_pipeline/ServedDevice.h"

#include <climits>

namespace pipeline_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

using PresetRow = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
using StopRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
using TourRow = sdbus::Struct<std::string, std::vector<StopRow>>;
using U = std::uint32_t;
using I = std::int32_t;
using Stops = std::vector<StopRow>;

class PositioningObjectTest : public ServedDevice {
protected:
    /// "done", or the sentence of a refusal.
    template <class... In>
    std::string order(const std::string& method, const In&... arguments)
    {
        const std::string answer = client.refusal(service::kPositioning, method, arguments...);
        const std::string refused = "ravel.Error.Refused|";
        return answer == "answered" ? "done" : answer.find(refused) == 0 ? answer.substr(refused.size()) : answer;
    }

    using Where = std::tuple<U, I, U, U, bool, std::string>;
    Where where() { return client.ask<U, I, U, U, bool, std::string>(service::kPositioning, "getPosition"); }

    std::vector<PresetRow> presets()
    {
        return client.one<std::vector<PresetRow>>(service::kPositioning, "listPresets");
    }
    std::vector<TourRow> tours() { return client.one<std::vector<TourRow>>(service::kPositioning, "listTours"); }

    bool paused() { return client.properties(service::kPositioning).at("TourPaused").get<bool>(); }

    const std::string gate = "Gate";
    const std::string yard = "Yard";
    const U most = 100;
};

TEST_F(PositioningObjectTest, tellsWhereTheCameraIs)
{
    options.ptz->arriveAt = "Yard";
    serve();
    EXPECT_EQ(where(), Where(20000, 0, 100, unit().optics().angleOfView(100), false, "Yard"));
    ASSERT_EQ(order("goToPreset", gate, most), "done");
    EXPECT_EQ(std::get<4>(where()), true);
    EXPECT_EQ(std::get<5>(where()), "");
    untilItStands();
    EXPECT_EQ(where(), Where(10000, 0, 100, unit().optics().angleOfView(100), false, "Gate"));
}

TEST_F(PositioningObjectTest, movesToAPlace)
{
    serve();
    ASSERT_EQ(order("moveTo", U{359999}, I{-90000}, U{250}, most), "done");
    untilItStands();
    EXPECT_EQ(where(), Where(359999, -90000, 250, unit().optics().angleOfView(250), false, ""));
    EXPECT_EQ(order("moveTo", U{360000}, I{0}, U{100}, most),
              "pan 360000, tilt 0, zoom 100 is beyond what this camera can reach");
}

TEST_F(PositioningObjectTest, keepsAndRenamesAndForgetsPresets)
{
    serve();
    ASSERT_THAT(presets(), SizeIs(2));
    EXPECT_EQ(order("savePresetAt", std::string("Door"), U{5000}, I{-1000}, U{200}), "done");
    ASSERT_EQ(order("goToPreset", gate, most), "done");
    untilItStands();
    EXPECT_EQ(order("savePreset", std::string("Here")), "done");
    EXPECT_THAT(presets(), ElementsAre(PresetRow("Gate", 10000, 0, 100), PresetRow("Yard", 20000, 0, 100),
                                       PresetRow("Door", 5000, -1000, 200), PresetRow("Here", 10000, 0, 100)));
    EXPECT_EQ(order("renamePreset", yard, std::string("Garden")), "done");
    EXPECT_EQ(order("removePreset", std::string("Door")), "done");
    EXPECT_THAT(presets(), ElementsAre(PresetRow("Gate", 10000, 0, 100), PresetRow("Garden", 20000, 0, 100),
                                       PresetRow("Here", 10000, 0, 100)));
}

TEST_F(PositioningObjectTest, refusesWithTheUnitsSentence)
{
    serve();
    const std::string unknown = "there is no preset 'Roof'";
    const std::string roof = "Roof";
    EXPECT_EQ(order("goToPreset", roof, most), unknown);
    EXPECT_EQ(order("removePreset", roof), unknown);
    EXPECT_EQ(order("renamePreset", roof, std::string("R")), unknown);
    EXPECT_EQ(order("renamePreset", gate, yard), "there is a preset 'Yard' already");
    EXPECT_EQ(order("savePreset", std::string()), "a name has at least one character");
    EXPECT_EQ(order("savePreset", std::string("a\nb")), "a name has no control characters");
    EXPECT_EQ(order("savePresetAt", roof, U{0}, I{90001}, U{100}),
              "the place of preset 'Roof' is beyond what this camera can reach");
    EXPECT_EQ(order("drive", I{101}, I{0}, I{0}, U{0}, most), "a speed is -100 to 100 percent");
    EXPECT_EQ(order("createTour", std::string("round"), Stops{StopRow("Roof", 1000, 100)}), unknown);
    EXPECT_EQ(order("createTour", std::string("round"), Stops()), "a tour has 1 to 64 stops");
    EXPECT_EQ(order("createTour", std::string("round"), Stops{StopRow("Gate", 1000, 0)}),
              "the speed to 'Gate' is 1 to 100 percent");
    EXPECT_EQ(order("createTour", std::string("round"), Stops{StopRow("Gate", 86400001, 100)}),
              "the stop at 'Gate' lasts 0 ms to a day");
    EXPECT_EQ(order("startTour", std::string("round"), most), "there is no tour 'round'");
    EXPECT_EQ(order("removeTour", std::string("round")), "there is no tour 'round'");
    for (const char* method : {"stopTour", "pauseTour", "resumeTour"}) {
        EXPECT_EQ(order(method), "no tour is running") << method;
    }
    EXPECT_THAT(client.journal.lines(), IsEmpty()) << "a refused command tells nothing";
}

TEST_F(PositioningObjectTest, whoIsLessImportantWaits)
{
    serve();
    ASSERT_EQ(order("goToPreset", gate, U{100}), "done");
    EXPECT_EQ(order("goToPreset", yard, U{200}),
              "operator holds the camera with priority 100, which is more important than 200");
    EXPECT_EQ(order("stop", U{101}), "operator holds the camera with priority 100, which is more important than 101");
    EXPECT_EQ(order("goToPreset", yard, U{0}), "done");
    untilItStands();
    EXPECT_EQ(std::get<5>(where()), "Yard");
}

TEST_F(PositioningObjectTest, drivesForATimeAndUntilItIsStopped)
{
    serve();
    ASSERT_EQ(order("drive", I{50}, I{0}, I{0}, U{500}, most), "done");
    untilItStands();
    const U first = std::get<0>(where());
    EXPECT_GT(first, 0u);
    ASSERT_EQ(order("drive", I{-50}, I{0}, I{0}, U{0}, most), "done");
    unit().advance(200ms);
    EXPECT_TRUE(unit().moving());
    ASSERT_EQ(order("stop", most), "done");
    untilItStands();
    EXPECT_NE(std::get<0>(where()), first);
    EXPECT_EQ(order("drive", I{0}, I{0}, I{0}, U{0}, most), "done") << "to stop a camera that stands is no mistake";
}

TEST_F(PositioningObjectTest, drivesTheAxesThatAreNamed)
{
    serve();
    const I goesOn = 127;
    ASSERT_EQ(order("drive", I{50}, I{0}, I{50}, U{0}, most), "done");
    unit().advance(500ms);
    ASSERT_EQ(order("drive", I{0}, I{0}, goesOn, U{0}, most), "done");
    unit().advance(2s);
    const auto pan = std::get<0>(where());
    const auto zoom = std::get<2>(where());
    unit().advance(500ms);
    EXPECT_EQ(std::get<0>(where()), pan);
    EXPECT_GT(std::get<2>(where()), zoom) << "only pan and tilt were stopped";
    ASSERT_EQ(order("drive", I{50}, goesOn, goesOn, U{0}, most), "done");
    unit().advance(100ms);
    EXPECT_GT(std::get<0>(where()), pan);
    EXPECT_EQ(order("drive", goesOn, goesOn, goesOn, U{0}, most), "a drive needs at least one of pan, tilt and zoom");
}

TEST_F(PositioningObjectTest, movesToAPlaceAndAPresetAtASpeed)
{
    serve();
    const auto panAfter = [this](const std::string& method, const auto&... arguments) {
        unit().placeAt("Yard");
        EXPECT_EQ(order(method, arguments..., most), "done");
        unit().advance(500ms);
        const U pan = std::get<0>(where());
        untilItStands();
        return pan;
    };
    const auto half = panAfter("moveAtSpeed", U{100000}, I{0}, U{100}, U{50});
    EXPECT_LT(half, panAfter("moveAtSpeed", U{100000}, I{0}, U{100}, U{100}));
    EXPECT_GT(panAfter("goToPresetAtSpeed", gate, U{2}), panAfter("goToPresetAtSpeed", gate, U{100}));
    EXPECT_EQ(std::get<5>(where()), "Gate");
    for (const U wrong : {U{0}, U{101}, U{UINT_MAX}}) {
        EXPECT_EQ(order("moveAtSpeed", U{0}, I{0}, U{100}, wrong, most), "the speed to a place is 1 to 100 percent");
        EXPECT_EQ(order("goToPresetAtSpeed", gate, wrong, most), "the speed to a place is 1 to 100 percent");
    }
}

TEST_F(PositioningObjectTest, tellsItsLimits)
{
    serve();
    const auto limits = [this] { return client.ask<I, I, bool, I, I, U, U, U, U>(service::kPositioning, "getLimits"); };
    EXPECT_EQ(limits(),
              std::make_tuple(I{-180000}, I{180000}, true, I{-90000}, I{90000}, U{3000}, U{256}, U{64}, U{64}));
}

TEST_F(PositioningObjectTest, toursAreKeptAndRun)
{
    serve();
    const std::string round = "round";
    ASSERT_EQ(order("createTour", round, Stops{StopRow("Gate", 1000, 100), StopRow("Yard", 0, 1)}), "done");
    EXPECT_THAT(tours(), ElementsAre(TourRow("round", Stops{StopRow("Gate", 1000, 100), StopRow("Yard", 0, 1)})));
    ASSERT_EQ(order("startTour", round, most), "done");
    EXPECT_EQ(order("removeTour", round), "tour 'round' is running: stop it first");
    EXPECT_EQ(order("resumeTour"), "tour 'round' is not paused");
    EXPECT_FALSE(paused());
    EXPECT_EQ(order("pauseTour"), "done");
    EXPECT_TRUE(paused());
    untilItStands();
    EXPECT_EQ(std::get<5>(where()), "Gate");
    EXPECT_EQ(order("resumeTour"), "done");
    EXPECT_FALSE(paused());
    EXPECT_EQ(order("stopTour"), "done");
    EXPECT_EQ(order("removeTour", round), "done");
    EXPECT_THAT(tours(), IsEmpty());
}

TEST_F(PositioningObjectTest, aFixedCameraSaysThatItIsOne)
{
    options.ptz.reset();
    serve();
    const std::string fixed = "this camera is fixed: it cannot move and has no presets";
    EXPECT_EQ(order("goToPreset", gate, most), fixed);
    EXPECT_EQ(order("moveTo", U{0}, I{0}, U{100}, most), fixed);
    EXPECT_EQ(order("drive", I{1}, I{0}, I{0}, U{0}, most), fixed);
    EXPECT_EQ(order("stop", most), fixed);
    EXPECT_EQ(order("savePreset", gate), fixed);
    EXPECT_EQ(order("savePresetAt", gate, U{0}, I{0}, U{100}), fixed);
    EXPECT_EQ(order("renamePreset", gate, yard), fixed);
    EXPECT_EQ(order("removePreset", gate), fixed);
    EXPECT_EQ(order("createTour", gate, Stops{StopRow("Gate", 1, 1)}), fixed);
    EXPECT_EQ(order("startTour", gate, most), fixed);
    EXPECT_EQ(order("stopTour"), fixed);
    EXPECT_THAT(presets(), IsEmpty());
    EXPECT_THAT(tours(), IsEmpty());
    EXPECT_EQ(std::get<4>(where()), false);
}

TEST_F(PositioningObjectTest, signalsComeInTheOrderOfTheUnitsEvents)
{
    serve();
    ASSERT_EQ(order("goToPreset", gate, U{120}), "done");
    untilItStands();
    EXPECT_THAT(client.journal.lines(5),
                ElementsAre("priority 120", "state 1 Gate", "motion started", "state 2 Gate", "motion stopped"));
    client.journal.clear();
    ASSERT_EQ(order("removePreset", gate), "done");
    EXPECT_THAT(client.journal.lines(2), ElementsAre("Gate removed", "state 0 Gate"));
    client.journal.clear();
    ASSERT_EQ(order("savePreset", gate), "done");
    ASSERT_EQ(order("savePreset", gate), "done");
    EXPECT_THAT(client.journal.lines(2), ElementsAre("Gate created", "Gate changed"));
    client.journal.clear();
    ASSERT_EQ(order("createTour", std::string("t"), Stops{StopRow("Yard", 0, 100)}), "done");
    ASSERT_EQ(order("startTour", std::string("t"), U{120}), "done");
    EXPECT_THAT(client.journal.lines(4), ElementsAre("tour 1 t 0", "priority 400", "state 1 Yard", "motion started"));
}

TEST_F(PositioningObjectTest, namesThatCannotBeSentLeaveWithReplacementCharacters)
{
    serve();
    ASSERT_TRUE(unit().savePreset({"G\xFF", {1000, 0, 100}}));
    ASSERT_TRUE(unit().placeAt("G\xFF"));
    unit().announceStanding();
    EXPECT_THAT(client.journal.lines(2), ElementsAre("G\xEF\xBF\xBD created", "state 2 G\xEF\xBF\xBD"));
    EXPECT_EQ(std::get<5>(where()), "G\xEF\xBF\xBD");
    EXPECT_EQ(presets().back(), PresetRow("G\xEF\xBF\xBD", 1000, 0, 100));
}

TEST_F(PositioningObjectTest, hostileNumbersAreTakenOrRefused)
{
    serve();
    const U us[] = {0, 1, 100, 359999, 360000, INT_MAX, UINT_MAX};
    const I is[] = {INT_MIN, -100, -1, 0, 100, 101, INT_MAX};
    for (const U unsignedNumber : us) {
        for (const I number : is) {
            order("moveTo", unsignedNumber, number, unsignedNumber, U{0});
            order("savePresetAt", gate, unsignedNumber, number, unsignedNumber);
            order("drive", number, number, number, unsignedNumber, U{0});
            unit().advance(1s);
        }
    }
    EXPECT_EQ(order("drive", I{INT_MIN}, I{0}, I{0}, U{0}, U{0}), "a speed is -100 to 100 percent");
    EXPECT_EQ(order("goToPreset", gate, U{UINT_MAX}).find("operator holds the camera"), 0u);
    EXPECT_EQ(order("createTour", gate, Stops{StopRow("Gate", UINT_MAX, UINT_MAX)}),
              "the stop at 'Gate' lasts 0 ms to a day");
    EXPECT_EQ(order("createTour", gate, Stops{StopRow("Gate", 0, UINT_MAX)}),
              "the speed to 'Gate' is 1 to 100 percent");
    ASSERT_EQ(order("stop", U{0}), "done");
    untilItStands();
    EXPECT_LT(std::get<0>(where()), 360000u);
}

TEST_F(PositioningObjectTest, hostileNamesAndToursAreRefused)
{
    serve();
    const std::string huge(1024 * 1024, 'n');
    EXPECT_EQ(order("savePreset", huge), "a name has at most 128 bytes, this one has 1048576");
    EXPECT_EQ(order("savePresetAt", huge, U{0}, I{0}, U{100}), "a name has at most 128 bytes, this one has 1048576");
    EXPECT_EQ(order("renamePreset", gate, huge), "a name has at most 128 bytes, this one has 1048576");
    EXPECT_EQ(order("createTour", huge, Stops{StopRow("Gate", 0, 1)}),
              "a name has at most 128 bytes, this one has 1048576");
    EXPECT_THAT(order("goToPreset", huge, most), StartsWith("there is no preset 'nnn"));
    EXPECT_EQ(order("createTour", gate, Stops(10000, StopRow("Gate", 0, 1))), "a tour has 1 to 64 stops");
    EXPECT_THAT(presets(), SizeIs(2));
    EXPECT_THAT(tours(), IsEmpty());
    EXPECT_EQ(pipelineService->sessions(), 1u);
}

TEST_F(PositioningObjectTest, signalsFlowAgainAfterTheBusCameBack)
{
    serve();
    restartBus();
    ASSERT_TRUE(waitUntilServed());
    ASSERT_EQ(order("savePreset", gate), "done");
    EXPECT_THAT(client.journal.lines(1), ElementsAre("Gate changed"));
}

TEST_F(PositioningObjectTest, tellsNothingOnceItIsTakenDown)
{
    serve();
    pipelineService.reset();
    unit().savePresetHere("Door");
    device->drain();
    EXPECT_TRUE(eventually([&] { return !client.isServed(service::kPositioning); }));
}

} // namespace
} // namespace pipeline_test
