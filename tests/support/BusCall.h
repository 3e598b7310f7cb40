#pragma once

#include "camera/bus/Names.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace test_support {

/**
 * Calls a method and waits for its answer, never longer than patience, also when the bus dies meanwhile.
 * Out are the types of the method's results.
 *
 * Thread: any but the bus thread, which the answer comes by.
 *
 * @throws sdbus::Error with the name and text that the other side gave; camera::bus::error::kNoReply when no answer
 * came in time, camera::bus::error::kUnavailable when the bus has gone.
 */
template <class... Out, class... In>
std::tuple<Out...> call(sdbus::IProxy& proxy, const std::string& interface, const std::string& method,
                        std::chrono::milliseconds patience, const In&... arguments)
{
    auto promise = std::make_shared<std::promise<std::tuple<Out...>>>();
    std::future<std::tuple<Out...>> answer = promise->get_future();
    proxy.callMethodAsync(method)
        .onInterface(interface)
        .withTimeout(patience)
        .withArguments(arguments...)
        .uponReplyInvoke([promise = std::move(promise)](const sdbus::Error* error, Out... results) {
            if (error != nullptr) {
                promise->set_exception(std::make_exception_ptr(*error));
            } else {
                promise->set_value(std::make_tuple(std::move(results)...));
            }
        });
    // The library's own time-out is noticed by the bus thread, which may have ended: hence a second one.
    if (answer.wait_for(patience + std::chrono::milliseconds(100)) != std::future_status::ready) {
        throw sdbus::Error(camera::bus::error::kNoReply, interface + " does not answer");
    }
    try {
        return answer.get();
    } catch (const std::future_error&) {
        throw sdbus::Error(camera::bus::error::kUnavailable, "the bus has gone");
    }
}

/// All properties of an interface; as call().
inline std::map<std::string, sdbus::Variant> properties(sdbus::IProxy& proxy, const std::string& interface,
                                                        std::chrono::milliseconds patience)
{
    return std::get<0>(call<std::map<std::string, sdbus::Variant>>(proxy, "org.freedesktop.DBus.Properties", "GetAll",
                                                                   patience, interface));
}

} // namespace test_support
