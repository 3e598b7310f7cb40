// The framework's positioning calls over a positioning unit, and the callbacks that are registered there.
#include "camera/base/Current.h"
#include "camera/framework/PositioningAdapter.h"
#include "unit/camera_ptz/PositioningFixture.h"

#include "korva/meridan/PositioningManager.h"

#include <cmath>

namespace {

using camera::framework::PositioningAdapter;
using korva::meridan::PositioningManager;
using testing::ElementsAre;
using testing::IsEmpty;
using Journal = std::vector<std::string>;

void note(void* context, const std::string& line)
{
    static_cast<Journal*>(context)->push_back(line);
}

void onMotion(bool moving, unsigned int pan, int tilt, unsigned int zoom, void* context)
{
    note(context, (moving ? "moves " : "stands ") + std::to_string(pan) + " " + std::to_string(tilt) + " " +
                      std::to_string(zoom));
}

void onPriority(bool panTilt, bool zoom, unsigned int priority, void* context)
{
    note(context, "priority " + std::to_string(priority) + (panTilt && zoom ? "" : "?"));
}

void onPreset(int state, const std::string& name, bool byTour, const std::string& user, void* context)
{
    note(context, "state " + std::to_string(state) + " " + name + (byTour ? " by " : " for ") + user);
}

void onModified(const std::string& name, bool created, bool changed, bool removed, void* context)
{
    note(context, name + (created ? " created" : "") + (changed ? " changed" : "") + (removed ? " removed" : ""));
}

void onTour(int state, const std::string& name, unsigned int stop, int stopType, void* context)
{
    note(context,
         "tour " + std::to_string(state) + " " + name + " " + std::to_string(stop) + " " + std::to_string(stopType));
}

class PositioningManagerTest : public PositioningFixture {
protected:
    void buildWithAdapter(bool movable = true)
    {
        build(movable);
        adapter = std::make_shared<PositioningAdapter>(unit);
        binding.emplace(adapter);
    }

    void registerAll(Journal& journal)
    {
        EXPECT_TRUE(manager.registerMotionStateCallback(&onMotion, &journal));
        EXPECT_TRUE(manager.registerCommandPriorityCallback(&onPriority, &journal));
        EXPECT_TRUE(manager.registerPresetStateCallback(&onPreset, &journal));
        EXPECT_TRUE(manager.registerPresetModifiedCallback(&onModified, &journal));
        EXPECT_TRUE(manager.registerTourStateCallback(&onTour, &journal));
    }

