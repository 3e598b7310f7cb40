// What a consumer answers to a message, in pieces, and the address that it gives for itself: any bytes are taken or
// refused, and nothing is read without bound.

#include "camera/gateway/NotifyAnswer.h"
#include "camera/onvif/Fault.h"
#include "support/Check.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using camera::gateway::ConsumerAddress;
using camera::gateway::NotifyAnswer;

NotifyAnswer::State read(const std::string& bytes, std::size_t piece)
{
    NotifyAnswer answer;
    auto state = NotifyAnswer::State::more;
    for (std::size_t at = 0; at < bytes.size() && state == NotifyAnswer::State::more; at += piece) {
        state = answer.put(bytes.substr(at, piece));
    }
    return state;
}

void readAddress(const std::string& text)
{
    try {
        const ConsumerAddress address = ConsumerAddress::of(text);
        fuzz::check(!address.host.empty() && address.port != 0, "an address has a host and a port");
        fuzz::check(address.target.front() == '/', "a target begins with a slash");
        const bool oneLine = std::none_of(address.target.begin(), address.target.end(),
                                          [](char c) { return static_cast<unsigned char>(c) <= ' '; });
        fuzz::check(oneLine, "a target is one word");
    } catch (const camera::onvif::Fault&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t piece = size == 0 ? 1 : std::max<std::size_t>(1, data[0]);
    // How early it is refused does.
    const bool taken = read(text, piece) == NotifyAnswer::State::taken;
    fuzz::check(taken == (read(text, 1) == NotifyAnswer::State::taken), "what is taken does not depend on its pieces");
    fuzz::check(read(text + std::string(NotifyAnswer::kMostBytes * 2, 'x'), 2048) != NotifyAnswer::State::more,
                "an answer without end is refused");
    readAddress(text);
    return 0;
}
