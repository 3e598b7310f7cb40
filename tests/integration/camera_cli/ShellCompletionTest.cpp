// The scripts of both shells, run by the shells themselves against the program and a camera that answers.
#include "camera/cli/Command.h"
#include "integration/camera_cli/FakeCamera.h"
#include "kit/ChildProcess.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace camera::cli {
namespace {

using namespace testing;

using Words = std::vector<std::string>;

// What a shell is told so that its function of completion runs and prints what it offers, a line each.
struct Shell {
    friend void PrintTo(const Shell& shell, std::ostream* out) { *out << shell.program; }

    std::string program;
    std::string begin;
    std::string (*complete)(const std::string& words, std::size_t count);
};

const Shell kBash = {"bash", "source <(camera completion bash)\n", [](const std::string& words, std::size_t count) {
                         return "COMP_WORDS=(" + words + "); COMP_CWORD=" + std::to_string(count - 1) +
                                "; _camera; printf '%s\\n' \"${COMPREPLY[@]}\"\n";
                     }};

const Shell kZsh = {"zsh",
                    "compdef() { :; }\n"
                    "compset() { :; }\n"
                    "compadd() { shift; (( $# )) && print -rl -- \"$@\"; }\n"
                    "_files() { if [[ $1 == -/ ]]; then print -rl -- *(N-/); else print -rl -- *(N); fi; }\n"
                    "source <(camera completion zsh)\n",
                    [](const std::string& words, std::size_t count) {
                        return "words=(" + words + "); CURRENT=" + std::to_string(count) +
                               "; PREFIX=$words[-1]; _camera\n";
                    }};

class ShellCompletionTest : public testing::TestWithParam<Shell> {
protected:
    void SetUp() override
    {
        if (kit::run({"sh", "-c", "command -v " + GetParam().program}).exitCode != 0) {
            GTEST_SKIP() << GetParam().program << " is missing";
        }
        ::setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
        fake = std::make_unique<FakeCamera>(folder / "s");
        fake->serve();
    }
    void TearDown() override { ::unsetenv("XDG_RUNTIME_DIR"); }

