#pragma once

#include "camera/bus/Answer.h"
#include "camera/bus/Names.h"
#include "camera/services/AnswerTimer.h"
#include "camera/services/DelayedAnswers.h"
#include "camera/services/FaultSwitch.h"

#include <sdbus-c++/sdbus-c++.h>

#include <future>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace camera::services {

/// What every object of one session is built with; all of it outlives the object.
struct ObjectContext {
    sdbus::IConnection& connection;
    FaultSwitch& faults;
    AnswerTimer& timer;
    std::weak_ptr<DelayedAnswers> answers; ///< shares its ownership with the session
};

/**
 * A device service on the bus for the length of one session: its object, its name, and its fault.
 *
 * Thread-bound: the bus thread's.
 */
class ServiceObject {
public:
    virtual ~ServiceObject() = default;
    ServiceObject(const ServiceObject&) = delete;
    ServiceObject& operator=(const ServiceObject&) = delete;

    /// Takes or gives back the bus name. @throws sdbus::Error
    void takeName();
    void releaseName();

protected:
    ServiceObject(const ObjectContext& context, const char* service);

    /**
     * Answers with what operation returns: nothing, a value, or a tuple of the method's results. The service's
     * fault decides whether operation runs and when its outcome is sent; it always runs before this returns.
     *
     * @param bytes  what the question holds in memory, when that may be much.
     */
    template <class... Out, class Operation>
    void respond(sdbus::Result<Out...>&& result, Operation&& operation, std::size_t bytes = 0) noexcept
    {
        const FaultSwitch::Setting setting = _context.faults.of(_service);
        if (setting.fault == Fault::fail) {
            bus::answerError(result, bus::error::kFailed, "made to fail");
        } else if (setting.fault == Fault::slow) {
            respondLater(std::move(result), std::forward<Operation>(operation), setting, bytes);
        } else {
            give(result, std::forward<Operation>(operation));
        }
    }

    template <class... Arguments>
    void emit(const char* signal, const Arguments&... arguments)
    {
        _object->emitSignal(signal).onInterface(_interface).withArguments(arguments...);
    }

    sdbus::IObject& object() { return *_object; }
    const std::string& interface() const { return _interface; }

private:
    template <class... Out, class Operation>
    static void give(const sdbus::Result<Out...>& result, Operation&& operation) noexcept
    {
        if constexpr (sizeof...(Out) < 2) {
            bus::answer(result, std::forward<Operation>(operation));
        } else {
            bus::answer(result, [&operation](const sdbus::Result<Out...>& several) {
                std::apply([&several](const Out&... values) { several.returnResults(values...); }, operation());
            });
        }
    }

    template <class... Out, class Operation>
    void respondLater(sdbus::Result<Out...>&& result, Operation&& operation, const FaultSwitch::Setting& setting,
                      std::size_t bytes) noexcept
    {
        try {
            std::packaged_task<std::invoke_result_t<Operation>()> task(std::forward<Operation>(operation));
            const auto outcome = task.get_future().share();
            const auto kept = std::make_shared<sdbus::Result<Out...>>(std::move(result));
            task();
            if (!hold(setting, bytes, [kept, outcome] { give(*kept, [&outcome] { return outcome.get(); }); })) {
                bus::answerError(*kept, bus::error::kFailed, "made slow, and too many answers wait already");
            }
        } catch (const std::exception& error) {
            base::Log::instance().write(base::LogLevel::error, _service,
                                        std::string("an answer was lost: ") + error.what());
        }
    }

    bool hold(const FaultSwitch::Setting& setting, std::size_t bytes, std::function<void()> give);

    const ObjectContext _context;
    const std::string _service;
    const std::string _interface;
    const std::unique_ptr<sdbus::IObject> _object;
};

} // namespace camera::services
