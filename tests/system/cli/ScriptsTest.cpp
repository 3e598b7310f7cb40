#include "CameraTest.h"

#include <fstream>
#include <regex>

namespace camera::system_tests {
namespace {

using namespace testing;

const std::string kSource = SOURCE_FOLDER;

// What a person types first: ./run and ./test, and what they say while they install and compile.
class ScriptsTest : public CameraTest {
protected:
    // The functions of the scripts, as a tree has them that lies in the test's folder.
    Words scripted(const std::string& lines) const
    {
        std::filesystem::create_directory(path("scripts"));
        std::filesystem::copy_file(kSource + "/scripts/steps.sh", path("scripts/steps.sh"),
                                   std::filesystem::copy_options::skip_existing);
        return {"setsid", "-w", "bash", "-euo", "pipefail", "-c", ". '" + path("scripts/steps.sh") + "'\n" + lines};
    }

    // A step that prints a line and then waits until it is told to end.
    std::string waitingFor(const std::string& name, const std::string& line, const std::string& gate) const
    {
        run({"mkfifo", path(gate)});
        return "step '" + name + "' bash -c 'echo \"" + line + "\"; read <\"" + path(gate) + "\"; echo over'";
    }

    void expectSays(const std::string& printed, const std::string& said) const
    {
        const ChildProcess process(scripted(waitingFor("some step", printed, "gate")));
        EXPECT_TRUE(eventually([&] { return std::regex_search(process.err(), std::regex("some step: " + said)); }))
            << process.err();
        std::ofstream(path("gate")) << "end\n";
        EXPECT_TRUE(eventually([&] { return !process.runs(); }));
        EXPECT_EQ(process.exitCode(), 0);
        std::filesystem::remove(path("gate"));
    }
};

TEST_F(ScriptsTest, aStepThatTakesLongSaysItsNameACountAndTheTime)
{
    expectSays("[3/70] Building CXX object x.o", "3 of 70, 0:[0-9][0-9]\n");
    expectSays("dlstatus:4:37.2512:Retrieving file 4 of 5 (2s remaining)", "downloading 4 of 5, 37 %, 0:[0-9][0-9]\n");
    expectSays("0 upgraded, 214 newly installed, 0 to remove.\npmstatus:a:1.5:Unpacking a (amd64)",
               "unpacking 1 of 214, 0:[0-9][0-9]\n");
    expectSays("0 upgraded, 7 newly installed, 0 to remove.\npmstatus:a:9.5:Installed a (amd64)",
               "setting up 1 of 7, 0:[0-9][0-9]\n");
    expectSays("nothing that counts", "0:[0-9][0-9]\n");
}

TEST_F(ScriptsTest, aStepThatFailsShowsWhatItPrintedLastAndWhereTheRestIs)
{
    const Finished done = run(scripted("step compile bash -c 'echo \"[1/2] Building a.o\"; echo \"FAILED: b.o\"; "
                                       "echo \"b.cpp:1: error: no\"; echo \"[2/2] Building c.o\"; exit 7'"));
    EXPECT_EQ(done.exitCode, 7);
    EXPECT_EQ(done.out, "");
    EXPECT_THAT(done.err,
                EndsWith("FAILED: b.o\nb.cpp:1: error: no\ncompile: failed with 7; all that it printed is in " +
                         path("build/log/compile.log") + "\n"));
    EXPECT_THAT(read(path("build/log/compile.log")), HasSubstr("[2/2] Building c.o\n"));
}

TEST_F(ScriptsTest, aStepThatIsInterruptedEndsTheScript)
{
    const Finished done =
        run(scripted("step compile bash -c 'kill -INT 0; read <\"" + path("never") + "\"'\necho goes on\n"));
    EXPECT_EQ(done.exitCode, 130);
    EXPECT_EQ(done.out, "");
    EXPECT_THAT(done.err, HasSubstr("compile: interrupted\n"));
}

TEST_F(ScriptsTest, aDiskThatIsFullIsNoReasonToSayNothing)
{
    write("build", "a file in the place of the folder");
    const Finished done = run(scripted("step compile bash -c 'echo \"no space left\"; exit 1'"));
    EXPECT_EQ(done.exitCode, 1);
    EXPECT_THAT(done.err, EndsWith("no space left\ncompile: failed with 1\n"));
}

TEST_F(ScriptsTest, withoutAHomeTheCacheLiesBelowTheBuildFolder)
{
    const std::string show = "echo ${XDG_CACHE_HOME:-none} ${CCACHE_DIR:-none}";
    Words words = scripted(show);
    words.insert(words.begin(), {"env", "-u", "HOME", "-u", "XDG_CACHE_HOME", "-u", "CCACHE_DIR"});
    EXPECT_EQ(run(words).out, path("build/cache") + " " + path("build/cache/ccache") + "\n");
    words = scripted(show);
    words.insert(words.begin(), {"env", "-u", "XDG_CACHE_HOME", "-u", "CCACHE_DIR", "HOME=" + path("home")});
    EXPECT_EQ(run(words).out, "none none\n");
}

TEST_F(ScriptsTest, wrongArgumentsOfTestEndWith2BeforeAnythingIsInstalled)
{
    for (const Words& wrong : std::vector<Words>{{"--preset", "nosuch"},
                                                 {"--preset"},
                                                 {"--label", "nosuch"},
                                                 {"-j", "many"},
                                                 {"-j", "0"},
                                                 {"-j"},
                                                 {"--nosuch"}}) {
        Words words = {kSource + "/test"};
        words.insert(words.end(), wrong.begin(), wrong.end());
        const Finished done = run(words);
        EXPECT_EQ(done.exitCode, 2) << wrong.front();
        EXPECT_THAT(done.err, StartsWith("test: "));
    }
    EXPECT_THAT(run({kSource + "/test", "--help"}).out, StartsWith("Builds the tree and runs its tests.\n"));
    EXPECT_THAT(run({kSource + "/run", "--help"}).out, StartsWith("Builds the virtual camera and runs it.\n"));
}

} // namespace
} // namespace camera::system_tests
