// Single bytes and ends of the settings file go bad while the device is off.
#include "integration/camera_power/DiskWatch.h"
#include "integration/camera_power/PowerFixture.h"

#include <algorithm>
#include <cerrno>
#include <iostream>

namespace {

using namespace testing;

class DamageTest : public PowerFixture {
protected:
    // A few documents, each newer than the copy of the start before it.
    void SetUp() override
    {
        PowerFixture::SetUp();
        step = wanted("DAMAGE_STEP", 16);
        for (const char* text : {"first", "second", "third"}) {
            start();
            ASSERT_TRUE(configure(text));
            documents.push_back(storedDocument());
        }
        leftRunning = readFiles(state);
        leftRunning.erase("settings.db-shm");
        stop();
        ended = readFiles(state);
        behind = ended;
        behind["settings.last"] = leftRunning.at("settings.last");
    }

    testing::AssertionResult startsOn(const Files& files)
    {
        writeFiles(state, files);
        const auto refused = refusal();
        return refused ? testing::AssertionFailure() << *refused : testing::AssertionSuccess();
    }

    // Found or unchanged: an older document comes with a line that says what happened, and the damaged
    // file is kept. Afterwards all is well again.
    void expectFoundOrUnchanged(const std::string& damaged)
    {
        const std::string document = storedDocument();
        const auto lines = notices();
        EXPECT_TRUE(document == documents.back() || !lines.empty()) << "an older document without a word";
        EXPECT_THAT(documents, Contains(document));
        EXPECT_TRUE(startedFrom(document));
        if (!lines.empty()) {
            EXPECT_THAT(lines[0], AllOf(HasSubstr((state / "settings.db").string()),
                                        AnyOf(AllOf(HasSubstr("damaged"), HasSubstr("set aside")),
                                              HasSubstr("is older than its copy"))));
            ++found;
        }
        kept += document == documents.back() ? 1 : 0;
        const auto files = readFiles(state);
        const bool fileSetAside = std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("was set aside as") != std::string::npos;
        });
        EXPECT_EQ(filesSetAside(files) > 0, fileSetAside);
        if (fileSetAside) {
            EXPECT_TRUE(std::any_of(files.begin(), files.end(), [&](const auto& file) {
                return file.first.rfind("settings.db.damaged-", 0) == 0 && file.second == damaged;
            })) << "the damaged file is kept as it was";
        }
        EXPECT_TRUE(takesAnotherDocument());
        const std::string next = storedDocument();
        start();
        EXPECT_EQ(storedDocument(), next);
        EXPECT_THAT(notices(), IsEmpty()) << "repaired once";
        stop();
    }

    std::size_t step = 16;
    std::vector<std::string> documents;
    Files leftRunning;
    Files ended;
    Files behind; ///< ended without the copy that is made at the end: it has the second document
    std::size_t found = 0;
    std::size_t kept = 0;
};

class FlippedByteTest : public DamageTest, public testing::WithParamInterface<int> {
protected:
    // All bits of a byte, or one that differs from byte to byte.
    static char flipped(char byte, std::size_t at)
    {
        return static_cast<char>(GetParam() == 0 ? ~byte : byte ^ (1 << (at / 3 % 8)));
    }
};

TEST_P(FlippedByteTest, isFoundOrChangesNothing)
{
    const std::string& whole = behind.at("settings.db");
    std::size_t flips = 0;
    for (std::size_t at = 0; at < whole.size() && !HasFailure(); ++at) {
        const bool inHeader = at < 100; // a start depends on each of these
        if (at % step != 0 && !inHeader) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(at));
        Files files = behind;
        char& byte = files["settings.db"][at];
        byte = flipped(byte, at);
        ASSERT_TRUE(startsOn(files));
        EXPECT_THAT(storedDocument(), AnyOf(documents[2], documents[1])) << "nothing older than the copy";
        expectFoundOrUnchanged(files["settings.db"]);
        ++flips;
    }
    std::cout << "power-cuts: flips=" << flips << " flips_found=" << found << " bytes=" << whole.size() << "\n";
}

// The power went, so a log was left, and the log goes bad.
TEST_P(FlippedByteTest, inTheLogOfADeviceThatWasCutOffChangesNothing)
{
    const std::string& whole = leftRunning.at("settings.db-wal");
    ASSERT_GT(whole.size(), 4096u);
    std::size_t flips = 0;
    for (std::size_t at = 0; at < whole.size() && !HasFailure(); ++at) {
        if (at % step != 0 && at >= 64) {
            continue;
        }
        SCOPED_TRACE("byte " + std::to_string(at));
        Files files = leftRunning;
        char& byte = files["settings.db-wal"][at];
        byte = flipped(byte, at);
        ASSERT_TRUE(startsOn(files));
        EXPECT_EQ(storedDocument(), documents.back());
        EXPECT_THAT(notices(), IsEmpty());
        expectFoundOrUnchanged(files["settings.db"]);
        ++flips;
    }
    std::cout << "power-cuts: flips=" << flips << "\n";
}

