#include "kit/PlatformTest.h"
#include "ptz/PtzShim.h"

#include "Digest.h"

#include <array>

namespace {

using kit::platform;

class SensorDigest : public kit::PlatformTest {
protected:
    SensorDigest()
    {
        platform().positioning.available = true;
        kit::journal().record(false);
    }

    ~SensorDigest() override { kit::journal().record(true); }

    static void add(Digest& digest, analytics_lib::IAnalyticsPtz& ptz)
    {
        unsigned int width = 0;
        unsigned int height = 0;
        unsigned int angle = 0;
        unsigned int first = 0;
        unsigned int second = 0;
        ptz.GetPtzCameraInfo(width, height, angle, first, second);
        digest.add(width);
        digest.add(height);
    }
};

TEST_F(SensorDigest, isTheSameForEveryAngleOnEveryArchitecture)
{
    auto& positioning = platform().positioning;
    korva::meridan::PtzShim shim;
    Digest digest;
    std::uint32_t answers = 0;
    for (const unsigned int focal : std::array<unsigned int, 4>{4300, 129000, 1, 4000000000U}) {
        for (const unsigned int dimension : std::array<unsigned int, 3>{5568, 0, 4000000000U}) {
            positioning.focalLimits[0] = focal;
            positioning.sensorDimensions[0] = dimension;
            for (unsigned int angle = 0; angle <= 360000; angle += 7) {
                positioning.angleLimits[1] = angle;
                add(digest, shim);
                ++answers;
            }
        }
    }
    EXPECT_EQ(answers, 12U * 51429U);
    EXPECT_EQ(digest.value(), 10570797511650692999U);
}

} // namespace
