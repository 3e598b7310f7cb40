#include "camera/bus/Client.h"

#include <future>

namespace camera::bus {

namespace {

// The library notes a call only after it was sent. When the answer is quicker, the library keeps the call for as long
// as the proxy lives: under load about every fiftieth, 400 bytes each. To cancel a call that has ended takes it out of
// the notes.
class NotedCall {
public:
    explicit NotedCall(sdbus::PendingAsyncCall call) : _call(std::move(call)) {}
    ~NotedCall() { _call.cancel(); }
    NotedCall(const NotedCall&) = delete;
    NotedCall& operator=(const NotedCall&) = delete;

private:
    sdbus::PendingAsyncCall _call;
};

} // namespace

sdbus::MethodReply BoundedProxy::callMethod(const sdbus::MethodCall& message, std::uint64_t /*timeout*/)
{
    auto promise = std::make_shared<std::promise<sdbus::MethodReply>>();
    std::future<sdbus::MethodReply> answer = promise->get_future();
    const std::chrono::microseconds limit = _patience;
    const NotedCall call(_proxy->callMethod(
        message,
        [promise = std::move(promise)](sdbus::MethodReply& reply, const sdbus::Error* error) {
            if (error != nullptr) {
                promise->set_exception(std::make_exception_ptr(*error));
            } else {
                promise->set_value(reply);
            }
        },
        static_cast<std::uint64_t>(limit.count())));
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
