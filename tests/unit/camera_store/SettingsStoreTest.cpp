#include "camera/store/SettingsStore.h"

#include "camera/store/Database.h"
#include "camera/store/StateLock.h"
#include "kit/Eventually.h"
#include "kit/FileSizeLimit.h"
#include "kit/LogLines.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace {

using camera::store::DatabaseError;
using camera::store::SettingsStore;
using camera::store::StateLock;
using kit::refusalOf;
using namespace testing;

class SettingsStoreTest : public testing::Test {
protected:
    SettingsStoreTest() { open(); }

    void open()
    {
        store.reset();
        store = std::make_unique<SettingsStore>(folder.path(), kCopiedByHand);
    }

    /// Closes the store without the copy that it makes at its end: a process that is killed.
    void kill(const std::function<void()>& before)
    {
        const std::string copy = kit::contentOf(folder / "settings.last");
        before();
        store.reset();
        folder.write("settings.last", copy);
    }

    void change(const std::string& sql) const
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(file().c_str(), &database), SQLITE_OK);
        char* message = nullptr;
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << message;
        sqlite3_close(database);
    }

    void overwrite(std::streamoff at, const std::string& bytes) const
    {
        std::fstream stream(file(), std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(at);
        stream << bytes;
    }

    std::size_t filesSetAside() const
    {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            const std::string name = entry.path().filename().string();
            const bool part = name.size() > 4 && name[name.size() - 4] == '-';
            count += name.rfind("settings.db.damaged-", 0) == 0 && !part ? 1 : 0;
        }
        return count;
    }

    /// Kind and sentence of a failure that must come.
    static std::pair<DatabaseError::Kind, std::string> failureOf(const std::function<void()>& action)
    {
        try {
            action();
        } catch (const DatabaseError& error) {
            return {error.kind(), error.what()};
        }
        throw std::logic_error("it succeeded");
    }

    void removeAll() const
    {
        for (const char* part : {"", "-wal", "-shm"}) {
            std::filesystem::remove(file().string() + part);
        }
    }

    std::filesystem::path file() const { return folder / "settings.db"; }

    static constexpr std::chrono::hours kCopiedByHand{1};
    const kit::LogLines log;
    kit::TemporaryFolder folder;
    std::unique_ptr<SettingsStore> store;
};

TEST_F(SettingsStoreTest, yieldsNothingForAnUnknownKeyAndTheDefaultOnceThereIsOne)
{
    EXPECT_EQ(store->read("OnvifAnalytics"), std::nullopt);
    store->setDefault("OnvifAnalytics", "[]");
    EXPECT_THAT(store->read("OnvifAnalytics"), Optional(std::string("[]")));
    EXPECT_THAT(store->keys(), IsEmpty()) << "a default is not stored";
}

TEST_F(SettingsStoreTest, prefersWhatIsStoredToTheDefault)
{
    store->setDefault("OnvifAnalytics", "[]");
    store->write("OnvifAnalytics", "[ 1 ]");
    EXPECT_THAT(store->read("OnvifAnalytics"), Optional(std::string("[ 1 ]")));
}

TEST_F(SettingsStoreTest, findsEveryDocumentAgainAfterARestart)
{
    const std::string bytes("a\0b\xff\xc0\n\x01", 7);
    store->write("A", "first");
    store->write("B", bytes);
    store->write("empty", "");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("first")));
    EXPECT_THAT(store->read("B"), Optional(bytes));
    EXPECT_THAT(store->read("empty"), Optional(std::string()));
    EXPECT_THAT(store->notices(), IsEmpty());
}

TEST_F(SettingsStoreTest, keepsTheLastTenDocumentsOfEachKey)
{
    store->write("other", "untouched");
    for (int document = 1; document <= 12; ++document) {
        store->write("A", "document " + std::to_string(document));
    }
    const auto history = store->history("A");
    ASSERT_THAT(history, SizeIs(10));
    EXPECT_THAT(store->fromHistory("A", history.front().sequence), Optional(std::string("document 12")));
    EXPECT_THAT(store->fromHistory("A", history.back().sequence), Optional(std::string("document 3")));
    EXPECT_THAT(store->history("other"), SizeIs(1));
    EXPECT_EQ(store->fromHistory("A", history.back().sequence - 1), std::nullopt);
    EXPECT_TRUE(history.front().good);
    EXPECT_EQ(history.front().sizeBytes, 11u);
    EXPECT_EQ(history.front().sequence, 13) << "every write counts, whatever its key";
    EXPECT_GT(history.front().storedAt, 1700000000);
}

