#pragma once

#include "camera/base/Subscription.h"
#include "camera/ptz/PositioningEvent.h"

#include "korva/meridan/PositioningManager.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <variant>
#include <vector>

namespace camera::ptz {
class PositioningUnit;
}

namespace camera::framework {

/**
 * What korva::meridan::PositioningManager works on: a positioning unit, and the callbacks that were registered there.
 *
 * The callbacks are called on the control thread, those for one kind of event in the order of their registration; one
 * that another callback has unregistered before its turn is not called. Thread-safe.
 */
class PositioningAdapter {
public:
    using Manager = korva::meridan::PositioningManager;
    using Callback =
        std::variant<Manager::MotionStateCallback, Manager::CommandPriorityCallback, Manager::PresetStateCallback,
                     Manager::PresetModifiedCallback, Manager::TourStateCallback>;

    explicit PositioningAdapter(std::shared_ptr<ptz::PositioningUnit> unit);

    ptz::PositioningUnit& unit() const { return *_unit; }

    /// False for a null callback. A pair that is registered already stays registered once.
    bool add(Callback callback, void* context);

    /// False for a pair that is not registered.
    bool remove(Callback callback, void* context);

    std::size_t registrations() const;

    /// Forgets every callback, when the objects behind the contexts are gone.
    void discardRegistrations();

private:
    struct Registration {
        Callback callback;
        void* context = nullptr;
        bool operator==(const Registration& other) const
        {
            return callback == other.callback && context == other.context;
        }
    };

    void deliver(const ptz::PositioningEvent& event) const;
    bool holds(const Registration& wanted) const;

    const std::shared_ptr<ptz::PositioningUnit> _unit;
    mutable std::mutex _mutex;
    std::vector<Registration> _registrations;
    base::Subscription _subscription; ///< ends first: deliver() uses the rest
};

} // namespace camera::framework
