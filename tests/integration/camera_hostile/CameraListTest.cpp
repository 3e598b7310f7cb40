// A list of a thousand rules over the real module, the reference engines and the durable store: each record is parsed,
// completed, printed and written with everything before it. The figures are printed; what is asserted is the outcome.

#include "camera/engines/ReferenceEngines.h"
#include "camera/pipeline/Device.h"
#include "kit/FakeDeviceServices.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>
#include <sys/resource.h>

namespace hostile {

namespace {

using camera::pipeline::Device;
using ::testing::SizeIs;

constexpr std::size_t kItems = 1000;

std::string ruleText(std::size_t index, const std::string& preset)
{
    const std::string item = preset.empty() ? "" : "<tt:SimpleItem Name=\"PtzPreset\" Value=\"" + preset + "\"/>";
    return "<tt:Rule Name=\"Rule" + std::to_string(index) + "\" Type=\"tt:MotionRegionDetector\"><tt:Parameters>" +
           item +
           "<tt:ElementItem Name=\"MotionRegion\"><axt:MotionRegionConfig Sensitivity=\"0.5\" "
           "Armed=\"true\"><tt:Polygon>"
           "<tt:Point x=\"-0.95\" y=\"0.95\"/><tt:Point x=\"-0.95\" y=\"-0.95\"/><tt:Point x=\"0.95\" y=\"-0.95\"/>"
           "</tt:Polygon></axt:MotionRegionConfig></tt:ElementItem></tt:Parameters></tt:Rule>";
}

class CameraListTest : public ::testing::Test {
protected:
    CameraListTest()
    {
        _options.engines = [](void* log, const auto& /*ptz*/) { return camera::engines::referenceEngines(log); };
        _options.pluginPath = DETECTION_MODULE;
        _options.stateDir = _folder / "state";
        _options.engineCount = 2;
        _options.ptz.emplace();
        _options.services = std::make_shared<FakeDeviceServices>();
        start();
    }

    void start()
    {
        _device.reset();
        _device = std::make_unique<Device>(_options);
    }

    camera::pipeline::TargetClient& target() { return _device->target(); }

    /// Runs work and prints its line; the peak is the process's own since it began.
    template <typename Work>
    static void timed(const char* name, const Work& work)
    {
        const auto start = std::chrono::steady_clock::now();
        work();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        std::printf("bomb: %s seconds=%.3f peak_mib=%.1f\n", name, seconds,
                    static_cast<double>(usage.ru_maxrss) / 1024);
        std::fflush(stdout);
    }

    void expectLife(const std::string& name, bool ownPresets)
    {
        std::vector<std::string> rules;
        std::vector<std::string> names;
        for (std::size_t i = 0; i < kItems; ++i) {
            rules.push_back(ruleText(i, ownPresets ? "Preset" + std::to_string(i) : ""));
            names.push_back("Rule" + std::to_string(i));
        }
        timed(("camera-items-1000-created-" + name).c_str(), [&] { EXPECT_TRUE(target().createRules(rules).ok()); });
        EXPECT_THAT(target().currentRules(), SizeIs(kItems));
        timed(("camera-items-1000-start-" + name).c_str(), [&] { start(); });
        EXPECT_THAT(target().currentRules(), SizeIs(kItems));
        timed(("camera-items-1000-deleted-" + name).c_str(), [&] { EXPECT_TRUE(target().deleteRules(names).ok()); });
        EXPECT_THAT(target().currentRules(), SizeIs(0));
    }

private:
    const kit::TemporaryFolder _folder;
    camera::pipeline::DeviceOptions _options;
    std::unique_ptr<Device> _device;
};

TEST_F(CameraListTest, takesAThousandRulesOfOneConfiguration)
{
    expectLife("one-configuration", false);
}

TEST_F(CameraListTest, takesAThousandRulesOfAThousandPresets)
{
    expectLife("own-presets", true);
}

} // namespace

} // namespace hostile
