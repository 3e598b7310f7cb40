#include "camera/onvif/DeviceIo.h"

#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/Requests.h"

namespace camera::onvif {

void addDeviceIo(Operations& operations, ServiceDirectory& directory)
{
    const auto capabilities = [](pugi::xml_node node) {
        putAttribute(node, "VideoSources", "1");
        for (const char* const other :
             {"VideoOutputs", "AudioSources", "AudioOutputs", "RelayOutputs", "SerialPorts", "DigitalInputs"}) {
            putAttribute(node, other, "0");
        }
        putAttribute(node, "DigitalInputOptions", false);
    };
    const auto old = [](pugi::xml_node node) {
        put(node, "tt:VideoSources", 1);
        for (const char* const other : {"tt:VideoOutputs", "tt:AudioSources", "tt:AudioOutputs", "tt:RelayOutputs"}) {
            put(node, other, 0);
        }
    };
    directory.add({"tmd", "/onvif/deviceio_service", 24, 6, capabilities, "DeviceIO", old}, operations);
    operations.add("tmd:GetVideoSources", AccessClass::readMedia, [](const Call& call) {
        Answer answer = call.answer();
        put(answer.body(), "tmd:Token", kVideoSource);
        return answer;
    });
}

} // namespace camera::onvif