TEST_F(SettingsStoreTest, doesNotCountTheSameDocumentAsANewVersion)
{
    store->write("A", "one");
    store->write("A", "two");
    store->write("A", "two");
    EXPECT_THAT(store->history("A"), SizeIs(2));
    store->write("A", "one");
    EXPECT_THAT(store->history("A"), SizeIs(3));
}

TEST_F(SettingsStoreTest, restoresAnEarlierDocumentAsTheNewestOne)
{
    store->write("A", "one");
    store->write("A", "two");
    const auto old = store->history("A").back().sequence;
    EXPECT_TRUE(store->restore("A", old));
    EXPECT_THAT(store->read("A"), Optional(std::string("one")));
    EXPECT_THAT(store->history("A"), SizeIs(3));
    EXPECT_FALSE(store->restore("A", 4711));
    EXPECT_FALSE(store->restore("B", old)) << "another key's version";
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("one")));
}

TEST_F(SettingsStoreTest, takesTheCopysRowForADamagedOne)
{
    store->write("A", "older");
    store->write("A", "newest");
    store->write("B", "whole");
    store.reset();
    change("UPDATE documents SET document = CAST('nEwest' AS BLOB) WHERE document = CAST('newest' AS BLOB)");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("newest")));
    EXPECT_THAT(store->read("B"), Optional(std::string("whole")));
    ASSERT_THAT(store->notices(), SizeIs(1));
    EXPECT_THAT(store->notices()[0],
                AllOf(StartsWith("the settings file " + file().string() +
                                 " is damaged (a checksum of \"A\" does not fit) and was set aside as "),
                      ContainsRegex("what is used is \"A\" of 2[0-9-]+ [0-9:]+ UTC from the copy, "
                                    "\"B\" of 2[0-9-]+ [0-9:]+ UTC$")));
    EXPECT_EQ(filesSetAside(), 1u);
    open();
    EXPECT_THAT(store->notices(), IsEmpty()) << "repaired once";
}

TEST_F(SettingsStoreTest, takesTheNewestGoodPredecessorOfADamagedRowThatTheCopyDoesNotHave)
{
    store->write("A", "older");
    store->drain();
    kill([this] {
        store->write("A", "good");
        store->write("A", "newest");
    });
    change("UPDATE documents SET document = CAST('nEwest' AS BLOB) WHERE document = CAST('newest' AS BLOB)");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("good"))) << "newer than the copy's";
    EXPECT_THAT(store->history("A"), SizeIs(2));
    ASSERT_THAT(store->notices(), SizeIs(1));
    EXPECT_THAT(store->notices()[0], EndsWith("; what was stored of \"A\" after that is lost"));
}

TEST_F(SettingsStoreTest, startsWithoutSettingsWhenFileAndCopyAreUnreadableAndSetsBothAside)
{
    store->write("A", "only");
    store.reset();
    folder.write("settings.db", std::string(5000, 'z'));
    folder.write("settings.last", std::string(5000, 'y'));
    open();
    store->setDefault("A", "[]");
    EXPECT_THAT(store->read("A"), Optional(std::string("[]")));
    EXPECT_THAT(store->notices(), ElementsAre(AllOf(HasSubstr("settings.last is damaged"), HasSubstr("set aside")),
                                              HasSubstr("the camera starts without settings")));
    EXPECT_EQ(filesSetAside(), 1u);
    open();
    EXPECT_THAT(store->notices(), IsEmpty());
}

TEST_F(SettingsStoreTest, noticesARowThatWasStoredUnderAnotherKeyOrNumber)
{
    for (const std::string change : {"key = CAST('B' AS BLOB)", "sequence = sequence + 5", "stored_at = 5"}) {
        store->write("A", "of A");
        store.reset();
        std::filesystem::remove(folder / "settings.last");
        this->change("UPDATE documents SET " + change);
        open();
        EXPECT_THAT(store->keys(), IsEmpty()) << change;
        EXPECT_THAT(store->notices(), SizeIs(1)) << change;
    }
}

