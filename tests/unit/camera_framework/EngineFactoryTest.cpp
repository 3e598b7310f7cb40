// Which engines a plug-in gets.
#include "camera/framework/EngineFactory.h"

#include "camera/base/Current.h"
#include "kit/FakeEngine.h"
#include "kit/LogLines.h"
#include "plugin/analytics/factory.h"

#include <gmock/gmock.h>

#include <map>
#include <stdexcept>

namespace {

using camera::framework::EngineFactory;
using camera::framework::EngineModule;
using camera::framework::Engines;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

using Create = DetectionEngineModule::Create;

DetectionEngineModule module(const char* name, Create create)
{
    return {DetectionEngineModule::kVersion,
            sizeof(analytics_lib::YuvFrame),
            sizeof(MetadataBuffers),
            sizeof(std::string),
            name,
            create};
}

template <char Letter>
std::shared_ptr<analytics_lib::IOnvifAnalytics> make(void*, std::shared_ptr<analytics_lib::IAnalyticsPtz>)
{
    return std::make_shared<kit::FakeEngine>(std::string(1, Letter) + "engine");
}

class EngineFactoryTest : public testing::Test {
protected:
    std::vector<std::string> names(const std::vector<DetectionEngineModule>& modules)
    {
        std::vector<EngineModule> pointers;
        for (const DetectionEngineModule& each : modules) {
            pointers.push_back(&each);
        }
        EngineFactory factory(
            [](void*, const auto&) {
                return Engines{std::make_shared<kit::FakeEngine>("Simple"),
                               std::make_shared<kit::FakeEngine>("Motion")};
            },
            pointers, {});
        std::vector<std::string> result;
        for (const auto& engine : factory.make(log, nullptr)) {
            result.push_back(engine->getName());
        }
        std::vector<std::string> recorded;
        for (const auto& record : factory.records()) {
            recorded.push_back(record->name());
        }
        EXPECT_EQ(recorded, result);
        return result;
    }

    const kit::LogLines lines;
    void* const log = camera::base::Log::instance().open("test");
};

TEST_F(EngineFactoryTest, thoseOfModulesComeFirstInTheirOrder)
{
    EXPECT_THAT(names({module("b", make<'b'>), module("a", make<'a'>)}),
                ElementsAre("bengine", "aengine", "Simple", "Motion"));
    EXPECT_THAT(lines.lines(), IsEmpty());
}

TEST_F(EngineFactoryTest, knowsTheFileOfAModulesEngine)
{
    static const DetectionEngineModule ofThisProgram = module("a", make<'a'>);
    EngineFactory factory([](void*, const auto&) { return Engines{std::make_shared<kit::FakeEngine>("Simple")}; },
                          {&ofThisProgram}, {});
    const Engines engines = factory.make(log, nullptr);
    ASSERT_EQ(factory.records().size(), 2u);
    EXPECT_EQ(factory.records()[0]->module().filename(), std::filesystem::read_symlink("/proc/self/exe").filename());
    EXPECT_EQ(factory.records()[1]->module(), "") << "an engine of the program";
}

TEST_F(EngineFactoryTest, leavesOutAnEngineWhoseNameBeginsLikeAnotherOne)
{
    const auto same = [](const char* name) {
        static std::string text;
        text = name;
        return module("it", [](void*, std::shared_ptr<analytics_lib::IAnalyticsPtz>) {
            return std::shared_ptr<analytics_lib::IOnvifAnalytics>(std::make_shared<kit::FakeEngine>(text));
        });
    };
    for (const char* name : {"Motion", "Motion2", "Mot", ""}) {
        EXPECT_THAT(names({same(name)}), ElementsAre("Simple", "Motion")) << name;
    }
    EXPECT_THAT(names({module("a", make<'a'>), module("a", make<'a'>)}), ElementsAre("aengine", "Simple", "Motion"));
    ASSERT_EQ(lines.lines().size(), 5u);
    EXPECT_THAT(lines.lines()[0],
                EndsWith("test: engines: the engine 'Motion' is left out: its name and 'Motion' begin alike\n"));
}

TEST_F(EngineFactoryTest, leavesOutTheEngineOfAModuleThatFails)
{
    const Create throws = [](void*, auto) -> std::shared_ptr<analytics_lib::IOnvifAnalytics> {
        throw std::runtime_error("no model");
    };
    const Create throwsAnything = [](void*, auto) -> std::shared_ptr<analytics_lib::IOnvifAnalytics> { throw 7; };
    const Create makesNone = [](void*, auto) { return std::shared_ptr<analytics_lib::IOnvifAnalytics>(); };
    EXPECT_THAT(names({module("one", throws), module("two", throwsAnything), module("three", makesNone),
                       module("a", make<'a'>)}),
                ElementsAre("aengine", "Simple", "Motion"));
    EXPECT_THAT(lines.lines(), ElementsAre(HasSubstr("the engine module 'one' failed: no model"),
                                           HasSubstr("the engine module 'two' failed: an exception of an unknown type"),
                                           HasSubstr("the engine module 'three' made no engine")));
}

TEST_F(EngineFactoryTest, leavesOutAnEngineThatCannotSayItsName)
{
    struct Nameless final : kit::FakeEngine {
        Nameless() : FakeEngine("x") {}
        std::string getName() const override { throw 7; }
    };
    const Create nameless = [](void*, auto) -> std::shared_ptr<analytics_lib::IOnvifAnalytics> {
        return std::make_shared<Nameless>();
    };
    EXPECT_THAT(names({module("one", nameless)}), ElementsAre("Simple", "Motion"));
    EXPECT_THAT(lines.lines(), ElementsAre(HasSubstr("the engine module 'one' failed: an exception of an unknown")));
}

TEST_F(EngineFactoryTest, theSeamsFunctionAsksTheCurrentOne)
{
    EXPECT_THAT(analytics_lib::GetSupportedAnalyticsLibs(log, nullptr), IsEmpty()) << "there is none";
    int changes = 0;
    const auto engine = std::make_shared<kit::FakeEngine>("Only");
    void* given = nullptr;
    const auto factory = std::make_shared<EngineFactory>(
        [&](void* context, const auto&) {
            given = context;
            return Engines{engine};
        },
        std::vector<EngineModule>(), camera::framework::EngineListeners{[&] { ++changes; }, {}, {}});
    const camera::base::Current<EngineFactory>::Binding binding(factory);
    const auto engines = analytics_lib::GetSupportedAnalyticsLibs(log, nullptr);
    ASSERT_EQ(engines.size(), 1u);
    EXPECT_EQ(given, log);
    EXPECT_NE(engines[0], engine) << "a monitor stands before it";
    analytics_lib::IRuleSet* ruleSet = engines[0]->createRuleSet();
    ASSERT_TRUE(engines[0]->activateRuleSet(ruleSet));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(factory->records()[0]->activeRuleSet(), ruleSet);
}

} // namespace
