#include "kit/FakeEngine.h"
#include "kit/HostSeam.h"
#include "kit/PlatformTest.h"
#include "plugin/DetectionPlugin.h"

#include "Digest.h"

#include <array>
#include <memory>

namespace {

using kit::FrameBuffer;
using kit::platform;

struct Size {
    std::int32_t width;
    std::int32_t height;
};

/// Frames go through the whole plug-in, because only there the angle is computed.
class AngleDigest : public kit::PlatformTest {
protected:
    AngleDigest()
    {
        platform().positioning.available = true;
        auto engine = std::make_shared<kit::FakeEngine>("Any");
        engine->frameScript = [this](const analytics_lib::YuvFrame& frame, MetadataBuffers&) {
            seen = frame;
            ++frames;
            return true;
        };
        platform().engineLibrary.engines.push_back(engine);
        plugin.reset(korva::meridan::createDetectionPlugin(&environment, configuration));
        kit::journal().record(false);
    }

    ~AngleDigest() override
    {
        kit::journal().record(true);
        plugin.reset();
    }

    std::uint32_t verticalAngleOf(unsigned int horizontal, const Size& size)
    {
        platform().positioning.angleOfView = horizontal;
        auto* const buffer = FrameBuffer::image(4, 2);
        buffer->format.values["width"] = size.width;
        buffer->format.values["height"] = size.height;
        static_cast<korva::meridan::DetectionPlugin&>(*plugin).OnBuffer(nullptr, buffer);
        return seen.verticalAngleOfView;
    }

    korva::meridan::MeridanEnv environment;
    korva::meridan::IPluginConfiguration configuration;
    analytics_lib::YuvFrame seen;
    std::uint32_t frames = 0;
    std::unique_ptr<korva::meridan::PipelinePlugin> plugin;
};

TEST_F(AngleDigest, isTheSameForEveryAngleOnEveryArchitecture)
{
    constexpr std::array<Size, 6> sizes{{{1920, 1080}, {1080, 1920}, {640, 360}, {704, 576}, {7, 3}, {-4, 9}}};
    Digest digest;
    for (const Size& size : sizes) {
        // Steps are odd, so that every rounding of the single-precision product is met.
        for (unsigned int angle = 0; angle <= 360000; angle += 13) {
            digest.add(verticalAngleOf(angle, size));
        }
        for (unsigned int angle = 16777215; angle > 1000000; angle -= 1000003) { // no longer exact in a float
            digest.add(verticalAngleOf(angle, size));
        }
        digest.add(verticalAngleOf(4294967295U, size));
    }
    EXPECT_EQ(frames, 6U * (27693U + 16U + 1U));
    EXPECT_EQ(digest.value(), 11448602041018517372U);
}

} // namespace
