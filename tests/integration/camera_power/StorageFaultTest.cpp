// The file system refuses: at any call, once or from then on. Clients are told, frames go on, and what stands
// on the disk is what the next start works with.
#include "integration/camera_power/DiskWatch.h"
#include "integration/camera_power/PowerFixture.h"

#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ServiceApi.h"

#include <cerrno>
#include <functional>
#include <iostream>

namespace {

using namespace testing;

struct Case {
    const char* name;
    DiskWatch::Fault fault;
    const char* reason; ///< what a person reads
};

const Case kCases[] = {
    {"NoSpaceOnce", {ENOSPC, false, false}, "no space is left for it"},
    {"NoSpaceFromThenOn", {ENOSPC, true, false}, "no space is left for it"},
    {"NoSpaceAfterHalfAWrite", {ENOSPC, true, true}, "no space is left for it"},
    {"DeviceErrorOnce", {EIO, false, false}, "disk I/O error (Input/output error)"},
    {"DeviceErrorFromThenOn", {EIO, true, false}, "disk I/O error (Input/output error)"},
    {"ReadOnlyOnce", {EROFS, false, false}, "Read-only file system"},
    {"ReadOnlyFromThenOn", {EROFS, true, false}, "Read-only file system"},
};

class FaultTest : public PowerFixture {
protected:
    explicit FaultTest(DiskWatch::Fault disksFault) : fault(disksFault) {}

    // A device with documents, ended in order; with a log left behind when it is not.
    void SetUp() override
    {
        PowerFixture::SetUp();
        start();
        ASSERT_TRUE(configure("first"));
        start();
        ASSERT_TRUE(configure("second"));
        second = storedDocument();
        leftRunning = readFiles(state);
        leftRunning.erase("settings.db-shm");
        stop();
        ended = readFiles(state);
    }

    // Runs the operation on a started device again and again; each time a later call of it fails.
    void failEachCallOf(const std::function<void()>& operation, const std::function<void()>& check)
    {
        for (std::size_t others = 0;; ++others) {
            SCOPED_TRACE("after " + std::to_string(others) + " calls");
            writeFiles(state, ended);
            DiskWatch watch(state);
            start();
            watch.failAfter(others, fault);
            operation();
            const bool failed = watch.hasFailed();
            ASSERT_TRUE(deliversAFrame()) << "while the file system fails";
            watch.heal();
            if (!failed) {
                EXPECT_GT(others, 8u) << "an operation makes more calls than that";
                stop();
                return;
            }
            ++faults;
            check();
            stop();
            if (HasFailure()) {
                return;
            }
        }
    }

    // The client's view of a call; nothing when it succeeded.
    std::string failureOf(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    void expectTheDiskAndTheNextStartToAgree(const std::string& newer, bool acknowledged)
    {
        start();
        const std::string document = storedDocument();
        EXPECT_TRUE(startedFrom(document));
        EXPECT_THAT(notices(), IsEmpty());
        const bool isNewer = document.find(newer) != std::string::npos;
        EXPECT_TRUE(isNewer || (!acknowledged && document == second)) << document;
    }

    const DiskWatch::Fault fault;
    std::string second;
    Files ended;
    Files leftRunning;
    std::size_t faults = 0;
};

class StorageFaultTest : public FaultTest, public testing::WithParamInterface<Case> {
protected:
    StorageFaultTest() : FaultTest(GetParam().fault) {}
};

class InterruptedCallTest : public FaultTest {
protected:
    InterruptedCallTest() : FaultTest({EINTR, false, false}) {}
};

TEST_P(StorageFaultTest, tellsTheClientThatItsConfigurationIsNotStored)
{
    std::string failure;
    failEachCallOf([&] { failure = failureOf([&] { EXPECT_TRUE(configure("third")); }); },
                   [&] {
                       if (!failure.empty()) {
                           EXPECT_THAT(failure, AllOf(HasSubstr("the settings \"OnvifAnalytics\" could not be stored"),
                                                      HasSubstr((state / "settings.db").string()),
                                                      HasSubstr(GetParam().reason)));
                           EXPECT_EQ(storedDocument(), second) << "a refused write changes nothing";
                       }
                       expectTheDiskAndTheNextStartToAgree("third", failure.empty());
                   });
    std::cout << "power-cuts: faults=" << faults << "\n";
}

TEST_P(StorageFaultTest, storesTheNextDocumentOnceTheFileSystemTakesItAgain)
{
    failEachCallOf([&] { (void)failureOf([&] { EXPECT_TRUE(configure("third")); }); },
                   [&] {
                       EXPECT_TRUE(takesAnotherDocument());
                       expectTheDiskAndTheNextStartToAgree("one more", true);
                   });
    std::cout << "power-cuts: faults=" << faults << "\n";
}

// One case is enough: it does not last, and every call is made again.
TEST_F(InterruptedCallTest, isMadeAgainAndNothingIsRefused)
{
    failEachCallOf([&] { EXPECT_TRUE(configure("third")); },
                   [&] {
                       EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("could not be"))));
                       expectTheDiskAndTheNextStartToAgree("third", true);
                   });
    std::cout << "power-cuts: faults=" << faults << "\n";
}

