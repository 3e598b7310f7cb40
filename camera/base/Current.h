#pragma once

#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace camera::base {

/**
 * The one T that the process-wide functions of the seam currently use.
 *
 * Those functions take no object, so the composition of a device binds one for as long as the device
 * lives. Callers hold what get() returned for the length of their call. Thread-safe.
 */
template <class T>
class Current {
public:
    /// Makes one object the current one while the binding lives.
    class Binding {
    public:
        /// @throws std::runtime_error while another one is bound.
        explicit Binding(std::shared_ptr<T> object)
        {
            const std::lock_guard<std::mutex> lock(slot().mutex);
            if (slot().object) {
                throw std::runtime_error("another device is running in this process; end it first");
            }
            slot().object = std::move(object);
        }
        ~Binding()
        {
            const std::lock_guard<std::mutex> lock(slot().mutex);
            slot().object.reset();
        }
        Binding(const Binding&) = delete;
        Binding& operator=(const Binding&) = delete;
    };

    /// The bound object, or null.
    static std::shared_ptr<T> get()
    {
        const std::lock_guard<std::mutex> lock(slot().mutex);
        return slot().object;
    }

private:
    struct Slot {
        std::mutex mutex;
        std::shared_ptr<T> object;
    };

    // Never destroyed: a thread of an engine may still ask while the process ends.
    static Slot& slot()
    {
        static Slot& slot = *new Slot;
        return slot;
    }
};

} // namespace camera::base
