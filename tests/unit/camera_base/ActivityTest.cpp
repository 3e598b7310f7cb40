#include "camera/base/Activity.h"

#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace camera::base {
namespace {

using namespace testing;
using Kind = Activity::Kind;

TEST(Activity, namesTheInnermostAndSaysSinceWhenTheOutermostGoesOn)
{
    Activity& activity = Activity::instance();
    EXPECT_EQ(activity.text(), "");
    {
        const Activity::Scope frame(Kind::frame, Activity::Label("a frame"));
        const auto begin = activity.doing(Kind::frame)->since;
        {
            const Activity::Scope engine(Kind::frame, Activity::Label("onFrame"));
            EXPECT_EQ(activity.text(), " during onFrame");
            EXPECT_EQ(activity.doing(Kind::frame)->since, begin);
        }
        EXPECT_EQ(activity.doing(Kind::frame)->what, "a frame");
        const Activity::Scope control(Kind::control, Activity::Label("createRuleSet"));
        EXPECT_EQ(activity.text(), " during a frame and createRuleSet");
    }
    EXPECT_FALSE(activity.doing(Kind::frame));
    EXPECT_EQ(activity.text(), "");
}

TEST(Activity, anInnerScopeLeavesItsOwnLabelBehindWhenItIsToldOne)
{
    const Activity::Scope task(Kind::control, Activity::Label("a task"));
    {
        const Activity::Scope engine(Kind::control, Activity::Label("getName"), Activity::Label("what follows"));
    }
    EXPECT_EQ(Activity::instance().doing(Kind::control)->what, "what follows");
}

TEST(Activity, scopesDeeperThanItHasLabelsForNameTheDeepest)
{
    const Activity::Scope first(Kind::control, Activity::Label("1"));
    const Activity::Scope second(Kind::control, Activity::Label("2"));
    const Activity::Scope third(Kind::control, Activity::Label("3"));
    {
        const Activity::Scope fourth(Kind::control, Activity::Label("4"));
        const Activity::Scope fifth(Kind::control, Activity::Label("5"));
        EXPECT_EQ(Activity::instance().doing(Kind::control)->what, "5");
    }
    EXPECT_EQ(Activity::instance().doing(Kind::control)->what, "3");
}

TEST(Activity, aLongLabelIsCut)
{
    const Activity::Scope scope(Kind::frame, Activity::Label(std::string(500, 'x')));
    EXPECT_EQ(Activity::instance().doing(Kind::frame)->what, std::string(95, 'x'));
}

TEST(Activity, isReadThroughTheFile)
{
    const kit::TemporaryFolder folder;
    Activity reader;
    reader.create(folder / "activity");
    Activity::instance().share(folder / "activity");
    Activity::instance().addFrame();
    const Activity::Scope scope(Kind::frame, Activity::Label("onFrame of engine 'Motion'"));
    EXPECT_EQ(reader.text(), " during onFrame of engine 'Motion'");
    EXPECT_EQ(reader.frames(), 1U);
    reader.announceShutDown();
    EXPECT_TRUE(Activity::instance().shutDownAnnounced());
    reader.clear();
    EXPECT_EQ(reader.text(), "");
    EXPECT_EQ(reader.frames(), 0U);
    EXPECT_FALSE(Activity::instance().shutDownAnnounced());
}

TEST(Activity, refusesWhatIsNoFileOfThisUser)
{
    const kit::TemporaryFolder folder;
    Activity activity;
    EXPECT_THAT(kit::refusalOf([&] { activity.share(folder / "none"); }),
                AllOf(HasSubstr(folder / "none"), HasSubstr("No such file")));
    std::ofstream(folder / "real") << "";
    std::filesystem::create_symlink(folder / "real", folder / "link");
    EXPECT_THAT(kit::refusalOf([&] { activity.create(folder / "link"); }), HasSubstr("cannot be used"));
}

} // namespace
} // namespace camera::base
