// One small table: what is parsed, refused, printed and completed by it.
#include "camera/base/CommandLine.h"
#include "camera/base/Log.h"
#include "camera/base/ProgramFrame.h"
#include "kit/Refusal.h"
#include "kit/RowName.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <stdexcept>
#include <unistd.h>
#include <utility>

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
    EXPECT_EQ(parsed("lock go", {"x", "-vvv"}).count("-v"), 3U);
    EXPECT_THAT(parsed("paint", {"--pot", "p", "a", "--", "--pot"}).all("PART"), ElementsAre("a", "--pot"));
}

struct Refused {
    const char* command;
    Words words;
    std::string sentence;
};

void PrintTo(const Refused& row, std::ostream* out)
{
    *out << testing::PrintToString(row.words);
}

class RefusedCommandLineTest : public testing::TestWithParam<Refused> {};

TEST_P(RefusedCommandLineTest, isOneSentence)
{
    EXPECT_EQ(refused(GetParam().command, GetParam().words), GetParam().sentence);
}

INSTANTIATE_TEST_SUITE_P(
    Words, RefusedCommandLineTest,
    testing::Values(
        Refused{"open", {}, "door open: left|right is missing; see door open --help."},
        Refused{"open", {"up"}, "door open takes left or right, not 'up'."},
        Refused{"open", {"left", "1", "2"}, "door open: '2' is too much; see door open --help."},
        Refused{"open", {"left", "1.5"}, "door open: WIDTH takes a number from -1 to 1, not '1.5'."},
        Refused{"open", {"left", "", "2"}, "door open: WIDTH is empty; see door open --help."},
        Refused{"open", {"left", "--for", "x"}, "--for takes a whole number from 1 to 60, not 'x'."},
        Refused{"open", {"left", "--for=1", "--for", "2"}, "door open: --for is given twice; once is enough."},
        Refused{"open", {"left", "--for"}, "door open: --for needs S after it."},
        Refused{"open", {"left", "--for", "--with=x"}, "door open: --for needs S after it."},
        Refused{"open", {"left", "--with", "\xff"}, "--with: '\xff' is not UTF-8 text; write it in UTF-8."},
        Refused{"open", {"left", "-x"}, "door open: there is no option -x; see door open --help."},
        Refused{"open", {"left", "-xx"}, "door open: there is no option -xx; see door open --help."},
        Refused{"lock go", {"x", "-vx"}, "door lock go: there is no option -vx; see door lock go --help."},
        Refused{"lock list", {"--json=1"}, "door lock list: --json takes no value."},
        Refused{"paint", {"a"}, "door paint: --pot FILE is missing; see door paint --help."},
        Refused{"paint", {"a", "--pot="}, "door paint: --pot is given an empty value; see door paint --help."}),
    [](const auto& info) { return kit::rowName(info.index, testing::PrintToString(info.param.words)); });

