#include "camera/base/Orientation.h"

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(Orientation, isOneOfFour)
{
    std::set<int> taken;
    for (int degrees = -360; degrees <= 720; ++degrees) {
        if (camera::base::isOrientation(degrees)) {
            taken.insert(degrees);
        }
    }
    EXPECT_EQ(taken, std::set<int>({0, 90, 180, 270}));
}

} // namespace
