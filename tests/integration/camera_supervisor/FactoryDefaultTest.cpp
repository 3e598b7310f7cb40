#include "camera/supervisor/FactoryDefault.h"

#include "camera/ptz/PositioningDocument.h"
#include "camera/store/FolderCopy.h"
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"
#include "kit/ForkedProcess.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>
#include <unistd.h>

namespace camera::supervisor {
namespace {

namespace fs = std::filesystem;
using namespace testing;

/// The state folder of a camera that was used.
class FactoryDefaultTest : public Test {
protected:
    FactoryDefaultTest() { fill(); }

    void fill()
    {
        ptz::PositioningState places;
        places.presets = {{"Door", {1000, 2000, 300}}};
        places.tours = {{"Round", {{"Door"}}}};
        const store::StateLock lock(state);
        const store::StateLock ofServices(state / "services");
        store::SettingsStore settings(state);
        settings.write(ptz::kPositioningKey, ptz::writePositioning(places));
        settings.write("OnvifAnalytics", "a secret rule");
        store::SettingsStore(state / "services").write("rotate", "90");
        fs::create_directories(state / "gateway");
        write("gateway/users", "root:Administrator:x\n");
        write("camera.json", R"({"engines":["/e.so"],"model":"m","movable":true})"
                             "\n");
        write("last-frame-time", "7\n");
        write("settings.db.damaged-x", "a secret rule");
    }

    void write(const std::string& name, const std::string& content) const { std::ofstream(state / name) << content; }

    bool has(const std::string& name) const { return fs::exists(state / name); }

    // The presets of the camera, and its tours.
    std::vector<std::string> places() const
    {
        const store::StateLock lock(state);
        store::SettingsStore settings(state);
        EXPECT_EQ(settings.read("OnvifAnalytics"), std::nullopt);
        ptz::PositioningState places;
        const std::optional<std::string> document = settings.read(ptz::kPositioningKey);
        if (document) {
            EXPECT_EQ(ptz::readPositioning(*document, places), "");
        }
        std::vector<std::string> names;
        for (const ptz::Preset& preset : places.presets) {
            names.push_back(preset.name);
        }
        for (const ptz::Tour& tour : places.tours) {
            names.push_back("tour " + tour.name);
        }
        return names;
    }

    bool holdsTheSecret() const
    {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(state)) {
            if (entry.is_regular_file() && kit::contentOf(entry.path()).find("secret") != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    void expectRestored(bool hard) const
    {
        EXPECT_FALSE(has("factory-default") || has("factory-default.kept") || has("services/settings.db"));
        EXPECT_EQ(kit::contentOf(state / "camera.json"),
                  R"({"engines":["/e.so"],"factoryDue":true,"model":"m","movable":true})"
                  "\n");
        EXPECT_EQ(kit::contentOf(state / "last-frame-time"), "7\n") << "times go on";
        EXPECT_EQ(has("gateway/users"), !hard);
        EXPECT_EQ(has("settings.db.damaged-x"), !hard);
        EXPECT_EQ(has("settings.db"), !hard);
        EXPECT_EQ(places(), hard ? std::vector<std::string>() : std::vector<std::string>{"Door"});
    }

    kit::TemporaryFolder folder;
    const fs::path state = folder / "state";
};

TEST_F(FactoryDefaultTest, aSoftOneKeepsPresetsAndWhatTheGatewayStores)
{
    beginFactoryDefault(state, false);
    finishFactoryDefault(state);
    expectRestored(false);
}

TEST_F(FactoryDefaultTest, aHardOneKeepsNothingThatWasSet)
{
    beginFactoryDefault(state, true);
    finishFactoryDefault(state);
    EXPECT_FALSE(holdsTheSecret());
    expectRestored(true);
}

TEST_F(FactoryDefaultTest, nothingIsDoneThatIsNotNoted)
{
    finishFactoryDefault(state);
    EXPECT_TRUE(has("settings.db") && has("services/settings.db") && has("settings.db.damaged-x"));
    EXPECT_THAT(kit::contentOf(state / "camera.json"), Not(HasSubstr("factoryDue")));
}

TEST_F(FactoryDefaultTest, aFolderWithoutAnythingInItIsAsGood)
{
    fs::remove_all(state);
    const fs::path empty = folder / "empty";
    fs::create_directory(empty);
    for (const bool hard : {false, true}) {
        beginFactoryDefault(empty, hard);
        finishFactoryDefault(empty);
        EXPECT_FALSE(fs::exists(empty / "factory-default") || fs::exists(empty / "camera.json"));
    }
}

TEST_F(FactoryDefaultTest, aDamagedCameraFileIsLeftToThePipeline)
{
    write("camera.json", "{");
    beginFactoryDefault(state, true);
    finishFactoryDefault(state);
    EXPECT_EQ(kit::contentOf(state / "camera.json"), "{");
    EXPECT_FALSE(has("factory-default"));
}

// Each is a moment at which a process may be killed, from the first to the last.
TEST_F(FactoryDefaultTest, aProcessThatIsKilledAtAnyMomentLeavesTheRestToTheNextOne)
{
    const std::vector<std::function<bool()>> moments = {
        [] { return true; },
        [this] { return has("factory-default.kept"); },
        [this] { return !has("settings.db"); },
        [this] { return !has("services/settings.db"); },
        [this] { return has("settings.db") && !has("services/settings.db"); },
        [this] { return kit::contentOf(state / "camera.json").find("factoryDue") != std::string::npos; },
        [this] { return has("factory-default") && !has("factory-default.kept") && !has("services/settings.db"); },
        [this] { return !has("factory-default"); },
    };
    for (const bool hard : {false, true}) {
        for (std::size_t i = 0; i < moments.size(); ++i) {
            fs::remove_all(state);
            fill();
            beginFactoryDefault(state, hard);
            const kit::ForkedProcess killed([&] {
                std::atomic<bool> done{false};
                std::thread works([&] {
                    finishFactoryDefault(state);
                    done = true;
                });
                while (!moments[i]() && !done) {
                }
                ::raise(SIGKILL);
            });
            finishFactoryDefault(state);
            SCOPED_TRACE(i);
            expectRestored(hard);
        }
    }
}

TEST_F(FactoryDefaultTest, aCopyOfTheFolderIsBroughtBackToo)
{
    beginFactoryDefault(state, true);
    const store::FolderCopy copy(state);
    finishFactoryDefault(copy.path());
    EXPECT_FALSE(fs::exists(copy.path() / "settings.db"));
    EXPECT_TRUE(has("settings.db")) << "a look changes nothing";
}

} // namespace
} // namespace camera::supervisor