TEST(CommandLineTest, takesNumbersWithDigitsOnly)
{
    for (const std::string text : {"", "nan", "inf", "0x1", "1e0", "1-0", "0.1.2", " 1", "1 ", "--1", "+-1"}) {
        EXPECT_THROW(decimalNumber("N", text, -9, 9), UsageError) << text;
    }
    EXPECT_THROW(decimalNumber("N", "0.100000001", -0.1, 0.1), UsageError);
    EXPECT_THROW(decimalNumber("N", "-0.100000001", -0.1, 0.1), UsageError);
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
                                   "door --version prints the version.\n"
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

struct Completed {
    Words words;
    Words offered;
};

void PrintTo(const Completed& row, std::ostream* out)
{
    *out << testing::PrintToString(row.words);
}

class CompletionTest : public testing::TestWithParam<Completed> {};

TEST_P(CompletionTest, offersWhatMayStandThere)
{
    EXPECT_EQ(completions(door(), GetParam().words), GetParam().offered);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, CompletionTest,
    testing::Values(Completed{{""}, {"words", "--help", "lock", "open", "paint"}}, Completed{{"l"}, {"words", "lock"}},
                    Completed{{"lock", ""}, {"words", "--help", "go", "list"}}, Completed{{"lock", "x", ""}, {"words"}},
                    Completed{{"walk", ""}, {"words"}},
                    Completed{{"lock", "go", "Ga"}, {"words", "Garden gate", "Gate"}},
                    Completed{{"lock", "go", "Gate", ""}, {"words", "--help", "-v"}},
                    Completed{{"lock", "go", "-"}, {"words", "--help", "-v"}},
                    Completed{{"lock", "go", "--", "-"}, {"words"}},
                    Completed{{"open", ""}, {"words", "left", "right"}},
                    Completed{{"open", "--for", "1", "--"}, {"words", "--help", "--with"}},
                    Completed{{"open", "--for=3", "--with", "r"}, {"words", "room 3"}},
                    Completed{{"open", "--for", "4", "--with=r"}, {"words", "room 4"}},
                    Completed{{"paint", "--pot", ""}, {"files"}}, Completed{{"paint", "--pot=x"}, {"files"}},
                    Completed{{"open", "--nothing=x"}, {"words"}}),
    [](const auto& info) { return kit::rowName(info.index, testing::PrintToString(info.param.words)); });

TEST(CommandLineTest, completesNothingByNamingEveryCommand)
{
    EXPECT_THAT(completions(door(), {}), testing::Contains("lock"));
}

/// Standard output is this descriptor as long as it lives.
class OutputTo {
public:
    explicit OutputTo(int descriptor) : _before(::dup(STDOUT_FILENO))
    {
        std::fflush(stdout);
        ::dup2(descriptor, STDOUT_FILENO);
        ::close(descriptor);
    }
    ~OutputTo()
    {
        std::clearerr(stdout);
        ::dup2(_before, STDOUT_FILENO);
        ::close(_before);
    }

private:
    const int _before;
};

// What is printed without a command, with standard output being this file.
class StandardOutputTest : public testing::TestWithParam<Words> {
protected:
    static int codeOf(const char* file)
    {
        const OutputTo output(::open(file, O_WRONLY | O_CLOEXEC));
        Console console(stdout, stderr);
        return performProgram(door(), GetParam(), console);
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
    const auto refusal = [&](const Words& words) {
        return kit::refusalOf<UsageError>([&] { performProgram(program, words, console); });
    };
    EXPECT_EQ(refusal({}), "a command is missing; see door --help.");
    EXPECT_EQ(refusal({"walk"}), "there is no command 'walk'; see door --help.");
    EXPECT_EQ(refusal({"lock"}), "door lock: what to do is missing: one of go, list.");
    EXPECT_EQ(refusal({"lock", "x"}), "door lock: 'x' is none of go, list.");
}

/// The exit code of a program with one command, and what it said.
std::string endingOf(const char* file, const std::function<int(Console&)>& does)
{
    Command command("", "Opens it.");
    command.does([&does](const Arguments&, Console& console) { return does(console); });
    std::string name = "door";
    char* const words[] = {name.data(), nullptr};
    int ends[2] = {::open(file, O_WRONLY | O_CLOEXEC), -1};
    if (ends[0] < 0) { // a pipe that nobody reads
        EXPECT_EQ(::pipe(ends), 0);
        ::close(std::exchange(ends[0], ends[1]));
    }
    const OutputTo output(ends[0]);
    testing::internal::CaptureStderr();
    const int code = runProgram(1, const_cast<char**>(words), {"door", "A door.", "", {command}});
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_IGN);
    EXPECT_EQ(std::signal(SIGXFSZ, SIG_DFL), SIG_IGN);
    return std::to_string(code) + " " + testing::internal::GetCapturedStderr();
}

TEST(RunProgramTest, endsWithACodeAndSaysWhatFailed)
{
    EXPECT_EQ(endingOf("/dev/null", [](Console&) { return 0; }), "0 ");
    EXPECT_EQ(endingOf("/dev/null", [](Console&) { return 7; }), "7 ");
    EXPECT_EQ(endingOf("/dev/null", [](Console&) -> int { throw UsageError("wrong"); }), "2 camera: wrong.\n");
    EXPECT_EQ(endingOf("/dev/null", [](Console&) -> int { throw std::runtime_error("no"); }), "1 camera: no.\n");
    EXPECT_THAT(endingOf("/dev/null", [](Console&) -> int { throw std::bad_alloc(); }), HasSubstr("too little memory"));
}

TEST(RunProgramTest, saysWhenItsOutputIsLostUnlessNobodyReadsItOrMoreHasFailed)
{
    const auto line = [](int code) {
        return [code](Console& console) {
            console.line("open");
            return code;
        };
    };
    EXPECT_EQ(endingOf("/dev/full", line(0)), "1 camera: the output could not be written; make room where it goes.\n");
    EXPECT_EQ(endingOf("/dev/full", line(3)), "3 ");
    EXPECT_EQ(endingOf("", line(0)), "141 ");
    EXPECT_EQ(endingOf("", line(3)), "3 ");
}

TEST(RunProgramTest, theLogIsNoLongerWrittenByTheConsole)
{
    std::string written;
    endingOf("/dev/null", [&written](Console&) {
        Log::instance().setWriter([&written](const std::string& line) { written += line; });
        return 0;
    });
    testing::internal::CaptureStderr();
    Log::instance().write(LogLevel::error, "door", "late");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("door: late"));
    EXPECT_EQ(written, "");
}

TEST(CommandLineTest, theManPageEscapesWhatRoffWouldRead)
{
    const std::string page = manPage({"door", "A door.", ".TP\n'x \\n\n", door().commands});
    EXPECT_THAT(page, HasSubstr(".SS \"door open left|right [WIDTH]\"\nOpens it.\n"));
    EXPECT_THAT(page, HasSubstr(".TP\n.B \\-\\-for S\nseconds\n"));
    EXPECT_THAT(manPage({"door", std::string(65, 'x') + " door that opens.", "", {Command("", "Opens it.")}}),
                HasSubstr(std::string(65, 'x') + " door\nthat opens.\n.SH SYNOPSIS\ndoor [OPTION]...\n"));
    EXPECT_THAT(page, HasSubstr(".nf\n\\&.TP\n\\&'x \\en\n.fi\n"));
}

} // namespace
} // namespace camera::base