TEST_F(SettingsStoreTest, throwsWhenADocumentIsDamagedWhileTheStoreIsOpen)
{
    store->write("A", "good");
    change("UPDATE documents SET checksum = checksum + 1");
    EXPECT_THAT(
        failureOf([this] { (void)store->read("A"); }),
        Pair(DatabaseError::Kind::damaged, HasSubstr("the settings \"A\" could not be read from " + file().string())));
}

TEST_F(SettingsStoreTest, setsATextThatIsNoDatabaseAsideAndTakesTheLastCopy)
{
    store->write("A", "kept");
    open(); // a start makes the copy
    store.reset();
    std::filesystem::remove(file().string() + "-wal");
    std::ofstream(file(), std::ios::trunc) << "this is no database, whatever its name says";
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    ASSERT_THAT(store->notices(), SizeIs(1));
    EXPECT_THAT(store->notices()[0], HasSubstr("is damaged"));
    EXPECT_THAT(store->notices()[0], HasSubstr("from the copy"));
    EXPECT_EQ(filesSetAside(), 1u);
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    EXPECT_THAT(store->notices(), IsEmpty());
}

TEST_F(SettingsStoreTest, takesWhatATruncatedFileHasLostFromTheCopy)
{
    for (int document = 0; document < 20; ++document) {
        store->write("key " + std::to_string(document), std::string(3000, static_cast<char>('a' + document)));
    }
    store.reset();
    std::filesystem::resize_file(file(), std::filesystem::file_size(file()) / 2);
    open();
    for (int document = 0; document < 20; ++document) {
        EXPECT_THAT(store->read("key " + std::to_string(document)),
                    Optional(std::string(3000, static_cast<char>('a' + document))));
    }
    EXPECT_THAT(store->notices(), SizeIs(1));
    EXPECT_EQ(filesSetAside(), 1u);
}

TEST_F(SettingsStoreTest, doesNotTakeAFileCutToNothingForANewOne)
{
    store->write("A", "kept");
    open();
    store.reset();
    std::filesystem::resize_file(file(), 0);
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    EXPECT_THAT(store->notices(),
                ElementsAre(HasSubstr("settings.db is older than its copy; what is used is \"A\" of")));
}

TEST_F(SettingsStoreTest, findsAPageOfRubbishAndKeepsTheFileForWhoeverWantsToLook)
{
    for (int document = 0; document < 20; ++document) {
        store->write("key " + std::to_string(document), std::string(3000, 'x'));
    }
    open();
    store.reset();
    overwrite(4096 * 3, std::string(4096, '\x5a'));
    open();
    EXPECT_THAT(store->keys(), SizeIs(20));
    EXPECT_EQ(filesSetAside(), 1u);
}

TEST_F(SettingsStoreTest, neverOverwritesAnEarlierFileThatWasSetAside)
{
    store->write("A", "kept");
    for (int time = 0; time < 3; ++time) {
        open();
        store.reset();
        std::ofstream(file(), std::ios::trunc) << "rubbish " << time;
        open();
    }
    EXPECT_EQ(filesSetAside(), 3u);
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
}

TEST_F(SettingsStoreTest, refusesAFileOfANewerProgram)
{
    store.reset();
    change("PRAGMA user_version = 3; DROP TABLE documents; CREATE TABLE others (key)");
    EXPECT_THAT(refusalOf([this] { open(); }), HasSubstr("written by a newer version of this program"));
    EXPECT_EQ(filesSetAside(), 0u);
}

TEST_F(SettingsStoreTest, noticesThatHalfOfAnEarlierLayoutIsGone)
{
    store.reset();
    change("PRAGMA user_version = 1; DROP TABLE documents; CREATE TABLE history (key)");
    open();
    EXPECT_THAT(store->notices(), ElementsAre(HasSubstr("is damaged (its tables are broken)")));
}

