#pragma once

#include "camera/onvif/EventService.h"

#include <boost/asio/io_context.hpp>

#include <chrono>

namespace camera::gateway {

/**
 * Posts messages to consumers, each over a connection of its own.
 *
 * A consumer that does not answer, or answers anything that is not HTTP, costs one connection for at most the limit.
 * Names are not looked up: a consumer is reached at the numeric address of its message. Thread-bound: that of the
 * io_context, on which is told how it ended, always later.
 */
class NotifySender {
public:
    static constexpr std::chrono::milliseconds kLimit{5000};

    explicit NotifySender(boost::asio::io_context& context, std::chrono::milliseconds limit = kLimit)
        : _context(context), _limit(limit)
    {
    }

    /// A failure is one sentence that names the consumer.
    void post(const onvif::PushMessage& message, const onvif::Done& done);

private:
    class Delivery;

    boost::asio::io_context& _context;
    const std::chrono::milliseconds _limit;
};

} // namespace camera::gateway
