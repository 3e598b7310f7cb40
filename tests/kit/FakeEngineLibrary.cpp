#include "kit/FakePlatform.h"
#include "kit/HeapWatch.h"
#include "kit/Journal.h"

#include "plugin/analytics/factory.h"
#include "plugin/analytics/frame_utils.h"

#include <cstdlib>
#include <cstring>
#include <new>

using kit::journal;
using kit::Part;
using kit::platform;

namespace kit {

int RotatedImages::made()
{
    return watchedBlocks();
}

int RotatedImages::freed()
{
    return watchedBlocksFreed();
}

bool RotatedImages::countsFrees()
{
    return heapIsWatched();
}

} // namespace kit

namespace analytics_lib {

namespace {

/// Marks the new image with the angle's first byte instead of turning pixels: tests look at who gets which image.
void rotate(const YuvFrame& source, YuvFrame& destination, const char* call, bool swapsSides, int mark)
{
    platform().reached(call);
    journal().add(Part::Engine, call, " ", source.width, "x", source.height);
    const std::uint64_t width = swapsSides ? source.height : source.width;
    const std::uint64_t height = swapsSides ? source.width : source.height;
    const std::size_t bytes = static_cast<std::size_t>(width * height * 3 / 2);
    void* const image = std::malloc(bytes == 0 ? 1 : bytes);
    if (image == nullptr) {
        throw std::bad_alloc();
    }
    std::memset(image, mark, bytes);
    kit::watchBlock(image);
    destination.data = static_cast<std::uint8_t*>(image);
    destination.width = width;
    destination.height = height;
    destination.bytesPerRow = static_cast<std::uint32_t>(width);
}

} // namespace

const std::string IOnvifAnalytics::kVideoAnalyticTag = "tt:VideoAnalyticsConfiguration";
const std::string IOnvifAnalytics::kVideoAnalyticHeader = "<tt:VideoAnalyticsConfiguration>";
const std::string IOnvifAnalytics::kVideoAnalyticFooter = "</tt:VideoAnalyticsConfiguration>";
const std::string IOnvifAnalytics::kEngineConfigTag = "tt:AnalyticsEngineConfiguration";
const std::string IOnvifAnalytics::kEngineConfigHeader = "<tt:AnalyticsEngineConfiguration>";
const std::string IOnvifAnalytics::kEngineConfigFooter = "</tt:AnalyticsEngineConfiguration>";
const std::string IOnvifAnalytics::kRuleConfigTag = "tt:RuleEngineConfiguration";
const std::string IOnvifAnalytics::kRuleConfigHeader = "<tt:RuleEngineConfiguration>";
const std::string IOnvifAnalytics::kRuleConfigFooter = "</tt:RuleEngineConfiguration>";

std::vector<std::shared_ptr<IOnvifAnalytics>> GetSupportedAnalyticsLibs(void* logContext,
                                                                        std::shared_ptr<IAnalyticsPtz> ptz)
{
    platform().reached("getSupportedAnalyticsLibs");
    kit::FakeEngineLibrary& library = platform().engineLibrary;
    journal().add(Part::Engine, "getSupportedAnalyticsLibs -> ", library.engines.size());
    library.logContext = logContext;
    library.ptzSeen = ptz;
    if (library.keepsPtz) {
        library.ptz = std::move(ptz);
    }
    return library.engines;
}

namespace frame_utils {

void YUV420SemiPlanar_Rotate90(const YuvFrame& source, YuvFrame& destination)
{
    rotate(source, destination, "rotate90", true, 90);
}

void YUV420SemiPlanar_Rotate180(const YuvFrame& source, YuvFrame& destination)
{
    rotate(source, destination, "rotate180", false, 180);
}

void YUV420SemiPlanar_Rotate270(const YuvFrame& source, YuvFrame& destination)
{
    rotate(source, destination, "rotate270", true, 27);
}

} // namespace frame_utils

} // namespace analytics_lib