// The checksum was computed once: a store that computes another one would take every file for a damaged one.
TEST_F(SettingsStoreTest, readsWhatAnotherProcessOfThisVersionHasStored)
{
    store.reset();
    change("INSERT INTO documents VALUES (CAST('A' AS BLOB), 5000000000, 6000000000, CAST('a document' AS BLOB), "
           "-5379557888520394314)");
    open();
    EXPECT_THAT(store->notices(), IsEmpty());
    EXPECT_THAT(store->read("A"), Optional(std::string("a document")));
    EXPECT_EQ(store->history("A").front().sequence, 5000000000);
    EXPECT_EQ(store->history("A").front().storedAt, 6000000000);
    store->write("A", std::string(70000, 'x'));
    EXPECT_EQ(store->history("A").front().sizeBytes, 70000U);
    EXPECT_EQ(store->history("A").front().sequence, 5000000001);
}

TEST_F(SettingsStoreTest, goesOnAfterAChangeThatTheFileRefused)
{
    change("CREATE TRIGGER refusal BEFORE INSERT ON documents WHEN NEW.key = CAST('B' AS BLOB) "
           "BEGIN SELECT RAISE(FAIL, 'no'); END");
    EXPECT_THROW(store->write("B", "refused"), DatabaseError);
    store->write("A", "taken");
    EXPECT_THAT(store->keys(), ElementsAre("A"));
}

TEST_F(SettingsStoreTest, leavesNoEmptyFileWhereTheDiskIsFull)
{
    store->write("A", "kept");
    store.reset();
    removeAll();
    {
        const kit::FileSizeLimit disk(1);
        EXPECT_THAT(refusalOf([this] { open(); }), HasSubstr("cannot be used: "));
    }
    EXPECT_FALSE(std::filesystem::exists(file()));
    open();
    EXPECT_THAT(store->notices(), ElementsAre(HasSubstr("settings.db is missing")));
}

TEST_F(SettingsStoreTest, cannotWriteToAFileOfAnotherNameAndCannotReadAFolder)
{
    const camera::store::Database database(folder / "other.db");
    database.execute("CREATE TABLE one (key)");
    std::filesystem::rename(folder / "other.db", folder / "moved.db");
    EXPECT_EQ(failureOf([&] { database.execute("DROP TABLE one"); }).first, DatabaseError::Kind::readOnly);
    EXPECT_EQ(failureOf([&] { camera::store::Database(folder.path()); }).first, DatabaseError::Kind::readOnly);
}

TEST(Uninterrupted, triesTwentyTimesAgainWhatASignalEndedAndNothingElse)
{
    int calls = 0;
    const auto failsWith = [&calls](DatabaseError::Kind kind, int times) {
        calls = 0;
        return kit::refusalOf([&] {
            camera::store::uninterrupted([&] {
                if (++calls <= times) {
                    throw DatabaseError(kind, "failed");
                }
            });
        });
    };
    EXPECT_EQ(failsWith(DatabaseError::Kind::interrupted, 20), "not refused");
    EXPECT_EQ(failsWith(DatabaseError::Kind::interrupted, 21), "failed");
    EXPECT_EQ(failsWith(DatabaseError::Kind::full, 1), "failed");
    EXPECT_EQ(calls, 1);
}

TEST_F(SettingsStoreTest, doesNotTakeADamagedLayoutNumberForANewerProgram)
{
    store->write("A", "kept");
    store.reset();
    change("PRAGMA user_version = 99");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    EXPECT_THAT(store->notices(), IsEmpty());
}

TEST_F(SettingsStoreTest, saysWhatCannotBeUsedWhenTheFileIsAFolder)
{
    const kit::TemporaryFolder other;
    std::filesystem::create_directory(other / "settings.db");
    EXPECT_THAT(refusalOf([&] { SettingsStore blocked(other.path()); }),
                HasSubstr("the settings file " + (other / "settings.db").string() + " cannot be used: "));
}

TEST_F(SettingsStoreTest, refusesAWriteThatFindsNoRoomAndKeepsWhatWasThere)
{
    store->write("A", "small");
    {
        const kit::FileSizeLimit disk(64 * 1024);
        EXPECT_THAT(failureOf([this] { store->write("A", std::string(1024 * 1024, 'x')); }).second,
                    HasSubstr("the settings \"A\" could not be stored in " + file().string() + ": "));
    }
    EXPECT_THAT(store->read("A"), Optional(std::string("small")));
    store->write("A", "small again");
    EXPECT_THAT(store->read("A"), Optional(std::string("small again")));
    EXPECT_THAT(store->history("A"), SizeIs(2));
}

