// The power goes while the device writes its settings: at any call of the file system, with any part of what
// was not synced on the disk.
#include "integration/camera_power/DiskModel.h"
#include "integration/camera_power/DiskWatch.h"
#include "integration/camera_power/PowerFixture.h"
#include "integration/camera_power/Recording.h"
#include "integration/camera_power/Workload.h"

#include "camera/serviceapi/ServiceApi.h"

#include <algorithm>
#include <iostream>
#include <random>

namespace {

constexpr unsigned int kStartValue = 20231;

class PowerCutTest : public PowerFixture {
protected:
    // Several starts, each with calls; the folder is new.
    void record()
    {
        watch = std::make_unique<DiskWatch>(state);
        recording = std::make_unique<Recording>(*watch);
        Workload workload(kStartValue);
        for (int session = 0; session < 4; ++session) {
            start();
            StubEngines::instance().onCall = [this] { recording->look(device->serviceApi().settings); };
            recording->look(device->serviceApi().settings);
            recording->noteCopied();
            for (int call = 0; call < 25; ++call) {
                workload.step(*device);
                recording->look(device->serviceApi().settings);
                if (call % 6 == 5) {
                    device->serviceApi().settings.drain();
                    recording->noteCopied();
                }
            }
            StubEngines::instance().onCall = nullptr;
            stop();
        }
        calls = watch->calls();
        before = watch->before();
        watch.reset();
    }

    // Which of the documents the device starts with; it is one of those allowed.
    std::size_t startsWithOneOf(std::size_t first, std::size_t last)
    {
        const auto refused = refusal();
        EXPECT_EQ(refused, std::nullopt);
        if (refused) {
            return last;
        }
        const std::string document = storedDocument();
        const auto& documents = recording->documents();
        const auto begin = documents.begin() + static_cast<std::ptrdiff_t>(first);
        const auto end = documents.begin() + static_cast<std::ptrdiff_t>(last) + 1;
        const auto found = std::find(begin, end, document);
        EXPECT_NE(found, end) << "documents " << first << " to " << last << " are allowed, there is number "
                              << std::find(documents.begin(), documents.end(), document) - documents.begin();
        EXPECT_TRUE(startedFrom(document));
        return found == end ? last : static_cast<std::size_t>(found - documents.begin());
    }

    void expectAGoodStart(const Files& files, std::size_t cut)
    {
        const auto [first, last] = recording->allowedAfter(cut);
        writeFiles(state, files);
        (void)startsWithOneOf(first, last);
        if (device) {
            EXPECT_THAT(notices(), testing::IsEmpty()) << "a cut is no damage";
            EXPECT_EQ(newestOfTheHistory().value_or(kNoSettings), storedDocument());
            EXPECT_TRUE(takesAnotherDocument());
        }
        stop();
        EXPECT_EQ(filesSetAside(readFiles(state)), 0u);
    }

    std::optional<std::string> newestOfTheHistory()
    {
        auto& store = device->serviceApi().settings;
        const auto history = store.history(kSettingsKey);
        return history.empty() ? std::nullopt : store.fromHistory(kSettingsKey, history.front().sequence);
    }

    // The start after a cut is itself cut, and the one after that finds what the first one found.
    void expectAGoodStartAfterTwoCuts(const Files& files, std::size_t cut)
    {
        const auto [first, last] = recording->allowedAfter(cut);
        writeFiles(state, files);
        watch = std::make_unique<DiskWatch>(state);
        const std::size_t document = startsWithOneOf(first, last);
        stop();
        const auto second = watch->calls();
        const DiskModel whole(watch->before());
        watch.reset();
        for (int time = 0; time < 3; ++time, ++cuts) {
            DiskModel disk = whole;
            const std::size_t reached = random() % (second.size() + 1);
            for (std::size_t call = 0; call < reached; ++call) {
                disk.apply(second[call]);
            }
            writeFiles(state, disk.afterCut(random));
            (void)startsWithOneOf(document, document);
            stop();
        }
    }

    // The file is lost altogether: what was copied last is still there.
    void expectAWholeCopy(Files files, std::size_t cut)
    {
        const std::size_t oldest = recording->oldestCopyAfter(cut);
        if (oldest == 0) {
            return;
        }
        files["settings.db"] = std::string(5000, 'z');
        files.erase("settings.db-wal");
        writeFiles(state, files);
        (void)startsWithOneOf(oldest, recording->allowedAfter(cut).second);
        stop();
    }

