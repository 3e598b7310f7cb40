#include "camera/gateway/GatewayState.h"

#include "kit/Eventually.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <boost/asio/executor_work_guard.hpp>

#include <fstream>
#include <sys/stat.h>

namespace camera::gateway {
namespace {

using onvif::UserLevel;
using onvif::Users;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class GatewayStateTest : public testing::Test {
protected:
    ~GatewayStateTest() override { end(); }

    GatewayState& begin(const GatewayState::Wanted& wanted = {})
    {
        end();
        _disk = std::make_unique<DiskThread>();
        _state = std::make_unique<GatewayState>(_folder.path(), wanted, *_disk, _context);
        return *_state;
    }

    void end()
    {
        if (_disk) {
            _disk->stop();
        }
        _state.reset();
    }

    /// Makes a change, and waits for its answer.
    template <class T>
    std::string change(onvif::Kept<T>& kept, const typename onvif::Kept<T>::Edit& edit)
    {
        std::optional<std::string> answer;
        kept.change(edit, [&answer](const std::optional<onvif::Fault>& failure) {
            answer = failure ? failure->what() : "done";
        });
        while (!answer && _context.run_one_for(kit::kPatience) != 0) {
        }
        return answer.value_or("no answer");
    }

    std::filesystem::path usersFile() const { return _folder.path() / "gateway" / "users"; }

    kit::TemporaryFolder _folder;
    boost::asio::io_context _context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work = make_work_guard(_context);
    std::unique_ptr<DiskThread> _disk;
    std::unique_ptr<GatewayState> _state;
};

TEST_F(GatewayStateTest, makesOneAdministratorAtItsFirstStart)
{
    GatewayState& first = begin();
    ASSERT_EQ(1U, first.users().value().all().size());
    const onvif::User admin = first.users().value().all().front();
    EXPECT_EQ("admin", admin.name);
    EXPECT_EQ(UserLevel::administrator, admin.level);
    EXPECT_EQ(first.firstPassword(), admin.password);
    EXPECT_THAT(admin.password, Not(IsEmpty()));
    GatewayState& second = begin();
    EXPECT_THAT(second.firstPassword(), IsEmpty());
    EXPECT_EQ(admin.password, second.users().value().find("admin")->password);
}

TEST_F(GatewayStateTest, letsNobodyElseReadThePasswords)
{
    ::umask(0);
    begin();
    struct stat status {};
    ASSERT_EQ(0, ::stat(usersFile().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 0777U);
    EXPECT_EQ("done", change<Users>(_state->users(), [](Users& users) {
                  users.create({{"b", UserLevel::user, "p"}});
              }));
    ASSERT_EQ(0, ::stat(usersFile().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 0777U);
    ::umask(022);
}

TEST_F(GatewayStateTest, keepsUsersAndSettings)
{
    begin();
    EXPECT_EQ("done", change<Users>(_state->users(), [](Users& users) {
                  users.create({{"b", UserLevel::user, "p:q"}});
              }));
    EXPECT_EQ("done", change<onvif::DeviceSettings>(_state->device(), [](onvif::DeviceSettings& settings) {
                  settings.network.hostname = "gate";
              }));
    begin();
    EXPECT_EQ("p:q", _state->users().value().find("b")->password);
    EXPECT_EQ("gate", _state->device().value().network.hostname);
}

TEST_F(GatewayStateTest, replacesTheUsersByThoseThatAreGiven)
{
    begin();
    begin({Users({{"root", UserLevel::administrator, "s"}})});
    EXPECT_THAT(_state->firstPassword(), IsEmpty());
    begin();
    EXPECT_EQ(nullptr, _state->users().value().find("admin"));
    EXPECT_EQ("s", _state->users().value().find("root")->password);
}

TEST_F(GatewayStateTest, hasOneIdentityForEver)
{
    const std::string uuid = begin().uuid();
    EXPECT_THAT(uuid, MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_EQ(uuid, begin().uuid());
    kit::TemporaryFolder other;
    DiskThread disk;
    EXPECT_NE(uuid, GatewayState(other.path(), {}, disk, _context).uuid());
}

TEST_F(GatewayStateTest, doesNotBeginWithUsersThatItCannotRead)
{
    begin();
    end();
    std::ofstream(usersFile()) << "admin:Administrator:secret\nb:King:hidden\n";
    const std::string refusal = kit::refusalOf([this] { begin(); });
    EXPECT_THAT(refusal, HasSubstr(usersFile().string()));
    EXPECT_THAT(refusal, HasSubstr("line 2"));
    EXPECT_THAT(refusal, HasSubstr("mend or remove the file"));
    EXPECT_THAT(refusal, Not(HasSubstr("hidden")));
    std::ofstream(usersFile()).close();
    EXPECT_THAT(kit::refusalOf([this] { begin(); }), HasSubstr("mend or remove the file"));
}

TEST_F(GatewayStateTest, hasItsFolderForItself)
{
    begin();
    DiskThread disk;
    EXPECT_THAT(kit::refusalOf([&] { GatewayState(_folder.path(), {}, disk, _context); }), HasSubstr("gateway"));
}

TEST_F(GatewayStateTest, answersWithTheReasonWhereUsersCannotBeWritten)
{
    begin();
    std::filesystem::remove(usersFile());
    std::filesystem::create_directory(usersFile());
    EXPECT_THAT(change<Users>(_state->users(),
                              [](Users& users) {
                                  users.create({{"b", UserLevel::user, "p"}});
                              }),
                HasSubstr("cannot write '"));
    EXPECT_EQ(nullptr, _state->users().value().find("b"));
}

} // namespace
} // namespace camera::gateway
