#include "camera/store/SettingsStore.h"

#include "kit/LogLines.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace {

using camera::store::DatabaseError;
using camera::store::SettingsStore;
using kit::refusalOf;
using namespace testing;

class SettingsStoreTest : public testing::Test {
protected:
    SettingsStoreTest() { open(); }

    void open(std::int64_t maxBytes = 0)
    {
        store.reset();
        store = std::make_unique<SettingsStore>(folder.path(), maxBytes);
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

    std::filesystem::path file() const { return folder / "settings.db"; }

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

TEST_F(SettingsStoreTest, loadsTheLastGoodDocumentWhenAStoredOneIsDamaged)
{
    store->write("A", "good");
    store->write("A", "newer");
    store->write("B", "whole");
    store.reset();
    change("UPDATE settings SET document = CAST('nEwer' AS BLOB) WHERE key = CAST('A' AS BLOB);"
           "UPDATE history SET document = CAST('nEwer' AS BLOB) WHERE document = CAST('newer' AS BLOB)");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("good")));
    EXPECT_THAT(store->read("B"), Optional(std::string("whole")));
    ASSERT_THAT(store->notices(), SizeIs(1));
    EXPECT_THAT(store->notices()[0], HasSubstr("the settings \"A\" in " + file().string() +
                                               " are damaged and were set aside; the last good document is used"));
    open();
    EXPECT_THAT(store->notices(), IsEmpty()) << "repaired once";
}

TEST_F(SettingsStoreTest, saysSoWhenNoGoodDocumentIsLeft)
{
    store->setDefault("A", "[]");
    store->write("A", "only");
    store.reset();
    change("UPDATE settings SET checksum = checksum + 1; UPDATE history SET checksum = checksum + 1");
    open();
    store->setDefault("A", "[]");
    EXPECT_THAT(store->read("A"), Optional(std::string("[]")));
    ASSERT_THAT(store->notices(), SizeIs(1));
    EXPECT_THAT(store->notices()[0], HasSubstr("no good document of them is left"));
}

TEST_F(SettingsStoreTest, noticesARowThatWasStoredUnderAnotherKey)
{
    store->write("A", "of A");
    store.reset();
    change("UPDATE settings SET key = CAST('B' AS BLOB)");
    open();
    EXPECT_EQ(store->read("B"), std::nullopt);
    EXPECT_THAT(store->notices(), SizeIs(1));
}

TEST_F(SettingsStoreTest, throwsWhenADocumentIsDamagedWhileTheStoreIsOpen)
{
    store->write("A", "good");
    change("UPDATE settings SET checksum = checksum + 1");
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
    EXPECT_THAT(store->notices()[0], HasSubstr("0 of its documents were read back and 1 taken from the copy"));
    EXPECT_EQ(filesSetAside(), 1u);
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    EXPECT_THAT(store->notices(), IsEmpty());
}

TEST_F(SettingsStoreTest, readsBackWhatItCanOfATruncatedFile)
{
    for (int document = 0; document < 20; ++document) {
        store->write("key " + std::to_string(document), std::string(3000, static_cast<char>('a' + document)));
    }
    open();
    store->write("later", "written after the copy was made");
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
    EXPECT_THAT(store->notices(), SizeIs(1));
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
    change("PRAGMA user_version = 99; PRAGMA application_id = 1382119011");
    EXPECT_THAT(refusalOf([this] { open(); }), HasSubstr("written by a newer version of this program"));
    EXPECT_EQ(filesSetAside(), 0u);
}

TEST_F(SettingsStoreTest, doesNotTakeADamagedLayoutNumberForANewerProgram)
{
    store->write("A", "kept");
    store.reset();
    change("PRAGMA user_version = 99");
    open();
    EXPECT_THAT(store->read("A"), Optional(std::string("kept")));
    ASSERT_THAT(store->notices(), SizeIs(1));
    EXPECT_THAT(store->notices()[0], HasSubstr("is damaged (its layout number is broken)"));
    EXPECT_EQ(filesSetAside(), 1u);
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
    open(64 * 1024);
    EXPECT_THAT(failureOf([this] { store->write("A", std::string(1024 * 1024, 'x')); }),
                Pair(DatabaseError::Kind::full,
                     "the settings \"A\" could not be stored in " + file().string() + ": no space is left for it"));
    EXPECT_THAT(store->read("A"), Optional(std::string("small")));
    store->write("A", "small again");
    EXPECT_THAT(store->read("A"), Optional(std::string("small again")));
    EXPECT_THAT(store->history("A"), SizeIs(2));
}

} // namespace