    std::unique_ptr<DiskWatch> watch;
    std::unique_ptr<Recording> recording;
    std::vector<DiskCall> calls;
    Files before;
    std::mt19937_64 random{kStartValue};
    std::size_t cuts = 0;
};

TEST_F(PowerCutTest, keepsWhatWasHandedOverWhereverThePowerGoes)
{
    record();
    ASSERT_GT(recording->documents().size(), 60u);
    const std::size_t points = wanted("POWER_CUTS", 500);
    DiskModel disk(before);
    std::size_t applied = 0;
    for (std::size_t point = 0; point < points && !HasFailure(); ++point, ++cuts) {
        const std::size_t cut = point * (calls.size() + 1) / points;
        SCOPED_TRACE("point " + std::to_string(point) + ", after " + std::to_string(cut) + " calls");
        for (; applied < cut; ++applied) {
            disk.apply(calls[applied]);
        }
        const Files files = disk.afterCut(random);
        expectAGoodStart(files, cut);
        if (point % 16 == 7) {
            expectAGoodStartAfterTwoCuts(files, cut);
        }
        if (point % 16 == 15) {
            expectAWholeCopy(files, cut);
        }
    }
    std::cout << "power-cuts: cuts=" << cuts << " calls=" << calls.size()
              << " documents=" << recording->documents().size() << "\n";
}

TEST_F(PowerCutTest, leavesNoDamageBehindWhereTheFirstStartEnds)
{
    watch = std::make_unique<DiskWatch>(state);
    start();
    stop();
    calls = watch->calls();
    DiskModel disk(watch->before());
    watch.reset();
    for (std::size_t cut = 0; cut <= calls.size() && !HasFailure(); ++cut) {
        SCOPED_TRACE("after " + std::to_string(cut) + " calls");
        for (int time = 0; time < 12; ++time, ++cuts) {
            writeFiles(state, disk.afterCut(random));
            ASSERT_EQ(refusal(), std::nullopt);
            EXPECT_THAT(notices(), testing::IsEmpty());
            stop();
            EXPECT_EQ(filesSetAside(readFiles(state)), 0u);
        }
        if (cut < calls.size()) {
            disk.apply(calls[cut]);
        }
    }
    std::cout << "power-cuts: cuts=" << cuts << "\n";
}

// The file is damaged; while the device sets it aside and reads it back the power goes.
class RepairCutTest : public PowerCutTest {
protected:
    void SetUp() override
    {
        PowerCutTest::SetUp();
        start();
        ASSERT_TRUE(configure(std::string(9000, 'x'))); // over pages that a file without it does not have
        start();                                        // makes the copy
        ASSERT_TRUE(configure("newest"));
        newest = storedDocument();
        leftRunning = readFiles(state);
        leftRunning.erase("settings.db-shm");
        stop();
        ended = readFiles(state);
    }

    void cutTheRepairOf(const Files& damaged)
    {
        writeFiles(state, damaged);
        watch = std::make_unique<DiskWatch>(state);
        start();
        ASSERT_THAT(notices(), testing::SizeIs(1));
        ASSERT_EQ(storedDocument(), newest);
        stop();
        calls = watch->calls();
        watch.reset();

        const std::size_t times = wanted("POWER_CUTS", 500) / 250 + 1;
        DiskModel disk(damaged);
        for (std::size_t cut = 0; cut <= calls.size() && !HasFailure(); ++cut) {
            SCOPED_TRACE("after " + std::to_string(cut) + " calls");
            for (std::size_t time = 0; time < times; ++time, ++cuts) {
                expectNothingLost(disk.afterCut(random));
            }
            if (cut < calls.size()) {
                disk.apply(calls[cut]);
            }
        }
        std::cout << "power-cuts: repair_cuts=" << cuts << " repair_calls=" << calls.size() << "\n";
    }

    void expectNothingLost(const Files& files)
    {
        writeFiles(state, files);
        ASSERT_EQ(refusal(), std::nullopt);
        EXPECT_EQ(storedDocument(), newest);
        EXPECT_THAT(notices(), testing::SizeIs(testing::Le(1u))) << "what was made of it is whole";
        EXPECT_TRUE(startedFrom(newest));
        EXPECT_TRUE(takesAnotherDocument());
        stop();
        EXPECT_GE(filesSetAside(readFiles(state)), 1u) << "the damaged file is kept";
    }

    std::string newest;
    Files leftRunning;
    Files ended;
};

TEST_F(RepairCutTest, losesNothingOfADamagedFile)
{
    Files damaged = ended;
    damaged["settings.db"].replace(4096, 4096, std::string(4096, 'z'));
    cutTheRepairOf(damaged);
}

TEST_F(RepairCutTest, losesNothingOfADamagedFileWithALog)
{
    Files damaged = leftRunning;
    std::string& file = damaged["settings.db"];
    file.replace(file.find(std::string(1000, 'x')), 100, 100, 'z'); // a page that the log does not have
    cutTheRepairOf(damaged);
}

TEST_F(RepairCutTest, losesNothingOfADamagedDocument)
{
    Files damaged = ended;
    std::string& file = damaged["settings.db"];
    file[file.find("newest")] = 'N';
    writeFiles(state, damaged);
    watch = std::make_unique<DiskWatch>(state);
    start();
    ASSERT_THAT(notices(), testing::ElementsAre(testing::HasSubstr("does not fit")));
    ASSERT_EQ(storedDocument(), newest);
    stop();
    calls = watch->calls();
    watch.reset();
    DiskModel disk(damaged);
    for (const DiskCall& call : calls) {
        disk.apply(call);
        for (int time = 0; time < 4; ++time, ++cuts) {
            writeFiles(state, disk.afterCut(random));
            ASSERT_EQ(refusal(), std::nullopt);
            EXPECT_EQ(storedDocument(), newest);
            EXPECT_TRUE(startedFrom(newest));
            stop();
        }
    }
    std::cout << "power-cuts: repair_cuts=" << cuts << "\n";
}

} // namespace