/// The copy, read like a settings file of its own.
class SettingsCopyTest : public SettingsStoreTest {
protected:
    std::optional<std::string> copied(const std::string& key) const
    {
        const kit::TemporaryFolder other;
        other.write("settings.db", kit::contentOf(folder / "settings.last"));
        SettingsStore store(other.path());
        EXPECT_THAT(store.notices(), IsEmpty());
        return store.read(key);
    }
};

TEST_F(SettingsCopyTest, hasTheNewestDocumentOfEachKeyOnceItIsDue)
{
    store->write("A", "one");
    store->write("A", "two");
    store->write("B", "of B");
    EXPECT_EQ(copied("A"), std::nullopt) << "not more than once in the interval";
    store->drain();
    EXPECT_THAT(copied("A"), Optional(std::string("two")));
    EXPECT_THAT(copied("B"), Optional(std::string("of B")));
    for (int document = 0; document < 10; ++document) {
        store->write("A", "later " + std::to_string(document));
    }
    EXPECT_THAT(copied("A"), Optional(std::string("two"))) << "the next one is due in an interval";
}

TEST_F(SettingsCopyTest, isTriedAgainAndItsFailureToldOnce)
{
    store->write("A", "one");
    std::filesystem::create_directories(folder / "settings.last.new/full");
    store->drain();
    store->drain();
    EXPECT_EQ(log.count("no copy of the settings could be made in " + folder.path().string() + ": "), 1U);
    std::filesystem::remove_all(folder / "settings.last.new");
    store->drain();
    EXPECT_THAT(copied("A"), Optional(std::string("one")));
}

TEST_F(SettingsCopyTest, isNoConditionOfAStart)
{
    kill([this] { store->write("A", "one"); });
    std::filesystem::create_directories(folder / "settings.last.new/full");
    open();
    EXPECT_THAT(store->notices(), ElementsAre(HasSubstr("no copy of the settings could be made in ")));
    EXPECT_THAT(store->read("A"), Optional(std::string("one")));
    std::filesystem::remove_all(folder / "settings.last.new");
    store->drain();
    EXPECT_THAT(copied("A"), Optional(std::string("one")));
}

TEST_F(SettingsCopyTest, isMadeWithoutAnybodyAskingAlsoWhileChangesGoOn)
{
    store.reset();
    SettingsStore own(folder.path(), std::chrono::milliseconds(20));
    own.write("A", "first");
    EXPECT_TRUE(kit::eventually([&] {
        own.write("B", std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
        return copied("A").has_value();
    }));
}

TEST_F(SettingsCopyTest, isMadeWhenTheStoreCloses)
{
    store->write("A", "last");
    store.reset();
    EXPECT_THAT(copied("A"), Optional(std::string("last")));
}

TEST_F(SettingsCopyTest, isKeptWhenARowThatItWouldTakeIsDamaged)
{
    store->write("A", "good");
    store->drain();
    store->write("B", "next");
    change("UPDATE documents SET checksum = checksum + 1 WHERE key = CAST('A' AS BLOB)");
    store->drain();
    EXPECT_THAT(copied("A"), Optional(std::string("good")));
    EXPECT_EQ(copied("B"), std::nullopt);
    EXPECT_THAT(log.lines(), Contains(HasSubstr("no copy of the settings could be made")));
}

TEST_F(SettingsCopyTest, isNeverReplacedByAnythingOlder)
{
    store->write("A", "one");
    store->write("A", "two");
    store->drain();
    change("DELETE FROM documents WHERE document = CAST('two' AS BLOB)");
    store->write("B", "next");
    store->drain();
    EXPECT_THAT(copied("A"), Optional(std::string("two")));
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("two")));
    EXPECT_THAT(store->read("B"), Optional(std::string("next")));
    EXPECT_THAT(store->notices(), ElementsAre(AllOf(HasSubstr("is older than its copy; what is used is \"A\" of"),
                                                    Not(HasSubstr("\"B\"")))));
}

