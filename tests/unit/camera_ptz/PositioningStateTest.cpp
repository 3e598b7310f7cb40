// What outlives a unit.
#include "kit/RowName.h"
#include "unit/camera_ptz/PositioningFixture.h"

#include <functional>
#include <string>
#include <vector>

namespace {

using camera::ptz::CommandResult;
using camera::ptz::Position;
using namespace testing;

class PositioningStateTest : public PositioningFixture {
protected:
    void SetUp() override { build(); }

    std::string refusal(const std::string& document)
    {
        const auto result = unit->restore(document);
        return result.ok() ? "taken" : result.sentence;
    }
};

TEST_F(PositioningStateTest, standsWhereItWasLeft)
{
    ASSERT_TRUE(unit->savePreset({"Hof \xff \"x\"", {1, 2, 300}}));
    ASSERT_TRUE(unit->createTour({"Round", {{"Gate", Milliseconds(1234), 56}}}));
    unit->goToPreset("Gate", operator1);
    untilItStands();
    const std::string document = unit->serialize();

    options.presets.clear();
    build();
    calls.clear();
    EXPECT_TRUE(unit->restore(document));
    EXPECT_EQ(unit->position(), (Position{10000, -5000, 200}));
    EXPECT_EQ(unit->activePreset(), "Gate");
    EXPECT_EQ(unit->presets().size(), 4u);
    EXPECT_EQ(unit->preset("Hof \xff \"x\"")->position, (Position{1, 2, 300}));
    ASSERT_EQ(unit->tours().size(), 1u);
    EXPECT_EQ(unit->tours()[0].stops[0].dwell, Milliseconds(1234));
    EXPECT_EQ(unit->tours()[0].stops[0].speedPercent, 56);
    EXPECT_EQ(unit->serialize(), document);
    EXPECT_THAT(reported(), IsEmpty());
    unit->announceStanding();
    EXPECT_THAT(reported(), ElementsAre("state 2 Gate"));
}

TEST_F(PositioningStateTest, announcesNothingWhenItStandsAtNoPreset)
{
    unit->announceStanding();
    unit->goToPreset("Gate", operator1);
    reported();
    unit->announceStanding();
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(PositioningStateTest, keepsThePresetsThatTheDocumentDoesNotName)
{
    const std::string document = unit->serialize();
    options.presets = {{"Gate", {5, 5, 100}}, {"Shed", {7, 7, 100}}};
    build();
    EXPECT_TRUE(unit->restore(document));
    EXPECT_EQ(unit->presets().size(), 4u);
    EXPECT_EQ(unit->preset("Gate")->position.pan, 10000u);
    EXPECT_EQ(unit->preset("Shed")->position.pan, 7u);
}

TEST_F(PositioningStateTest, takesNothingOfADocumentThatIsNotWhole)
{
    const std::string good = unit->serialize();
    standAt("Gate");
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_THAT(refusal(good.substr(0, length)), HasSubstr("the stored positions cannot be used: "));
    }
    EXPECT_EQ(unit->activePreset(), "Gate");
    EXPECT_EQ(refusal(good), "taken");
}

struct HostileChange {
    std::string what;
    std::string instead;
};

void PrintTo(const HostileChange& row, std::ostream* out)
{
    *out << row.instead;
}

class HostileStateTest : public PositioningStateTest, public WithParamInterface<HostileChange> {
protected:
    std::string document = R"({"version":1,"position":{"pan":0,"tilt":0,"zoom":100},"preset":"A",)"
                           R"("presets":[{"name":"A","pan":0,"tilt":0,"zoom":100}],)"
                           R"("tours":[{"name":"T","stops":[{"preset":"A","dwellMs":5,"speedPercent":9}]}]})";
};

TEST_P(HostileStateTest, isNotUsed)
{
    ASSERT_EQ(refusal(document), "taken");
    const auto& [what, instead] = GetParam();
    ASSERT_THAT(document, HasSubstr(what));
    EXPECT_THAT(refusal(document.replace(document.find(what), what.size(), instead)), HasSubstr("cannot be used: "));
}

INSTANTIATE_TEST_SUITE_P(
    Changes, HostileStateTest,
    Values(HostileChange{"\"version\":1", "\"version\":2"}, HostileChange{"\"pan\":0", "\"pan\":360000"},
           HostileChange{"\"pan\":0", "\"pan\":-1"}, HostileChange{"\"pan\":0", "\"pan\":1e300"},
           HostileChange{"\"pan\":0", "\"pan\":\"0\""}, HostileChange{"\"zoom\":100", "\"zoom\":99"},
           HostileChange{"\"preset\":\"A\"", "\"preset\":\"B\""}, HostileChange{"\"preset\":\"A\"", "\"preset\":7"},
           HostileChange{"\"name\":\"A\"", "\"name\":\"\""}, HostileChange{"\"name\":\"A\"", "\"nom\":\"A\""},
           HostileChange{"\"dwellMs\":5", "\"dwellMs\":99999999999"},
           HostileChange{"\"speedPercent\":9", "\"speedPercent\":0"},
           HostileChange{"\"stops\":[", "\"stops\":7,\"x\":["},
           HostileChange{"[{\"preset\":\"A\",\"dwellMs\":5,\"speedPercent\":9}]", "[]"},
           HostileChange{"\"tours\":[", "\"tours\":[7,"},
           HostileChange{"\"presets\":[", "\"presets\":[{\"name\":\"A\",\"pan\":0,\"tilt\":0,\"zoom\":100},"}),
    [](const auto& info) { return kit::rowName(info.index, info.param.instead); });

TEST_F(PositioningStateTest, refusesWhatIsNoDocument)
{
    EXPECT_THAT(refusal(std::string(100000, '[')), HasSubstr("cannot be used"));
    EXPECT_THAT(refusal(std::string(2000000, ' ')), HasSubstr("larger than"));
    EXPECT_THAT(refusal("[]"), HasSubstr("missing"));
    EXPECT_THAT(refusal(std::string("\0\xff", 2)), HasSubstr("no JSON document"));
}

TEST_F(PositioningStateTest, standsAtNoPresetThatItCannotReachAnyMore)
{
    standAt("Roof");
    const std::string document = unit->serialize();
    options.description.tilt.highest = 5000;
    build();
    EXPECT_TRUE(unit->restore(document));
    EXPECT_EQ(unit->activePreset(), "");
    EXPECT_EQ(unit->position().tilt, 5000);
}

TEST_F(PositioningStateTest, storesListsBeforeTheyChangeAndTellsWhereItStandsNotUnderItsLock)
{
    std::vector<std::string> changes;
    unit->keepListsBy([&](const std::string& document) {
        EXPECT_NE(unit->serialize(), document) << "it has not changed yet; waits for ever with the lock held";
        changes.push_back("lists");
        return "";
    });
    unit->onStanding([&] {
        changes.push_back("standing");
        EXPECT_FALSE(unit->serialize().empty());
    });
    unit->savePresetHere("Here");
    EXPECT_THAT(changes, ElementsAre("lists"));
    unit->createTour({"T", {{"Here", Milliseconds(0), 100}}});
    unit->renamePreset("Here", "There");
    unit->goToPreset("Cellar", operator1);
    unit->goToPreset("There", operator1);
    EXPECT_EQ(changes.size(), 3u);
    unit->advance(Milliseconds(10000));
    EXPECT_THAT(changes, ElementsAre("lists", "lists", "lists", "standing"));
    unit->startTour("T", operator1);
    unit->advance(Milliseconds(10000)); // many arrivals
    EXPECT_EQ(changes.size(), 5u) << "one for all of them";
    unit->stopTour(operator1);
    unit->removeTour("T");
    unit->removePreset("There");
    EXPECT_EQ(changes.back(), "lists");
}

TEST_F(PositioningStateTest, storesWhatACommandLeaves)
{
    std::string stored;
    unit->keepListsBy([&](const std::string& document) {
        stored = document;
        return "";
    });
    unit->savePresetHere("Here");
    EXPECT_EQ(stored, unit->serialize());
    unit->createTour({"T", {{"Here", Milliseconds(0), 100}}});
    EXPECT_EQ(stored, unit->serialize());
    unit->renamePreset("Here", "There");
    EXPECT_EQ(stored, unit->serialize());
    EXPECT_FALSE(unit->renamePreset("nowhere", "There"));
    unit->removePreset("There");
    EXPECT_EQ(stored, unit->serialize());
    unit->removeTour("T");
    EXPECT_EQ(stored, unit->serialize());
}

TEST_F(PositioningStateTest, refusesWhatCannotBeStoredAndStaysAsItWas)
{
    unit->savePresetHere("Here");
    unit->createTour({"T", {{"Here", Milliseconds(0), 100}}});
    standAt("Here");
    const std::string before = unit->serialize();
    unit->keepListsBy([](const std::string&) { return "the disk is full"; });
    const std::vector<std::function<CommandResult()>> commands = {
        [this] { return unit->savePresetHere("There"); },
        [this] {
            return unit->savePreset({"Here", {5000, 0, 100}});
        },
        [this] { return unit->renamePreset("Here", "There"); },
        [this] { return unit->removePreset("Here"); },
        [this] {
            return unit->createTour({"U", {{"Here", Milliseconds(0), 100}}});
        },
        [this] { return unit->removeTour("T"); },
    };
    for (const auto& command : commands) {
        const CommandResult result = command();
        EXPECT_EQ(result.status, Status::notStored);
        EXPECT_EQ(result.sentence, "the disk is full");
        EXPECT_EQ(unit->serialize(), before);
        EXPECT_TRUE(queue.empty()) << "nothing is told";
    }
}

} // namespace
