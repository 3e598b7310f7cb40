// Whatever a method or a property of the camera's services throws, the caller gets an error and the process lives on.
#include "FailingObjects.h"
#include "camera/bus/Connection.h"
#include "kit/Eventually.h"
#include "kit/PrivateBus.h"

#include <gtest/gtest.h>

namespace {

using camera::bus::Connection;
using camera::bus::Session;
using kit::kPatience;
using kit::soon;

struct Failure {
    const char* name;
    void (*fail)();
    std::string answer; ///< the name of the error, and its text
};

void PrintTo(const Failure& failure, std::ostream* out)
{
    *out << failure.name;
}

class FailingObjectsTest : public testing::TestWithParam<Failure> {
protected:
    using Objects = std::vector<std::shared_ptr<void>>;

    void SetUp() override
    {
        serving.start();
        ASSERT_TRUE(serving.waitUntilConnected(soon())) << serving.reason();
        asking.start();
        ASSERT_TRUE(asking.waitUntilConnected(soon())) << asking.reason();
    }

    static std::string answerTo(const std::function<void()>& question)
    {
        try {
            question();
            return "answered";
        } catch (const sdbus::Error& error) {
            return error.getName() + "|" + error.getMessage();
        }
    }

    kit::PrivateBus bus;
    Connection serving{bus.address(), "the server"};
    Connection asking{bus.address(), "the client"};
    std::shared_ptr<camera::bus::CurrentObject<Objects>> objects =
        serving.add<Objects>([](const std::shared_ptr<Session>& session) {
            return std::make_shared<Objects>(failing::serveAll(session->connection(), GetParam().fail));
        });
    std::shared_ptr<camera::bus::CurrentObject<failing::Questions>> questions =
        asking.add<failing::Questions>([](const std::shared_ptr<Session>& session) {
            return std::make_shared<failing::Questions>(failing::allQuestions(session->connection(), kPatience));
        });
};

TEST_P(FailingObjectsTest, everyMethodAndPropertyAnswersWithAnError)
{
    const auto all = questions->get();
    ASSERT_TRUE(all);
    ASSERT_GT(all->size(), 60u);
    for (const auto& [name, question] : *all) {
        EXPECT_EQ(answerTo(question), GetParam().answer) << name;
    }
    EXPECT_EQ(serving.sessions(), 1u) << "the connection held";
}

const Failure kFailures[] = {
    {"runtimeError", [] { throw std::runtime_error("broken"); }, "ravel.Error.Failed|broken"},
    {"bytes", [] { throw std::runtime_error("a\xFFz"); }, "ravel.Error.Failed|a\xEF\xBF\xBDz"},
    {"number", [] { throw 5; }, "ravel.Error.Failed|an exception of an unknown type"},
    {"refusal", [] { throw camera::bus::Refusal("not today"); }, "ravel.Error.Refused|not today"},
    {"busError", [] { throw sdbus::Error("test.Error", "told"); }, "test.Error|told"},
};

INSTANTIATE_TEST_SUITE_P(Failures, FailingObjectsTest, testing::ValuesIn(kFailures),
                         [](const testing::TestParamInfo<Failure>& info) { return std::string(info.param.name); });

} // namespace
