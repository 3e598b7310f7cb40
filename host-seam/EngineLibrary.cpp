#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

#include "plugin/analytics/factory.h"
#include "plugin/analytics/frame_utils.h"

#include <cstdlib>
#include <cstring>
#include <new>

using host_seam::journal;
using host_seam::Part;
using host_seam::platform;

namespace analytics_lib {

namespace {

/// Where the pixel comes from that stands at (column, row) of the turned plane; width and height are the source's.
struct Place {
    std::uint64_t column;
    std::uint64_t row;
};

Place placeBefore(int degrees, std::uint64_t column, std::uint64_t row, std::uint64_t width, std::uint64_t height)
{
    switch (degrees) {
    case 90:
        return {row, height - 1 - column};
    case 180:
        return {width - 1 - column, height - 1 - row};
    default:
        return {width - 1 - row, column};
    }
}

/// Turns one plane of pixels that are `bytes` long; both strides are in bytes.
void turnPlane(const std::uint8_t* source, std::uint64_t stride, std::uint8_t* destination, std::uint64_t width,
               std::uint64_t height, std::size_t bytes, int degrees)
{
    const bool swapsSides = degrees != 180;
    const std::uint64_t columns = swapsSides ? height : width;
    const std::uint64_t rows = swapsSides ? width : height;
    for (std::uint64_t row = 0; row < rows; ++row) {
        for (std::uint64_t column = 0; column < columns; ++column) {
            const Place from = placeBefore(degrees, column, row, width, height);
            std::memcpy(destination + (row * columns + column) * bytes,
                        source + from.row * stride + from.column * bytes, bytes);
        }
    }
}

/// Pixel by pixel; an engine library for a device turns faster.
void rotate(const YuvFrame& source, YuvFrame& destination, const char* call, int degrees)
{
    platform().reached(call);
    journal().add(Part::Engine, call, " ", source.width, "x", source.height,
                  &source == &destination ? " into itself" : "");
    const YuvFrame from = source;
    const std::size_t luma = static_cast<std::size_t>(from.width * from.height);
    auto* const image = static_cast<std::uint8_t*>(std::malloc(luma == 0 ? 1 : luma * 3 / 2));
    if (image == nullptr) {
        throw std::bad_alloc();
    }
    turnPlane(from.data, from.bytesPerRow, image, from.width, from.height, 1, degrees);
    turnPlane(from.data + from.bytesPerRow * from.height, from.bytesPerRow, image + luma, from.width / 2,
              from.height / 2, 2, degrees);
    if (platform().engineLibrary.imageMade) {
        platform().engineLibrary.imageMade(image);
    }
    destination.data = image;
    destination.width = degrees == 180 ? from.width : from.height;
    destination.height = degrees == 180 ? from.height : from.width;
    destination.bytesPerRow = static_cast<std::uint32_t>(destination.width);
}

} // namespace

// Headers and footers are XML and yet not what a reader would make from the tags, so that nobody does.
const std::string IOnvifAnalytics::kVideoAnalyticTag = "tt:VideoAnalyticsConfiguration";
const std::string IOnvifAnalytics::kVideoAnalyticHeader =
    "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\">";
const std::string IOnvifAnalytics::kVideoAnalyticFooter = "</tt:VideoAnalyticsConfiguration >";
const std::string IOnvifAnalytics::kEngineConfigTag = "tt:AnalyticsEngineConfiguration";
const std::string IOnvifAnalytics::kEngineConfigHeader = "<tt:AnalyticsEngineConfiguration >";
const std::string IOnvifAnalytics::kEngineConfigFooter = "</tt:AnalyticsEngineConfiguration >";
const std::string IOnvifAnalytics::kRuleConfigTag = "tt:RuleEngineConfiguration";
const std::string IOnvifAnalytics::kRuleConfigHeader = "<tt:RuleEngineConfiguration >";
const std::string IOnvifAnalytics::kRuleConfigFooter = "</tt:RuleEngineConfiguration >";

std::vector<std::shared_ptr<IOnvifAnalytics>> GetSupportedAnalyticsLibs(void* logContext,
                                                                        std::shared_ptr<IAnalyticsPtz> ptz)
{
    platform().reached("getSupportedAnalyticsLibs");
    host_seam::EngineLibrary& library = platform().engineLibrary;
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
    rotate(source, destination, "rotate90", 90);
}

void YUV420SemiPlanar_Rotate180(const YuvFrame& source, YuvFrame& destination)
{
    rotate(source, destination, "rotate180", 180);
}

void YUV420SemiPlanar_Rotate270(const YuvFrame& source, YuvFrame& destination)
{
    rotate(source, destination, "rotate270", 270);
}

} // namespace frame_utils

} // namespace analytics_lib
