// What a stranger on the network sends to everybody: it gets no answer, or one small message that names its question.
#include "camera/onvif/Discovery.h"

#include "camera/onvif/CanonicalNames.h"
#include "support/Check.h"

#include <chrono>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace camera::onvif;

constexpr const char* kUuid = "00112233-4455-4677-8899-aabbccddeeff";

void checkAnswer(const std::string& question, const std::string& answer)
{
    fuzz::check(answer.size() <= Discovery::kMostBytes, "an answer is small");
    fuzz::check(answer.size() <= Discovery::kMostTimes * question.size(),
                "an answer is not much longer than a question");
    const pugi::xml_document document = parsed(answer);
    const pugi::xml_node header = document.child("env:Envelope").child("env:Header");
    fuzz::check(*header.child_value("wsa:RelatesTo") != '\0', "an answer names its question");
    const pugi::xml_node body = document.child("env:Envelope").child("env:Body").first_child();
    fuzz::check(std::string_view(body.first_child().child("wsa:EndpointReference").child_value("wsa:Address")) ==
                    std::string("urn:uuid:") + kUuid,
                "an answer names the camera");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Discovery discovery(
        kUuid, 1,
        {{"onvif://www.onvif.org/type/Network_Video_Transmitter", "onvif://www.onvif.org/name/a%20b", "urn:x:&<>", ""},
         true});
    const Discovery::Clock::time_point now = Discovery::Clock::time_point() + std::chrono::hours(1);
    const auto answer = discovery.answer(text, "192.0.2.1", {"http://192.0.2.9:8080/onvif/device_service"}, now);
    if (answer) {
        checkAnswer(text, answer->text);
        fuzz::check(!discovery.answer(text, "192.0.2.1", {}, now), "a question is answered once");
    }
    discovery.tell({{text}, false});
    fuzz::check(!discovery.answer(text, "192.0.2.2", {}, now), "who hides answers nobody");
    fuzz::check(discovery.hello({}).size() <= Discovery::kMostBytes, "a hello is small");
    return 0;
}
