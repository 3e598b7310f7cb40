// One small table: what is parsed, refused, printed and completed by it.
#include "camera/base/CommandLine.h"
#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace camera::base {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Count = Argument::Count;
using Words = std::vector<std::string>;

const Value kPreset = nameValue("NAME", Offer::presets);

Program door()
{
    return {"door",
            "A door.",
            "Doors are closed at first.\n",
            {Command("lock go", "Locks it.").takes(kPreset, "the lock").flag("-v", "log more"),
             Command("lock list", "Lists the locks.").flag("--json", "print JSON"),
             Command("open", "Opens it.")
                 .takes(choiceValue("SIDE", {"left", "right"}), "the side")
                 .takes(decimalValue("WIDTH", -1, 1), "metres", Count::optional)
                 .option("--for", wholeValue("S", 1, 60), "seconds")
                 .option("--with", kPreset, "a key", Option::Count::repeatable),
             Command("paint", "Paints it.")
                 .option("--pot", {"FILE", Offer::files}, "the paint", Option::Count::required)
                 .takes({"PART"}, "a part", Count::oneOrMore)},
            [](Offer offer, const Arguments& arguments) {
                return offer == Offer::presets ? Words{"Gate", "Garden gate", "a\nb", "room " + arguments.text("--for")}
                                               : Words();
            }};
}

Arguments parsed(const std::string& name, const Words& words)
{
    const Program program = door();
    for (const Command& command : program.commands) {
        if (command.name == name) {
            return parseArguments(program, command, words).value();
        }
    }
    throw std::logic_error(name);
}

std::string refused(const std::string& name, const Words& words)
{
    return kit::refusalOf<UsageError>([&] { parsed(name, words); });
}

TEST(CommandLineTest, readsOptionsAndArgumentsInAnyOrder)
{
    const Arguments arguments = parsed("open", {"--for", "7", "left", "--with=a=b", "-.5", "--with", "c"});
    EXPECT_EQ(arguments.whole("--for"), 7);
    EXPECT_EQ(arguments.text("SIDE"), "left");
    EXPECT_EQ(arguments.decimal("WIDTH"), -0.5);
    EXPECT_THAT(arguments.all("--with"), ElementsAre("a=b", "c"));
    EXPECT_EQ(parsed("open", {"left"}).whole("--for", 3), 3);
    EXPECT_EQ(parsed("lock go", {"-v", "x", "-v"}).count("-v"), 2U);
    EXPECT_THAT(parsed("paint", {"--pot", "p", "a", "--", "--pot"}).all("PART"), ElementsAre("a", "--pot"));
}

TEST(CommandLineTest, refusesInOneSentence)
{
    const std::string see = "; see door open --help.";
    EXPECT_EQ(refused("open", {}), "door open: left|right is missing" + see);
    EXPECT_EQ(refused("open", {"up"}), "door open takes left or right, not 'up'.");
    EXPECT_EQ(refused("open", {"left", "1", "2"}), "door open: '2' is too much" + see);
    EXPECT_EQ(refused("open", {"left", "1.5"}), "door open: WIDTH takes a number from -1 to 1, not '1.5'.");
    EXPECT_EQ(refused("open", {"left", "", "2"}), "door open: WIDTH is empty" + see);
    EXPECT_EQ(refused("open", {"left", "--for", "x"}), "--for takes a whole number from 1 to 60, not 'x'.");
    EXPECT_EQ(refused("open", {"left", "--for=1", "--for", "2"}), "door open: --for is given twice; once is enough.");
    EXPECT_EQ(refused("open", {"left", "--for"}), "door open: --for needs S after it.");
    EXPECT_EQ(refused("open", {"left", "--for", "--with=x"}), "door open: --for needs S after it.");
    EXPECT_EQ(refused("open", {"left", "--with", "\xff"}), "--with: '\xff' is not UTF-8 text; write it in UTF-8.");
    EXPECT_EQ(refused("open", {"left", "-x"}), "door open: there is no option -x" + see);
    EXPECT_EQ(refused("lock list", {"--json=1"}), "door lock list: --json takes no value.");
    EXPECT_EQ(refused("paint", {"a"}), "door paint: --pot FILE is missing; see door paint --help.");
    EXPECT_EQ(refused("paint", {"a", "--pot="}), "door paint: --pot is given an empty value; see door paint --help.");
}

TEST(CommandLineTest, takesNumbersWithDigitsOnly)
{
    for (const std::string text : {"", "nan", "inf", "0x1", "1e0", "1-0", "0.1.2", " 1", "1 ", "--1", "+-1"}) {
        EXPECT_THROW(decimalNumber("N", text, -9, 9), UsageError) << text;
    }
    EXPECT_EQ(decimalNumber("N", "+2.5", -9, 9), 2.5);
    EXPECT_EQ(decimalNumber("N", "-.5", -9, 9), -0.5);
    EXPECT_EQ(decimalNumber("N", "5.", -9, 9), 5);
}