TEST_F(InterruptedCallTest, doesNotKeepADeviceFromStarting)
{
    bool failed = true;
    for (std::size_t others = 0; failed && !HasFailure(); ++others, ++faults) {
        SCOPED_TRACE("after " + std::to_string(others) + " calls");
        writeFiles(state, leftRunning);
        DiskWatch watch(state);
        watch.failAfter(others, fault);
        ASSERT_EQ(refusal(), std::nullopt);
        EXPECT_EQ(storedDocument(), second);
        EXPECT_THAT(notices(), IsEmpty());
        failed = watch.hasFailed();
        watch.heal();
        stop();
    }
    std::cout << "power-cuts: faults=" << faults << "\n";
}

TEST_P(StorageFaultTest, storesEveryPresetThatItAcknowledgesAndKeepsNoneThatItRefuses)
{
    options.ptz->keepState = true;
    camera::ptz::CommandResult saved;
    failEachCallOf(
        [&] {
            saved = device->positioning().savePreset({"New", {5000, 0, 100}});
        },
        [&] {
            EXPECT_EQ(device->positioning().preset("New").has_value(), saved.ok());
            EXPECT_TRUE(saved.ok() || saved.sentence.find(GetParam().reason) != std::string::npos) << saved.sentence;
            start();
            EXPECT_TRUE(device->positioning().preset("New").has_value() || !saved.ok());
        });
    std::cout << "power-cuts: faults=" << faults << "\n";
}

TEST_P(StorageFaultTest, keepsAWholeDocumentWhenABatchIsCutShort)
{
    const auto rule = [](const std::string& name) {
        return "<tt:Rule Name=\"" + name + "\" Type=\"tt:LineRule\"><tt:Parameters/></tt:Rule>";
    };
    std::string failure;
    failEachCallOf(
        [&] { failure = failureOf([&] {
                  EXPECT_TRUE(device->target().createRules({rule("a"), rule("b")}).ok());
              }); },
        [&] {
            start();
            const std::string document = storedDocument();
            EXPECT_TRUE(startedFrom(document));
            const bool one = document.find("\\\"a\\\"") != std::string::npos;
            const bool both = one && document.find("\\\"b\\\"") != std::string::npos;
            EXPECT_TRUE(both || (!failure.empty() && (one || document == second))) << failure << document;
        });
    std::cout << "power-cuts: faults=" << faults << "\n";
}

TEST_P(StorageFaultTest, losesNothingWhenTheDeviceEnds)
{
    for (std::size_t others = 0; others < 40; ++others, ++faults) {
        writeFiles(state, leftRunning);
        {
            DiskWatch watch(state);
            start();
            watch.failAfter(others, fault);
            stop();
        }
        expectTheDiskAndTheNextStartToAgree("second", true);
        stop();
    }
    std::cout << "power-cuts: faults=" << faults << "\n";
}

TEST_P(StorageFaultTest, startsOrSaysWhyNotAndLeavesTheFilesAlone)
{
    Files damaged = ended;
    damaged["settings.db"].replace(4096, 4096, std::string(4096, 'z'));
    for (const Files& files : {ended, leftRunning, damaged}) {
        bool failed = true;
        for (std::size_t others = 0; failed && !HasFailure(); ++others) {
            SCOPED_TRACE("after " + std::to_string(others) + " calls");
            writeFiles(state, files);
            {
                DiskWatch watch(state);
                watch.failAfter(others, fault);
                const auto refused = refusal();
                failed = watch.hasFailed();
                if (refused) {
                    EXPECT_TRUE(failed);
                    EXPECT_THAT(*refused, AllOf(HasSubstr(state.string()), HasSubstr("cannot be")));
                } else {
                    EXPECT_EQ(storedDocument(), second);
                }
                watch.heal();
                stop();
                ++faults;
            }
            start();
            EXPECT_EQ(storedDocument(), second);
            EXPECT_TRUE(startedFrom(second));
            EXPECT_TRUE(takesAnotherDocument());
            stop();
            EXPECT_EQ(filesSetAside(readFiles(state)) > 0, files == damaged);
        }
    }
    std::cout << "power-cuts: faults=" << faults << "\n";
}

TEST_P(StorageFaultTest, canStartForTheFirstTimeLater)
{
    bool failed = true;
    for (std::size_t others = 0; failed && !HasFailure(); ++others, ++faults) {
        SCOPED_TRACE("after " + std::to_string(others) + " calls");
        std::filesystem::remove_all(state);
        {
            DiskWatch watch(state);
            watch.failAfter(others, fault);
            const auto refused = refusal();
            failed = watch.hasFailed();
            if (refused) {
                EXPECT_THAT(*refused, HasSubstr("cannot be used"));
            }
            watch.heal();
            stop();
        }
        start();
        EXPECT_EQ(storedDocument(), kNoSettings);
        EXPECT_TRUE(takesAnotherDocument());
        stop();
        EXPECT_EQ(filesSetAside(readFiles(state)), 0u);
    }
    std::cout << "power-cuts: faults=" << faults << "\n";
}

INSTANTIATE_TEST_SUITE_P(Errors, StorageFaultTest, testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

} // namespace
