#include "camera/cli/RestartReport.h"

#include <gmock/gmock.h>

namespace camera::cli {
namespace {

using onvif::ComponentName;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(RestartReport, tellsWhatARestartLosesAndBringsBack)
{
    const ComponentName a{true, "A", "tt:X", ""};
    const ComponentName b{true, "B", "tt:X", ""};
    const ComponentName module{false, "M", "tt:Y", "Door"};
    EXPECT_THAT(restartDifferences({a, b}, {b, a}), IsEmpty());
    EXPECT_THAT(restartDifferences({a, module}, {b, module}),
                ElementsAre("After a restart rule 'A' (tt:X) is gone: it is live, but not stored.",
                            "After a restart rule 'B' (tt:X) is back: it is still stored."));
    EXPECT_THAT(restartDifferences({module, module}, {module}),
                ElementsAre("After a restart module 'M' (tt:Y, preset Door) is gone: it is live, but not stored."));
}

} // namespace
} // namespace camera::cli
