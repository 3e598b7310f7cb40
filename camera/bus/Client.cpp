#include "camera/bus/Client.h"

#include <future>

namespace camera::bus {

sdbus::MethodReply BoundedProxy::callMethod(const sdbus::MethodCall& message, std::uint64_t /*timeout*/)
{
    auto promise = std::make_shared<std::promise<sdbus::MethodReply>>();
    std::future<sdbus::MethodReply> answer = promise->get_future();
    const std::chrono::microseconds limit = _patience;
    _proxy->callMethod(
        message,
        [promise = std::move(promise)](sdbus::MethodReply& reply, const sdbus::Error* error) {
            if (error != nullptr) {
                promise->set_exception(std::make_exception_ptr(*error));
            } else {
                promise->set_value(reply);
            }
        },
        static_cast<std::uint64_t>(limit.count()));
    // The library's own time-out is noticed by the bus thread, which may have ended: hence a second one.
    if (answer.wait_for(_patience + std::chrono::milliseconds(100)) != std::future_status::ready) {
        throw sdbus::Error(error::kNoReply, message.getInterfaceName() + " does not answer");
    }
    try {
        return answer.get();
    } catch (const std::future_error&) {
        throw sdbus::Error(error::kUnavailable, "the bus has gone");
    }
}

} // namespace camera::bus
