// Every row of the page on awkward names, through every command that takes a name.
#include "camera/base/RunOptions.h"
#include "camera/base/Utf8.h"
#include "camera/cli/Command.h"
#include "integration/camera_cli/FakeCamera.h"
#include "kit/TemporaryFolder.h"
#include "unit/hostile/NamesTable.h"

#include <gmock/gmock.h>

namespace camera::cli {
namespace {

using testing::HasSubstr;

using Words = std::vector<std::string>;

// Stands for the name in the words of a command and in the call that it makes.
const std::string kName = "NAME";

struct NamedCommand {
    Words words;
    std::string call;
};

const std::vector<NamedCommand> kCommands = {
    {{"preset", "save", kName}, "positioning.savePreset NAME"},
    {{"preset", "go", kName}, "positioning.goToPreset NAME 100"},
    {{"preset", "rename", kName, kName}, "positioning.renamePreset NAME NAME"},
    {{"preset", "remove", kName}, "positioning.removePreset NAME"},
    {{"tour", "create", kName, kName + ":5:100"}, "positioning.createTour NAME NAME/5000/100"},
    {{"tour", "start", kName}, "positioning.startTour NAME 100"},
    {{"tour", "remove", kName}, "positioning.removeTour NAME"},
    // Neither is there: what there is is asked first.
    {{"rules", "delete", kName, "x", kName}, "analytics.engines"},
    {{"modules", "delete", kName}, "analytics.engines"},
    {{"config", "get", "--preset=" + kName}, "onvif_analytic_service.getPtzPresetConfiguration NAME"},
    {{"frames", "record", kName, "f", "7"}, "onvif_analytic_service.writeFramesToFile NAME FRAMES/f 7"},
    {{"frames", "replay", kName, "f"}, "onvif_analytic_service.readFramesFromFile NAME FRAMES/f false"},
    {{"config", "get", "--preset", kName}, "onvif_analytic_service.getPtzPresetConfiguration NAME"},
    {{"fault", kName, "off"}, "services.setFault NAME off 0"},
};

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
    return text;
}

std::vector<std::string> names()
{
    std::vector<std::string> all = {"-.5",   "-3", "-12.5e3", "a=b",   "a:b",    "1:2:3",
                                    "[a,b]", "[]", "++",      "@file", "preset", "go"};
    for (const hostile::NameRow& row : hostile::readNames(NAMES_PAGE)) {
        all.insert(all.end(), {row.sent, row.kept, row.given});
    }
    return all;
}

class AwkwardNamesTest : public testing::Test {
protected:
    AwkwardNamesTest()
    {
        ::setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
        fake = std::make_unique<FakeCamera>(folder / "s");
        fake->serve();
    }
    ~AwkwardNamesTest() override { ::unsetenv("XDG_RUNTIME_DIR"); }

    // The call that the words make, or the sentence of the refusal, which comes before any call.
    std::string resultOf(const Words& words)
    {
        const std::size_t before = fake->calls().size();
        try {
            EXPECT_EQ(performProgram(cameraProgram(), words, console), 0);
        } catch (const base::UsageError& error) {
            EXPECT_EQ(fake->calls().size(), before);
            return error.what();
        } catch (const CameraError& error) {
            EXPECT_THAT(error.what(), HasSubstr(" list shows the names"));
        }
        // What a change asks afterwards has no name; which engines there are is asked before.
        const std::vector<std::string> calls = fake->calls();
        return calls.at(before + (calls.at(before) == "pipeline.engines" ? 1 : 0));
    }

    kit::TemporaryFolder folder;
    std::FILE* nothing = std::fopen("/dev/null", "w");
    base::Console console{nothing, nothing};
    std::unique_ptr<FakeCamera> fake;
};

TEST_F(AwkwardNamesTest, reachTheCameraAsTheyAreOrAreRefusedInOneSentence)
{
    for (const std::string& name : names()) {
        fake->change()->engine = name;
        std::filesystem::create_directories(folder / "s" / "frames");
        folder.write("s/frames/f", "");
        for (const NamedCommand& command : kCommands) {
            Words words;
            for (const std::string& word : command.words) {
                words.push_back(replaced(word, kName, name));
            }
            const std::string result = resultOf(words);
            if (base::isSendable(name)) {
                EXPECT_EQ(result, replaced(replaced(command.call, kName, name), "FRAMES", folder / "s" / "frames"));
            } else {
                EXPECT_THAT(result, HasSubstr("is not UTF-8 text; write it in UTF-8.")) << command.call;
            }
        }
    }
}

// The process of the pipeline is not asked over the bus: it gets the bytes.
TEST_F(AwkwardNamesTest, areTakenByARunAsTheyAre)
{
    for (const std::string& name : names()) {
        base::Arguments arguments =
            *parseArguments(cameraProgram(), base::runCommand(),
                            {"a", "--preset=" + name, "--place=" + name + "=1,2,3", "--tour=" + name + ":1"});
        const base::RunOptions options = base::runOptions(arguments);
        EXPECT_EQ(options.camera.preset, name);
        EXPECT_EQ(options.places.at(0).name, name);
        EXPECT_EQ(options.tour.back().seconds, 1) << "a comma begins the next preset";
    }
}

// A command that is added with a name has a row above.
TEST_F(AwkwardNamesTest, goThroughEveryCommandThatTakesAName)
{
    const auto isName = [](const base::Value& value) {
        return value.name == "NAME" || value.offer >= base::Offer::presets;
    };
    for (const base::Command& command : cameraProgram().commands) {
        const bool takesName =
            std::any_of(command.arguments.begin(), command.arguments.end(),
                        [&](const base::Argument& argument) { return isName(argument.value); }) ||
            std::any_of(command.options.begin(), command.options.end(),
                        [&](const base::Option& option) { return option.value && isName(*option.value); });
        const bool hasRow = std::any_of(kCommands.begin(), kCommands.end(), [&](const NamedCommand& row) {
            return command.name == row.words[0] || command.name == row.words[0] + " " + row.words[1];
        });
        EXPECT_EQ(hasRow, takesName && command.name != "run") << command.name;
    }
}

} // namespace
} // namespace camera::cli
