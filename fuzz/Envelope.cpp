// What a stranger sends before the camera knows who it is: a request is refused with a fault, or all its names are ours
// and it comes back from its own text.
#include "camera/onvif/Envelope.h"

#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/Fault.h"
#include "camera/onvif/XmlText.h"
#include "support/Check.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace camera::onvif;

/// What an operation may put into a document, alone.
void checkRequest(const Envelope& envelope)
{
    Answer answer("tds:Answer");
    answer.body().append_copy(envelope.request());
    declareUsed(answer.body().first_child(), NamespaceTable::ofMessages());
    const std::string once = printed(answer.body().first_child());
    const Envelope again(answer.text(envelope.messageId()));
    fuzz::check(again.operation() == "tds:Answer", "an answer is a message");
    pugi::xml_node copy = again.request().first_child();
    declareUsed(copy, NamespaceTable::ofMessages());
    fuzz::check(printed(copy) == once, "what is canonical stays as it is");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const Envelope envelope(text);
        envelope.usernameToken();
        checkRequest(envelope);
    } catch (const Fault& fault) {
        Envelope(faultText(fault, "urn:1")).request();
    }
    return 0;
}
