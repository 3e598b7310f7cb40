// Failures of the settings store as the plug-in knows them: the service API's exception with a status.
#include "ravel/settings.h"

#include "camera/serviceapi/ServiceApi.h"
#include "camera/serviceapi/Status.h"
#include "kit/FakeDeviceServices.h"
#include "kit/LogLines.h"
#include "kit/TemporaryFolder.h"
#include "ravel/RavelApiException.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>

namespace {

using namespace camera::serviceapi;
using ravel::core::RavelApiException;

/// What every attempt to write something durably fails with; 0: none fails.
std::atomic<int> writeError{0};

int syncAs(const char* function, int descriptor)
{
    if (writeError != 0) {
        errno = writeError;
        return -1;
    }
    return reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, function))(descriptor);
}

} // namespace

// The database finds these before the C library's.
extern "C" __attribute__((visibility("default"))) int fsync(int descriptor)
{
    return syncAs("fsync", descriptor);
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor)
{
    return syncAs("fdatasync", descriptor);
}

namespace {

struct Failure {
    const char* name;
    int error;       ///< of a write; 0: a read fails
    const char* sql; ///< what happened to the file before the read
    ravel_core_status status;
    const char* sentence; ///< the end of it
};

class SettingsFailureTest : public testing::TestWithParam<Failure> {
protected:
    ~SettingsFailureTest() override { writeError = 0; }

    void change(const char* sql) const
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open((folder / "settings.db").c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(database);
    }

    const kit::LogLines log;
    const kit::TemporaryFolder folder;
    const std::shared_ptr<ServiceApi> api =
        std::make_shared<ServiceApi>(ServiceApiOptions{folder.path(), "", std::make_shared<FakeDeviceServices>()});
    const CurrentServiceApi::Binding binding{api};
};

TEST_P(SettingsFailureTest, isAnExceptionWithItsStatus)
{
    ravel::core::settingsSetJson("A", "good");
    std::string value = "untouched";
    try {
        if (GetParam().error != 0) {
            writeError = GetParam().error;
            ravel::core::settingsSetJson("A", "never stored");
        } else {
            change(GetParam().sql);
            ravel::core::settingsGetJson("A", value);
        }
        FAIL() << "no failure";
    } catch (const RavelApiException& failure) {
        EXPECT_EQ(failure.status(), GetParam().status);
        EXPECT_THAT(failure.what(), testing::HasSubstr("the settings \"A\" could not be "));
        EXPECT_THAT(failure.what(), testing::HasSubstr(GetParam().sentence));
    }
    EXPECT_EQ(value, "untouched");
}

INSTANTIATE_TEST_SUITE_P(Kinds, SettingsFailureTest,
                         testing::Values(Failure{"full", ENOSPC, "", kStorageFull, "no space is left for it"},
                                         Failure{"readOnly", EROFS, "", kStorageReadOnly, "Read-only file system"},
                                         Failure{"failed", EIO, "", kStorageFailed, "Input/output error"},
                                         Failure{"damaged", 0, "UPDATE documents SET checksum = checksum + 1",
                                                 kStorageDamaged, "damaged"},
                                         Failure{"rejected", 0, "DROP TABLE documents", kStorageFailed, "settings"}),
                         [](const testing::TestParamInfo<Failure>& info) { return std::string(info.param.name); });

} // namespace