TEST(CommandLineTest, helpIsPrintedAtEveryLevel)
{
    EXPECT_EQ(programHelp(door()), "usage: door COMMAND [ARGUMENT]...\n\nA door.\n\n"
                                   "  lock go NAME                              Locks it.\n"
                                   "  lock list                                 Lists the locks.\n"
                                   "  open left|right [WIDTH]                   Opens it.\n"
                                   "  paint --pot FILE PART...                  Paints it.\n"
                                   "\ndoor COMMAND --help tells more about a command.\n"
                                   "Doors are closed at first.\nExit codes: 0 done, 1 failed, 2 wrong arguments.\n");
    EXPECT_EQ(programHelp(door(), "lock"), "usage: door lock COMMAND [ARGUMENT]...\n\n"
                                           "  lock go NAME                              Locks it.\n"
                                           "  lock list                                 Lists the locks.\n"
                                           "\ndoor lock COMMAND --help tells more about a command.\n"
                                           "Exit codes: 0 done, 1 failed, 2 wrong arguments.\n");
    EXPECT_EQ(commandHelp(door(), door().commands[2]),
              "usage: door open left|right [WIDTH] [OPTION]...\n\nOpens it.\n\n"
              "  left|right                  the side\n"
              "  [WIDTH]                     metres\n"
              "  --for S                     seconds\n"
              "  --with NAME                 a key (may be repeated)\n"
              "  -h, --help                  print this text\n"
              "\nExit codes: 0 done, 1 failed, 2 wrong arguments.\n");
}

TEST(CommandLineTest, completesEveryLevel)
{
    const auto completed = [](const Words& words) { return completions(door(), words); };
    EXPECT_THAT(completed({""}), ElementsAre("words", "--help", "lock", "open", "paint"));
    EXPECT_THAT(completed({"l"}), ElementsAre("words", "lock"));
    EXPECT_THAT(completed({"lock", ""}), ElementsAre("words", "--help", "go", "list"));
    EXPECT_THAT(completed({"lock", "x", ""}), ElementsAre("words"));
    EXPECT_THAT(completed({"walk", ""}), ElementsAre("words"));
    EXPECT_THAT(completed({"lock", "go", "Ga"}), ElementsAre("words", "Garden gate", "Gate"));
    EXPECT_THAT(completed({"lock", "go", "Gate", ""}), ElementsAre("words", "--help", "-v"));
    EXPECT_THAT(completed({"lock", "go", "-"}), ElementsAre("words", "--help", "-v"));
    EXPECT_THAT(completed({"lock", "go", "--", "-"}), ElementsAre("words"));
    EXPECT_THAT(completed({"open", ""}), ElementsAre("words", "left", "right"));
    EXPECT_THAT(completed({"open", "--for", "1", "--"}), ElementsAre("words", "--help", "--with"));
    EXPECT_THAT(completed({"open", "--for=3", "--with", "r"}), ElementsAre("words", "room 3"));
    EXPECT_THAT(completed({"open", "--for", "4", "--with=r"}), ElementsAre("words", "room 4"));
    EXPECT_THAT(completed({"paint", "--pot", ""}), ElementsAre("files"));
    EXPECT_THAT(completed({"paint", "--pot=x"}), ElementsAre("files"));
    EXPECT_THAT(completed({"open", "--nothing=x"}), ElementsAre("words"));
    EXPECT_THAT(completed({}), testing::Contains("lock"));
}

// What is printed without a command, with standard output being this file.
class StandardOutputTest : public testing::TestWithParam<Words> {
protected:
    static int codeOf(const std::string& file)
    {
        std::fflush(stdout);
        const int before = ::dup(STDOUT_FILENO);
        const int other = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        ::dup2(other, STDOUT_FILENO);
        ::close(other);
        Console console(stdout, stderr);
        const int code = performProgram(door(), GetParam(), console);
        std::clearerr(stdout);
        ::dup2(before, STDOUT_FILENO);
        ::close(before);
        return code;
    }
};

TEST_P(StandardOutputTest, hasACodeThatSaysWhetherItWasPrinted)
{
    EXPECT_EQ(codeOf("/dev/null"), 0);
    EXPECT_EQ(codeOf("/dev/full"), 1);
}

INSTANTIATE_TEST_SUITE_P(Texts, StandardOutputTest,
                         testing::Values(Words{"--help"}, Words{"-h"}, Words{"help"}, Words{"lock", "--help"},
                                         Words{"lock", "go", "--help"}, Words{"open", "-h", "x"}, Words{"--man"},
                                         Words{"--complete", "l"}));

TEST(CommandLineTest, performsTheCommandThatTheWordsName)
{
    Program program = door();
    std::string done;
    for (Command& command : program.commands) {
        command.does([&done, name = command.name](const Arguments&, Console&) {
            done = name;
            return 7;
        });
    }
    Console console(stdout, stderr);
    EXPECT_EQ(performProgram(program, {"lock", "list"}, console), 7);
    EXPECT_EQ(done, "lock list");
    EXPECT_EQ(performProgram(program, {"open", "left"}, console), 7);
    EXPECT_EQ(done, "open");
    EXPECT_THROW(performProgram(program, {}, console), UsageError);
    EXPECT_THROW(performProgram(program, {"lock"}, console), UsageError);
}

TEST(CommandLineTest, theManPageEscapesWhatRoffWouldRead)
{
    const std::string page = manPage({"door", "A door.", ".TP\n'x \\n\n", door().commands});
    EXPECT_THAT(page, HasSubstr(".SS \"door open left|right [WIDTH]\"\nOpens it.\n"));
    EXPECT_THAT(page, HasSubstr(".TP\n.B \\-\\-for S\nseconds\n"));
    EXPECT_THAT(page, HasSubstr(".nf\n\\&.TP\n\\&'x \\en\n.fi\n"));
}

} // namespace
} // namespace camera::base