INSTANTIATE_TEST_SUITE_P(Damage, FlippedByteTest, testing::Values(0, 1),
                         [](const auto& info) { return info.param == 0 ? "AllBits" : "OneBit"; });

TEST_F(DamageTest, aTruncatedFileIsFoundAndNothingOlderThanTheCopyIsUsed)
{
    const std::string& whole = behind.at("settings.db");
    std::size_t truncations = 0;
    for (std::size_t size = 0; size < whole.size() && !HasFailure(); ++size) {
        if (size % step != 0 && size > 100) {
            continue;
        }
        SCOPED_TRACE("cut to " + std::to_string(size));
        Files files = behind;
        files["settings.db"].resize(size);
        ASSERT_TRUE(startsOn(files));
        if (size + 4096 <= whole.size()) { // the end of the last page may hold nothing
            EXPECT_THAT(notices(), testing::SizeIs(1));
        }
        EXPECT_THAT(storedDocument(), AnyOf(documents[2], documents[1]));
        expectFoundOrUnchanged(files["settings.db"]);
        ++truncations;
    }
    EXPECT_GT(kept, 0u) << "some truncations leave the newest document readable";
    std::cout << "power-cuts: truncations=" << truncations << " truncations_found=" << found << "\n";
}

TEST_F(DamageTest, aTruncatedLogChangesNothing)
{
    const std::string& whole = leftRunning.at("settings.db-wal");
    std::size_t truncations = 0;
    for (std::size_t size = 0; size < whole.size() && !HasFailure(); size += step) {
        SCOPED_TRACE("cut to " + std::to_string(size));
        Files files = leftRunning;
        files["settings.db-wal"].resize(size);
        ASSERT_TRUE(startsOn(files));
        EXPECT_EQ(storedDocument(), documents.back());
        expectFoundOrUnchanged(files["settings.db"]);
        ++truncations;
    }
    std::cout << "power-cuts: truncations=" << truncations << "\n";
}

TEST_F(DamageTest, aDamagedCopyIsFoundAndDoesNotMatterWhileTheFileIsWhole)
{
    const std::string& whole = ended.at("settings.last");
    std::size_t flips = 0;
    for (std::size_t at = 0; at < whole.size() && !HasFailure(); at += step, ++flips) {
        SCOPED_TRACE("byte " + std::to_string(at));
        Files flipped = ended;
        char& byte = flipped["settings.last"][at];
        byte = static_cast<char>(~byte);
        Files truncated = ended;
        truncated["settings.last"].resize(at);
        for (const Files& files : {flipped, truncated}) {
            ASSERT_TRUE(startsOn(files));
            EXPECT_EQ(storedDocument(), documents.back());
            EXPECT_THAT(notices(), AnyOf(IsEmpty(), ElementsAre(HasSubstr("settings.last is damaged"))));
            stop();
        }
    }
    std::cout << "power-cuts: flips=" << flips << "\n";
}

TEST_F(DamageTest, nothingIsReadBackWhoseChecksumDoesNotFit)
{
    Files files = behind;
    std::string& file = files["settings.db"];
    file[file.find("third")] = 'T';
    ASSERT_TRUE(startsOn(files));
    EXPECT_EQ(storedDocument(), documents[1]);
    expectFoundOrUnchanged(file);
}

TEST_F(DamageTest, aFileThatCannotBeReadCountsAsDamaged)
{
    bool failed = true;
    std::size_t faults = 0;
    for (std::size_t others = 0; failed && !HasFailure(); ++others) {
        SCOPED_TRACE("after " + std::to_string(others) + " reads");
        writeFiles(state, behind);
        {
            DiskWatch watch(state);
            watch.failAfter(others, {EIO, false, false, true});
            const auto refused = refusal();
            failed = watch.hasFailed();
            if (refused) {
                EXPECT_THAT(*refused, HasSubstr("cannot be used"));
            } else {
                EXPECT_THAT(storedDocument(), AnyOf(documents[2], documents[1])) << "nothing older than the copy";
            }
            watch.heal();
            stop();
        }
        start();
        EXPECT_THAT(storedDocument(), AnyOf(documents[2], documents[1]));
        EXPECT_TRUE(takesAnotherDocument());
        stop();
        ++faults;
    }
    EXPECT_GT(faults, 4u) << "a start reads more than that";
    std::cout << "power-cuts: faults=" << faults << "\n";
}

} // namespace