    PositioningManager& manager = PositioningManager::instance();
    std::shared_ptr<PositioningAdapter> adapter;
    std::optional<camera::base::Current<PositioningAdapter>::Binding> binding;
    unsigned int a = 1;
    unsigned int b = 2;
    unsigned int c = 3;
    int tilt = 4;
};

TEST_F(PositioningManagerTest, answersNothingAndChangesNoOutputWithoutACameraThatMoves)
{
    Journal journal;
    for (const bool bound : {false, true}) {
        if (bound) {
            buildWithAdapter(false);
        }
        EXPECT_FALSE(manager.isAvailable());
        EXPECT_FALSE(manager.getCurrentPosition(a, tilt, b, c));
        EXPECT_FALSE(manager.getAngleOfViewLimits(a, b));
        EXPECT_FALSE(manager.getFocalLengthLimits(a, b));
        EXPECT_FALSE(manager.getSensorDimensions(a, b));
        EXPECT_FALSE(manager.getPresetLocation("Gate", a, tilt, b));
        EXPECT_EQ(std::vector<unsigned int>({a, b, c}), std::vector<unsigned int>({1, 2, 3}));
        EXPECT_EQ(tilt, 4);
        EXPECT_FALSE(manager.goToPreset("Gate", true));
        EXPECT_FALSE(manager.setZoomPosition(200));
        EXPECT_FALSE(manager.startLinearContinuousMovement(true, 1, true, 1, true, 1));
        EXPECT_FALSE(manager.stopLinearContinuousMovement(true, true, true));
        EXPECT_FALSE(manager.registerPresetStateCallback(&onPreset, &journal));
        EXPECT_FALSE(manager.unregisterPresetStateCallback(&onPreset, &journal));
        EXPECT_EQ(manager.getActivePreset(false), "");
    }
    EXPECT_TRUE(queue.empty());
}

TEST_F(PositioningManagerTest, describesALensWhoseNumbersFitEachOther)
{
    buildWithAdapter();
    unsigned int narrow = 0;
    unsigned int wide = 0;
    unsigned int sensorWidth = 0;
    unsigned int sensorHeight = 0;
    EXPECT_TRUE(manager.getAngleOfViewLimits(narrow, wide));
    EXPECT_TRUE(manager.getFocalLengthLimits(a, b));
    EXPECT_TRUE(manager.getSensorDimensions(sensorWidth, sensorHeight));
    EXPECT_LT(narrow, wide);
    EXPECT_LT(a, b);
    EXPECT_GT(sensorWidth, sensorHeight);
    const double half = wide * std::acos(-1.0) / 360000.0;
    EXPECT_NEAR(2.0 * a * std::tan(half), sensorWidth, 1.0);
    EXPECT_EQ(unit->optics().angleOfView(100), wide);
    EXPECT_EQ(wide, 64020u);
}

TEST_F(PositioningManagerTest, describesTheLensOfItsModel)
{
    options.description.optics = {10000, 500, 7000, 4000};
    buildWithAdapter();
    EXPECT_TRUE(manager.getFocalLengthLimits(a, b));
    EXPECT_EQ(std::make_pair(a, b), std::make_pair(10000u, 50000u));
    EXPECT_TRUE(manager.getSensorDimensions(a, b));
    EXPECT_EQ(std::make_pair(a, b), std::make_pair(7000u, 4000u));
    EXPECT_TRUE(manager.getAngleOfViewLimits(a, b));
    EXPECT_EQ(b, 38580u);
}

TEST_F(PositioningManagerTest, movesForAnEngineWithTheEnginesPriority)
{
    buildWithAdapter();
    Journal journal;
    registerAll(journal);
    EXPECT_TRUE(manager.goToPreset("Gate", true));
    EXPECT_EQ(manager.getActivePreset(false), "");
    untilItStands();
    EXPECT_EQ(manager.getActivePreset(false), "Gate");
    EXPECT_TRUE(manager.getCurrentPosition(a, tilt, b, c));
    EXPECT_EQ(a, 10000u);
    EXPECT_EQ(tilt, -5000);
    EXPECT_EQ(b, 200u);
    EXPECT_EQ(c, unit->optics().angleOfView(200));
    EXPECT_TRUE(manager.setZoomPosition(300));
    untilItStands();
    EXPECT_EQ(unit->position().zoom, 300u);
    runPosted();
    EXPECT_THAT(journal,
                ElementsAre("priority 500", "state 1 Gate for an analytics engine", "moves 0 0 100",
                            "state 2 Gate for an analytics engine", "stands 10000 -5000 200", "priority 500",
                            "state 0 Gate for an analytics engine", "moves 10000 -5000 200", "stands 10000 -5000 300"));
}

TEST_F(PositioningManagerTest, passesOnHowPresetsAndToursChange)
{
    buildWithAdapter();
    Journal journal;
    registerAll(journal);
    unit->savePresetHere("Here");
    unit->savePresetHere("Here");
    unit->removePreset("Here");
    unit->createTour({"Round", {{"Yard", std::chrono::seconds(9), 100}}});
    unit->startTour("Round", operator1);
    unit->stopTour(operator1);
    untilItStands();
    runPosted();
    ASSERT_EQ(journal.size(), 9u);
    EXPECT_THAT(Journal(journal.begin(), journal.begin() + 6),
                ElementsAre("Here created", "Here changed", "Here removed", "tour 1 Round 0 0", "priority 400",
                            "state 1 Yard by tour Round"));
    EXPECT_EQ(journal.back(), "tour 0 Round 0 0");
}

TEST_F(PositioningManagerTest, movesTheAxesThatAnEngineNames)
{
    buildWithAdapter();
    const auto pass = [this] { unit->advance(std::chrono::seconds(1)); };
    EXPECT_TRUE(manager.startLinearContinuousMovement(true, -10, false, 99, true, 10));
    pass();
    EXPECT_GT(unit->position().pan, 300000u) << "to the left";
    EXPECT_EQ(unit->position().tilt, 0);
    EXPECT_GT(unit->position().zoom, 100u);
    EXPECT_TRUE(manager.stopLinearContinuousMovement(true, false, false));
    pass();
    EXPECT_TRUE(unit->moving());
    EXPECT_TRUE(manager.stopLinearContinuousMovement(false, false, true));
    untilItStands();
    EXPECT_TRUE(manager.stopLinearContinuousMovement(true, true, true)) << "nothing moves, so it has stopped";
    EXPECT_FALSE(manager.startLinearContinuousMovement(false, 10, false, 10, false, 10));
    EXPECT_FALSE(manager.startLinearContinuousMovement(true, 101, false, 0, false, 0));
}

TEST_F(PositioningManagerTest, refusesAnEngineWhatAnOperatorHolds)
{
    buildWithAdapter();
    unit->drive({10, {}, {}, {}}, operator1);
    EXPECT_FALSE(manager.goToPreset("Gate", true));
    EXPECT_FALSE(manager.setZoomPosition(200));
    EXPECT_FALSE(manager.stopLinearContinuousMovement(true, true, true));
    EXPECT_TRUE(unit->moving());
}

TEST_F(PositioningManagerTest, knowsWhereItsPresetsAreAndNoOthers)
{
    buildWithAdapter();
    ASSERT_TRUE(unit->placeAt("Yard"));
    EXPECT_FALSE(manager.goToPreset("Cellar", false));
    EXPECT_FALSE(manager.goToPreset("", false));
    EXPECT_FALSE(manager.getPresetLocation("Cellar", a, tilt, b));
    EXPECT_EQ(a, 1u);
    EXPECT_EQ(manager.getActivePreset(false), "Yard");
    EXPECT_TRUE(manager.getPresetLocation("Gate", a, tilt, b));
    EXPECT_EQ(a, 10000u);
    EXPECT_EQ(tilt, -5000);
    EXPECT_EQ(b, 200u);
}

TEST_F(PositioningManagerTest, callsOnlyCallbacksThatAreRegisteredWhenTheTaskRunsInTheirOrder)
{
    buildWithAdapter();
    Journal gone;
    Journal journal;
    EXPECT_TRUE(manager.registerPresetModifiedCallback(&onModified, &gone));
    EXPECT_TRUE(manager.registerPresetModifiedCallback(&onModified, &journal));
    EXPECT_TRUE(manager.registerPresetModifiedCallback(&onModified, &journal)) << "a pair counts once";
    EXPECT_TRUE(manager.registerPresetModifiedCallback(
        [](const std::string&, bool, bool, bool, void* context) { note(context, "second"); }, &journal));
    unit->savePresetHere("Here");
    EXPECT_TRUE(manager.unregisterPresetModifiedCallback(&onModified, &gone));
    EXPECT_FALSE(manager.unregisterPresetModifiedCallback(&onModified, &gone));
    EXPECT_FALSE(manager.registerPresetModifiedCallback(nullptr, &gone));
    runPosted();
    EXPECT_THAT(gone, IsEmpty());
    EXPECT_THAT(journal, ElementsAre("Here created", "second"));
}

TEST_F(PositioningManagerTest, doesNotCallACallbackThatAnotherOneUnregistered)
{
    buildWithAdapter();
    Journal journal;
    EXPECT_TRUE(manager.registerPresetModifiedCallback(
        [](const std::string&, bool, bool, bool, void* context) {
            note(context, "first");
            PositioningManager::instance().unregisterPresetModifiedCallback(&onModified, context);
        },
        &journal));
    EXPECT_TRUE(manager.registerPresetModifiedCallback(&onModified, &journal));
    unit->savePresetHere("Here");
    runPosted();
    EXPECT_THAT(journal, ElementsAre("first"));
}

TEST_F(PositioningManagerTest, forgetsEveryCallbackThatIsDiscarded)
{
    buildWithAdapter();
    Journal journal;
    registerAll(journal);
    unit->savePresetHere("Here");
    EXPECT_EQ(adapter->registrations(), 5u);
    adapter->discardRegistrations();
    EXPECT_EQ(adapter->registrations(), 0u);
    runPosted();
    EXPECT_THAT(journal, IsEmpty());
}

TEST_F(PositioningManagerTest, unregistersEveryKindOfCallback)
{
    buildWithAdapter();
    Journal journal;
    registerAll(journal);
    EXPECT_TRUE(manager.unregisterMotionStateCallback(&onMotion, &journal));
    EXPECT_TRUE(manager.unregisterCommandPriorityCallback(&onPriority, &journal));
    EXPECT_TRUE(manager.unregisterPresetStateCallback(&onPreset, &journal));
    EXPECT_TRUE(manager.unregisterPresetModifiedCallback(&onModified, &journal));
    EXPECT_TRUE(manager.unregisterTourStateCallback(&onTour, &journal));
    EXPECT_EQ(adapter->registrations(), 0u);
}

} // namespace