TEST_F(SettingsCopyTest, isMadeAgainWhenItIsDamagedAndTheDamagedOneIsKept)
{
    store->write("A", "kept");
    store.reset();
    folder.write("settings.last", "rubbish");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    EXPECT_THAT(store->notices(), ElementsAre(HasSubstr("settings.last is damaged")));
    EXPECT_THAT(copied("A"), Optional(std::string("kept")));
}

TEST_F(SettingsCopyTest, takesThePlaceOfOneOfAnEarlierVersionAlsoWhenNothingIsNewer)
{
    store->write("A", "kept");
    store.reset();
    std::filesystem::rename(folder / "settings.last", folder / "settings.last-good.db");
    open();
    EXPECT_THAT(copied("A"), Optional(std::string("kept")));
    EXPECT_FALSE(std::filesystem::exists(folder / "settings.last-good.db"));
}

TEST_F(SettingsCopyTest, winsOverAnOlderDocumentThatATruncatedFileStillHas)
{
    store->write("A", "old");
    store->drain();
    const std::string old = kit::contentOf(folder / "settings.db");
    store->write("A", "new");
    store.reset();
    folder.write("settings.db", old); // a file of yesterday
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("new")));
    EXPECT_THAT(store->notices(), ElementsAre(HasSubstr("is older than its copy")));
    EXPECT_THAT(copied("A"), Optional(std::string("new")));
}

TEST_F(SettingsCopyTest, isWhatAMissingFileIsMadeFrom)
{
    store->write("A", "kept");
    store.reset();
    std::filesystem::remove(file());
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    EXPECT_THAT(store->notices(), ElementsAre(AllOf(HasSubstr("settings.db is missing"), HasSubstr("\"A\" of 2"),
                                                    HasSubstr("from the copy"))));
}

/// The file of a store that is open is taken away.
class MovedFileTest : public SettingsStoreTest {};

TEST_F(MovedFileTest, isWrittenAgainAtTheNextWriteWithEverything)
{
    store->write("A", "one");
    store->write("A", "two");
    removeAll();
    store->write("B", "next");
    EXPECT_THAT(log.lines(), Contains(HasSubstr("was removed while it was in use")));
    EXPECT_THAT(store->history("A"), SizeIs(2));
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("two")));
    EXPECT_THAT(store->read("B"), Optional(std::string("next")));
    EXPECT_THAT(store->notices(), IsEmpty());
}

TEST_F(MovedFileTest, isSetAsideWhenAnotherOneStandsThere)
{
    store->write("A", "one");
    std::filesystem::remove(file());
    folder.write("settings.db", "another file");
    store->write("B", "next");
    EXPECT_EQ(filesSetAside(), 1u);
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("one")));
    EXPECT_THAT(store->read("B"), Optional(std::string("next")));
}

TEST_F(MovedFileTest, isRefusedUntilThereIsAFolderForItAndLosesNothing)
{
    store->write("A", "one");
    const std::filesystem::path away = folder.path().string() + ".away";
    std::filesystem::rename(folder.path(), away);
    EXPECT_THAT(failureOf([this] { store->write("B", "next"); }).second, HasSubstr("could not be stored in"));
    EXPECT_THAT(store->read("A"), Optional(std::string("one")));
    std::filesystem::create_directory(folder.path());
    store->write("B", "next");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("one")));
    EXPECT_THAT(store->read("B"), Optional(std::string("next")));
    std::filesystem::remove_all(away);
}

/// Documents that their owner uses although they could not be stored.
class UnstoredTest : public SettingsStoreTest {
protected:
    /// The disk takes nothing while the object lives.
    struct FullDisk {
        const kit::FileSizeLimit limit{1};
    };
    void refusedInForce() const
    {
        EXPECT_THROW(store->write("A", "in force", SettingsStore::Unstored::triedAgain), DatabaseError);
    }
};

TEST_F(UnstoredTest, areStoredWithTheNextChange)
{
    {
        const FullDisk disk;
        refusedInForce();
        EXPECT_THROW(store->write("B", "refused"), DatabaseError);
    }
    EXPECT_THAT(store->keys(), IsEmpty());
    store->write("C", "next");
    EXPECT_THAT(store->read("A"), Optional(std::string("in force")));
    EXPECT_EQ(store->read("B"), std::nullopt);
}

