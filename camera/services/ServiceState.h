#pragma once

#include "camera/services/StateDocuments.h"

#include <string>

namespace camera::store {
class SettingsStore;
}

namespace camera::services {

/**
 * What the services know: kept in the store, one document each, and the day/night filter's movement, which
 * ends with the process.
 *
 * A setter throws what the store throws when it cannot write; the value is then the one before. Thread-bound: the
 * thread that builds it, then the bus thread.
 */
class ServiceState {
public:
    /// Reads what is stored; a document that cannot be used is reported in one line, and the defaults hold instead.
    /// @param store  borrowed.
    explicit ServiceState(store::SettingsStore& store);

    const Blanking& blanking() const { return _blanking; }
    void setBlanking(const Blanking& blanking);

    const Rotation& rotation() const { return _rotation; }
    void setRotation(const Rotation& rotation);

    const Values& values() const { return _values; }
    void setValues(const Values& values);

    bool moving() const { return _moving; }
    void setMoving(bool moving) { _moving = moving; }

private:
    template <class T, class Parse>
    void load(const char* service, T& value, Parse parse);
    template <class T>
    void keep(const char* service, T& value, const T& wanted);

    store::SettingsStore& _store;
    Blanking _blanking;
    Rotation _rotation;
    Values _values{{kDefaultRotationKey, 0}};
    bool _moving = false;
};

} // namespace camera::services
