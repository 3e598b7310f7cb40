#include "camera/gateway/StoredValue.h"

#include "kit/Gate.h"

#include <gmock/gmock.h>

#include <boost/asio/executor_work_guard.hpp>

#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace camera::gateway {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StoredValueTest : public testing::Test {
protected:
    using Value = StoredValue<int>;

    ~StoredValueTest() override { _disk.stop(); }

    Value::Done noted(const std::string& name)
    {
        return [this, name](const std::optional<onvif::Fault>& failure) {
            _answers.push_back(name + ": " + (failure ? failure->what() : "done"));
        };
    }

    /// Runs what comes until so many changes are answered.
    void runUntilAnswered(std::size_t count)
    {
        while (_answers.size() < count && _context.run_one_for(kit::kPatience) != 0) {
        }
    }

    boost::asio::io_context _context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work = make_work_guard(_context);
    DiskThread _disk;
    std::vector<int> _written; ///< by the disk thread
    std::string _failure;      ///< of the next write
    kit::Gate _gate;
    std::vector<std::string> _answers;
    Value _value{1,
                 [this](int value) {
                     if (value == 100) {
                         _gate.pass();
                     }
                     if (!_failure.empty()) {
                         throw std::runtime_error(std::exchange(_failure, ""));
                     }
                     _written.push_back(value);
                 },
                 _disk, _context};
};

TEST_F(StoredValueTest, changesWhenItIsWritten)
{
    _value.change([](int& value) { value = 2; }, noted("a"));
    EXPECT_EQ(1, _value.value());
    EXPECT_THAT(_answers, IsEmpty());
    runUntilAnswered(1);
    EXPECT_EQ(2, _value.value());
    EXPECT_THAT(_answers, ElementsAre("a: done"));
    EXPECT_THAT(_written, ElementsAre(2));
}

TEST_F(StoredValueTest, beginsEachChangeWithWhatTheOneBeforeLeft)
{
    _value.change([](int& value) { value *= 10; }, noted("a"));
    _value.change([](int& value) { value += 5; }, noted("b"));
    _value.change([](int& value) { value *= 2; }, noted("c"));
    runUntilAnswered(3);
    EXPECT_EQ(30, _value.value());
    EXPECT_THAT(_answers, ElementsAre("a: done", "b: done", "c: done"));
    EXPECT_THAT(_written, ElementsAre(10, 15, 30));
}

TEST_F(StoredValueTest, aChangeThatIsDurableIsToldBeforeItIsAnswered)
{
    _value.whenChanged(
        [this](int before, int after) { _answers.push_back(std::to_string(before) + " to " + std::to_string(after)); });
    _failure = "the disk is full";
    _value.change([](int& value) { value = 9; }, noted("a"));
    _value.change([](int& value) { value = 2; }, noted("b"));
    runUntilAnswered(3);
    EXPECT_THAT(_answers, ElementsAre("a: the disk is full", "1 to 2", "b: done"));
}

TEST_F(StoredValueTest, staysAsItWasWhenItCannotBeWritten)
{
    _failure = "the disk is full";
    _value.change([](int& value) { value *= 10; }, noted("a"));
    _value.change([](int& value) { value += 5; }, noted("b"));
    runUntilAnswered(2);
    EXPECT_EQ(6, _value.value());
    EXPECT_THAT(_answers, ElementsAre("a: the disk is full", "b: done"));
    EXPECT_THAT(_written, ElementsAre(6));
}

TEST_F(StoredValueTest, writesNothingOfAChangeThatIsRefused)
{
    const auto refuse = [](int& value) {
        value = 7;
        throw onvif::Fault::sender({"ter:InvalidArgVal"}, "no");
    };
    _value.change(refuse, noted("a"));
    EXPECT_THAT(_answers, ElementsAre("a: no"));
    _value.change([](int& value) { value = 2; }, noted("b"));
    _value.change(refuse, noted("c"));
    _value.change([](int& value) { value = 3; }, noted("d"));
    runUntilAnswered(4);
    EXPECT_THAT(_answers, ElementsAre("a: no", "b: done", "c: no", "d: done"));
    EXPECT_THAT(_written, ElementsAre(2, 3));
}

TEST_F(StoredValueTest, takesAChangeThatTheAnswerToAnotherMakes)
{
    _value.change([](int& value) { value = 2; },
                  [this](const std::optional<onvif::Fault>&) {
                      _answers.emplace_back("a");
                      _value.change([](int& value) { value += 1; }, noted("c"));
                  });
    _value.change([](int& value) { value += 10; }, noted("b"));
    runUntilAnswered(3);
    EXPECT_THAT(_answers, ElementsAre("a", "b: done", "c: done"));
    EXPECT_EQ(13, _value.value());
}

TEST_F(StoredValueTest, isReadWhileTheDiskIsSlow)
{
    _value.change([](int& value) { value = 100; }, noted("a"));
    ASSERT_TRUE(_gate.waitUntilReached());
    _value.change([](int& value) { value += 1; }, noted("b"));
    EXPECT_EQ(1, _value.value());
    _gate.open();
    runUntilAnswered(2);
    EXPECT_EQ(101, _value.value());
}

TEST_F(StoredValueTest, refusesChangesOfACameraThatEnds)
{
    _disk.stop();
    _value.change([](int& value) { value = 2; }, noted("a"));
    EXPECT_THAT(_answers, ElementsAre("a: the camera is ending"));
    EXPECT_EQ(1, _value.value());
}

TEST_F(StoredValueTest, letsGoOfAnAnswerOnItsOwnThread)
{
    std::vector<std::thread::id> threads;
    const auto released = [&threads](int* value) {
        threads.push_back(std::this_thread::get_id());
        delete value;
    };
    for (int i = 0; i < 50; ++i) {
        std::shared_ptr<int> refersTo(new int(i), released);
        _value.change([](int& value) { ++value; },
                      [this, refersTo](const std::optional<onvif::Fault>& /*failure*/) { _answers.push_back(""); });
        refersTo.reset();
        runUntilAnswered(static_cast<std::size_t>(i) + 1);
    }
    _disk.stop();
    EXPECT_EQ(std::vector<std::thread::id>(50, std::this_thread::get_id()), threads);
}

} // namespace
} // namespace camera::gateway
