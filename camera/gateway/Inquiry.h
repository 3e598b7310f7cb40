#pragma once

#include "camera/gateway/CameraLink.h"

#include <functional>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

namespace camera::gateway {

/**
 * Several questions that are asked at once. What they put together is told when all have been answered, or the last
 * failure of one of them.
 *
 * It lives until then by itself. Thread-bound: that of the link.
 */
template <class View>
class Inquiry : public std::enable_shared_from_this<Inquiry<View>> {
public:
    using Done = std::function<void(onvif::Outcome<View>)>;

    /// @param ask  asks the first questions. An answer may ask others.
    template <class Ask>
    static void begin(CameraLink& link, Done done, const Ask& ask)
    {
        const auto inquiry = std::shared_ptr<Inquiry>(new Inquiry(link, std::move(done)));
        ask(*inquiry);
        inquiry->end();
    }

    /// Calls a method that answers with these values. @param into  called with the view and the values.
    template <class... Out, class Into>
    void call(const char* service, const char* method, Into into)
    {
        using Values = std::tuple<Out...>;
        _link.call<Values>(service, method, taking<Values>([into = std::move(into)](View& view, const Values& values) {
                               std::apply([&](const Out&... each) { into(view, each...); }, values);
                           }));
    }

    /// Asks for a property. @param into  called with the view and the value.
    template <class Value, class Into>
    void property(const char* service, const char* name, Into into)
    {
        _link.property<Value>(service, name, taking<Value>(std::move(into)));
    }

private:
    Inquiry(CameraLink& link, Done done) : _link(link), _done(std::move(done)) {}

    template <class Value, class Into>
    CameraLink::Then<Value> taking(Into into)
    {
        ++_open;
        return [self = this->shared_from_this(), into = std::move(into)](const onvif::Outcome<Value>& outcome) {
            if (const auto* const fault = std::get_if<onvif::Fault>(&outcome)) {
                self->_failure = *fault;
            } else {
                into(self->_view, std::get<Value>(outcome));
            }
            self->end();
        };
    }

    void end()
    {
        if (--_open == 0) {
            _done(_failure ? onvif::Outcome<View>(*_failure) : onvif::Outcome<View>(std::move(_view)));
        }
    }

    CameraLink& _link;
    const Done _done;
    int _open = 1; // until all first questions are asked
    View _view;
    std::optional<onvif::Fault> _failure;
};

} // namespace camera::gateway
