#include "camera/supervisor/BusDaemon.h"

#include "camera/supervisor/ChildProcess.h"
#include "kit/EnvironmentVariable.h"
#include "kit/Eventually.h"
#include "kit/ForkedProcess.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>

#include <grp.h>
#include <sys/resource.h>
#include <unistd.h>

namespace camera::supervisor {
namespace {

constexpr uid_t kOwner = 1; // "daemon", in every system

void become(uid_t user)
{
    if (::setgroups(0, nullptr) != 0 || ::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0) {
        ::_exit(1);
    }
}

// Where that user may enter, and nobody else may write.
std::filesystem::path runtimeFolderOf(uid_t user, const kit::TemporaryFolder& folder)
{
    const std::filesystem::path runtime = folder / "runtime";
    std::filesystem::create_directory(runtime);
    EXPECT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    EXPECT_EQ(::chown(runtime.c_str(), user, user), 0);
    return runtime;
}

bool connects(const std::string& address)
{
    try {
        return sdbus::createSessionBusConnectionWithAddress(address) != nullptr;
    } catch (const sdbus::Error&) {
        return false;
    }
}

TEST(BusDaemonTest, takesItsOwnUserAndRootAndNobodyElse)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be two users";
    }
    const kit::TemporaryFolder folder;
    const std::filesystem::path runtime = runtimeFolderOf(kOwner, folder);
    const kit::EnvironmentVariable variable("XDG_RUNTIME_DIR", runtime);
    const kit::ForkedProcess owner([&] {
        become(kOwner);
        static const RuntimeFolder own(runtime / "state");
        static BusDaemon daemon(own);
        static const auto process = daemon.start();
        if (!kit::eventually([] { return daemon.listens(); }) || !connects(own.address())) {
            ::_exit(1);
        }
        own.announce();
    });
    const auto address = RuntimeFolder::find(runtime / "state");
    ASSERT_TRUE(address);
    EXPECT_TRUE(connects(*address)) << "root";
    // The paths let it in; the bus does not.
    ASSERT_EQ(::chmod(runtime.c_str(), 0755), 0);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(runtime)) {
        std::filesystem::permissions(entry.path(), std::filesystem::perms(0777));
    }
    kit::ForkedProcess other([&] {
        become(kOwner + 1);
        ::_exit(connects(*address) ? 1 : 7);
    });
    EXPECT_EQ(other.wait(), 7);
}

TEST(BusDaemonTest, refusesAUserWhomTheSystemDoesNotKnow)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user";
    }
    constexpr uid_t kUnknown = 3000000000;
    const kit::TemporaryFolder folder;
    const std::filesystem::path runtime = runtimeFolderOf(kUnknown, folder);
    const kit::EnvironmentVariable variable("XDG_RUNTIME_DIR", runtime);
    kit::ForkedProcess user([&] {
        become(kUnknown);
        const RuntimeFolder own(runtime / "state");
        const std::string refusal = kit::refusalOf([&own] { const BusDaemon daemon(own); });
        ::_exit(refusal.find("the user 3000000000, who has no entry") != std::string::npos ? 7 : 1);
    });
    EXPECT_EQ(user.wait(), 7);
}

TEST(ProcessLimitTest, saysWhatToDoWhenNoProcessCanBeStarted)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user";
    }
    kit::ForkedProcess user([] {
        constexpr rlimit kNone{0, 0};
        ::setrlimit(RLIMIT_NPROC, &kNone);
        become(kOwner);
        const std::string refusal = kit::refusalOf([] { const ChildProcess process({{"/bin/true"}}); });
        ::_exit(refusal.find("end other programs, or raise its limit") != std::string::npos ? 7 : 1);
    });
    EXPECT_EQ(user.wait(), 7);
}

} // namespace
} // namespace camera::supervisor