TEST_F(UnstoredTest, areTriedAgainWithoutAChange)
{
    {
        const FullDisk disk;
        refusedInForce();
        store->drain();
        EXPECT_EQ(store->read("A"), std::nullopt) << "the disk still refuses";
        EXPECT_EQ(log.count("stored now"), 0U);
    }
    store->drain();
    EXPECT_THAT(store->read("A"), Optional(std::string("in force")));
}

TEST_F(UnstoredTest, areKeptWhenANewerOneIsRefused)
{
    {
        const FullDisk disk;
        refusedInForce();
        EXPECT_THROW(store->write("A", "refused"), DatabaseError);
    }
    store->drain();
    EXPECT_THAT(store->read("A"), Optional(std::string("in force")));
}

TEST_F(UnstoredTest, areThoseToldThatALockedFileDidNotTake)
{
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(file().c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_THAT(failureOf([this] { store->write("A", "in force", SettingsStore::Unstored::triedAgain); }).second,
                HasSubstr("could not be stored in " + file().string() + ": database is locked"));
    EXPECT_EQ(store->read("A"), std::nullopt);
    sqlite3_close(other);
    store->drain();
    EXPECT_THAT(store->read("A"), Optional(std::string("in force")));
}

TEST_F(UnstoredTest, areForgottenWhenANewerOneIsStored)
{
    {
        const FullDisk disk;
        refusedInForce();
    }
    store->write("A", "newer");
    store->drain();
    EXPECT_THAT(store->read("A"), Optional(std::string("newer")));
    EXPECT_THAT(store->history("A"), SizeIs(1));
}

/// Who may read what is kept, and what stands in the place of a file.
class PrivateFilesTest : public SettingsStoreTest {
protected:
    static mode_t modeOf(const std::filesystem::path& path)
    {
        return static_cast<mode_t>(std::filesystem::status(path).permissions()) & ALLPERMS;
    }
};

TEST_F(PrivateFilesTest, haveTheirModesWhateverTheUmask)
{
    for (const mode_t mask : {0U, 0277U}) {
        const mode_t before = ::umask(mask);
        const auto state = folder / ("state" + std::to_string(mask)) / "of";
        const StateLock lock(state);
        SettingsStore own(state);
        own.write("A", "one");
        own.drain();
        ::umask(before);
        EXPECT_EQ(modeOf(state), 0700U);
        EXPECT_EQ(modeOf(state.parent_path()) & 077U, 0U);
        for (const char* name : {"lock", "settings.db", "settings.db-wal", "settings.last"}) {
            EXPECT_EQ(modeOf(state / name), 0600U) << name;
        }
    }
}

TEST_F(PrivateFilesTest, ofAnEarlierVersionBecomePrivate)
{
    store.reset();
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(file(), std::filesystem::perms(0644));
    const StateLock lock(folder.path());
    open();
    EXPECT_EQ(modeOf(folder.path()), 0700U);
    EXPECT_EQ(modeOf(file()), 0600U);
}

TEST_F(PrivateFilesTest, areNotWrittenThroughALink)
{
    folder.write("precious", "mine");
    for (const char* name : {"settings.db", "settings.last", "lock"}) {
        const kit::TemporaryFolder other;
        std::filesystem::create_symlink(folder / "precious", other / name);
        EXPECT_THAT(refusalOf([&] {
                        const StateLock lock(other.path());
                        const SettingsStore own(other.path());
                    }),
                    HasSubstr((other / name).string() + "' is a symbolic link"));
    }
    EXPECT_EQ(kit::contentOf(folder / "precious"), "mine");
}

TEST_F(PrivateFilesTest, areNoFifos)
{
    for (const char* name : {"settings.db", "settings.last", "lock"}) {
        const kit::TemporaryFolder other;
        ASSERT_EQ(::mkfifo((other / name).c_str(), 0600), 0);
        EXPECT_THAT(refusalOf([&] {
                        const StateLock lock(other.path());
                        const SettingsStore own(other.path());
                    }),
                    HasSubstr((other / name).string() + "' is no regular file"));
    }
}

} // namespace
