#pragma once

#include "camera/onvif/Kept.h"

#include <string>
#include <utility>

namespace camera::onvif {

/// Keeps a value as a device does that stores at once, or that cannot store.
template <class T>
class KeptInMemory final : public Kept<T> {
public:
    explicit KeptInMemory(T value) : Kept<T>(std::move(value)) {}

    void change(typename Kept<T>::Edit edit, typename Kept<T>::Done done) override
    {
        T wanted = this->_value;
        try {
            edit(wanted);
        } catch (const Fault& fault) {
            done(fault);
            return;
        }
        if (!failure.empty()) {
            done(Fault::receiver({"ter:Action"}, failure));
            return;
        }
        this->_value = std::move(wanted);
        ++changes;
        done(std::nullopt);
    }

    std::string failure; ///< why nothing can be stored; empty: it can
    int changes = 0;
};

} // namespace camera::onvif
