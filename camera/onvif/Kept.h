#pragma once

#include "camera/onvif/Fault.h"

#include <functional>
#include <optional>

namespace camera::onvif {

/**
 * A value that the device keeps over its restarts.
 *
 * Changes are made one after the other: each begins with what the one before left, and is answered when it is durable
 * or has failed. Thread-bound; done is called on this thread too.
 */
template <class T>
class Kept {
public:
    /// Changes a copy. A Fault that it throws refuses the change.
    using Edit = std::function<void(T&)>;
    using Done = std::function<void(const std::optional<Fault>& failure)>;

    virtual ~Kept() = default;
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

    /// The newest that is durable. The reference stays good; what it refers to changes with each change.
    const T& value() const { return _value; }

    virtual void change(Edit edit, Done done) = 0;

protected:
    explicit Kept(T value) : _value(std::move(value)) {}

    T _value;
};

} // namespace camera::onvif