    // What the shell offers for the last of these words, which are as they are typed.
    Words offered(const Words& words)
    {
        std::string typed;
        for (const std::string& word : words) {
            typed += (typed.empty() ? "'" : " '") + word + "'";
        }
        const std::string script = "cd " + (folder / "files").string() + " || exit\n" + GetParam().begin +
                                   GetParam().complete(typed, words.size());
        kit::ChildSettings settings;
        settings.environment = {std::string("PATH=") + CAMERA_PROGRAMS + ":" + std::getenv("PATH")};
        std::filesystem::create_directory(folder / "files");
        const kit::Finished done = kit::run({GetParam().program, "-c", script}, settings);
        EXPECT_EQ(done.err, "");
        Words lines;
        std::istringstream out(done.out);
        for (std::string line; std::getline(out, line);) {
            if (!line.empty()) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    kit::TemporaryFolder folder;
    std::unique_ptr<FakeCamera> fake;
};

TEST_P(ShellCompletionTest, offersEveryCommandAtEveryLevel)
{
    std::map<std::string, Words> following;
    for (const base::Command& command : cameraProgram().commands) {
        const std::size_t blank = command.name.find(' ');
        Words& words = following[command.name.substr(0, blank)];
        if (blank != std::string::npos) {
            words.push_back(command.name.substr(blank + 1));
        }
    }
    Words first = {"--help"};
    for (const auto& [word, words] : following) {
        first.push_back(word);
        if (!words.empty()) {
            EXPECT_THAT(offered({"camera", word, ""}), IsSupersetOf(words));
        }
    }
    EXPECT_THAT(offered({"camera", ""}), UnorderedElementsAreArray(first));
    EXPECT_THAT(offered({"camera", "preset", "re"}), UnorderedElementsAre("remove", "rename"));
    EXPECT_THAT(offered({"camera", "preset", "go", "--p"}), ElementsAre("--priority"));
    EXPECT_THAT(offered({"camera", "nothing", "x"}), IsEmpty());
}

TEST_P(ShellCompletionTest, offersTheValuesOfARunningCamera)
{
    EXPECT_THAT(offered({"camera", "preset", "go", ""}), UnorderedElementsAre("Door", "Gate"));
    EXPECT_THAT(offered({"camera", "preset", "rename", "G"}), ElementsAre("Gate"));
    EXPECT_THAT(offered({"camera", "tour", "create", "T", "Door", ""}), UnorderedElementsAre("Door", "Gate"));
    EXPECT_THAT(offered({"camera", "tour", "start", ""}), ElementsAre("Walk"));
    EXPECT_THAT(offered({"camera", "rules", "delete", ""}), ElementsAre("Gate"));
    EXPECT_THAT(offered({"camera", "fault", "w"}), ElementsAre("window_blanking"));
    EXPECT_THAT(offered({"camera", "fault", "rotate", "s"}), ElementsAre("slow"));
    EXPECT_THAT(offered({"camera", "preset", "go", "--camera", folder / "none", ""}), IsEmpty());
    EXPECT_THAT(offered({"camera", "frames", "record", ""}), UnorderedElementsAre("Motion", "Simple"));
    fake->change()->rules = {"<tt:Rule Name=\"The gate\" Type=\"tt:X\"/>", "<tt:Rule Name=\"$(x) 'y\" Type=\"tt:X\"/>"};
    EXPECT_THAT(offered({"camera", "rules", "delete", ""}), UnorderedElementsAre("The gate", "$(x) 'y"));
    EXPECT_THAT(offered({"camera", "rules", "delete", "The\\ g"}), ElementsAre("The gate"));
}

TEST_P(ShellCompletionTest, offersFixedWordsModelsAndFiles)
{
    EXPECT_THAT(offered({"camera", "daynight", "b"}), ElementsAre("begin"));
    EXPECT_THAT(offered({"camera", "run", "--orientation", "1"}), ElementsAre("180"));
    EXPECT_THAT(offered({"camera", "run", "--model", "ptz"}), UnorderedElementsAre("ptz-dome", "ptz-long-range"));
    std::filesystem::create_directories(folder / "files" / "inner");
    (void)folder.write("files/rule.xml", "x");
    EXPECT_THAT(offered({"camera", "rules", "create", ""}), UnorderedElementsAre("inner", "rule.xml"));
    EXPECT_THAT(offered({"camera", "status", "--camera", ""}), ElementsAre("inner"));
}

// Bash gives its function the pieces between "=" and ":", zsh the whole word.
TEST_P(ShellCompletionTest, completesAValueBehindAnEqualsSign)
{
    const bool bash = GetParam().program == "bash";
    EXPECT_THAT(offered(bash ? Words{"camera", "run", "--speed", "=", "m"} : Words{"camera", "run", "--speed=m"}),
                ElementsAre("max"));
    EXPECT_THAT(offered(bash ? Words{"camera", "run", "--speed", "="} : Words{"camera", "run", "--speed="}),
                UnorderedElementsAre("max", "real"));
    EXPECT_THAT(offered(bash ? Words{"camera", "fault", "a", ":", "b", "s"} : Words{"camera", "fault", "a:b", "s"}),
                ElementsAre("slow"));
}

TEST_P(ShellCompletionTest, completesTheOtherProgramsToo)
{
    EXPECT_THAT(offered({"camera-services", "--ro"}), UnorderedElementsAre("--rotation", "--rotation-service"));
    EXPECT_THAT(offered({"camera-pipeline", "x", "--speed", "m"}), ElementsAre("max"));
}

std::string shellName(const testing::TestParamInfo<Shell>& info)
{
    return info.param.program;
}

INSTANTIATE_TEST_SUITE_P(Shells, ShellCompletionTest, testing::Values(kBash, kZsh), shellName);

} // namespace
} // namespace camera::cli
