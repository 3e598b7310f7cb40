#include "camera/onvif/Uuid.h"

#include "camera/onvif/Digests.h"

namespace camera::onvif {

std::string newUuid()
{
    Bytes bytes = randomBytes(16);
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0fU) | 0x40U);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3fU) | 0x80U);
    std::string text = hexText(bytes);
    for (const std::size_t place : {20U, 16U, 12U, 8U}) {
        text.insert(place, "-");
    }
    return text;
}

} // namespace camera::onvif
