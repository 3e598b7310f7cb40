#include "camera/gateway/Deadlines.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace camera::gateway {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// What is set to a far time is never waited for: the context runs until it has nothing more to wait for.
class DeadlinesTest : public testing::Test {
protected:
    using Entry = Deadlines::Entry;

    std::unique_ptr<Entry> entry(const std::string& name)
    {
        return std::make_unique<Entry>(_deadlines, [this, name] { _expired.push_back(name); });
    }

    void runUntilExpired(std::size_t count)
    {
        while (_expired.size() < count) {
            _context.run_one();
        }
    }

    boost::asio::io_context _context;
    Deadlines _deadlines{_context};
    std::vector<std::string> _expired;
};

TEST_F(DeadlinesTest, expireInTheOrderOfTheirTimes)
{
    const auto far = entry("far");
    const auto late = entry("late");
    const auto early = entry("early");
    far->set(1h);
    late->set(2ms);
    early->set(1ms);
    runUntilExpired(2);
    EXPECT_THAT(_expired, ElementsAre("early", "late"));
}

TEST_F(DeadlinesTest, aTimeThatIsSetAnewOrClearedDoesNotExpire)
{
    const auto anew = entry("anew");
    const auto cleared = entry("cleared");
    const auto last = entry("last");
    anew->set(1ms);
    cleared->set(1ms);
    last->set(3ms);
    anew->set(1h);
    cleared->clear();
    runUntilExpired(1);
    EXPECT_THAT(_expired, ElementsAre("last"));
}

TEST_F(DeadlinesTest, aTimeIsCalledOnceAndMaySetAnother)
{
    std::unique_ptr<Entry> again;
    again = std::make_unique<Entry>(_deadlines, [&] {
        _expired.emplace_back("again");
        if (_expired.size() < 3) {
            again->set(1ms);
        }
    });
    again->set(1ms);
    _context.run(); // ends, because nothing is set any more
    EXPECT_THAT(_expired, ElementsAre("again", "again", "again"));
}

TEST_F(DeadlinesTest, whatExpiresMayEndItselfAndOthers)
{
    auto other = entry("other");
    std::unique_ptr<Entry> self;
    self = std::make_unique<Entry>(_deadlines, [&] {
        _expired.emplace_back("self");
        other.reset();
        self.reset();
    });
    self->set(1ms);
    other->set(1h);
    _context.run();
    EXPECT_EQ("self", _expired.front());
    EXPECT_FALSE(self);
    EXPECT_FALSE(other);
}

TEST_F(DeadlinesTest, theContextDoesNotWaitForWhatHasEnded)
{
    auto ended = entry("ended");
    ended->set(1h);
    ended.reset();
    _context.run();
    EXPECT_TRUE(_expired.empty());
    const auto next = entry("next");
    next->set(1ms);
    _context.restart();
    _context.run();
    EXPECT_THAT(_expired, ElementsAre("next"));
}

TEST(DeadlinesEndTest, aTimeThatHasComeIsNotCalledAfterTheEnd)
{
    boost::asio::io_context context;
    bool expired = false;
    {
        std::optional<Deadlines> deadlines(context);
        std::optional<Deadlines::Entry> entry(std::in_place, *deadlines, [&] { expired = true; });
        entry->set(0ms);
        // Its call waits behind this one.
        boost::asio::post(context, [&] {
            entry.reset();
            deadlines.reset();
        });
        context.run_one();
    }
    context.run();
    EXPECT_FALSE(expired);
}

} // namespace
} // namespace camera::gateway
