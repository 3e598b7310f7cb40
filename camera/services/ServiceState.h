#pragma once

#include "camera/services/StateDocuments.h"

#include <string>

namespace camera::store {
class SettingsStore;
}

namespace camera::services {

/**
 * The state of the services: documents in the store, and whether the day/night filter moves, which ends with the
 * process.
 *
 * A setter throws what the store throws when it cannot write; the value is then as before. Thread-bound: the
 * thread that builds it, then the bus thread.
 */
class ServiceState {
public:
    /// Reads what is stored; a document that cannot be used is reported in one line, and the defaults hold instead.
    /// @param store  borrowed.
    explicit ServiceState(store::SettingsStore& store);

    const Blanking& blanking() const { return _blanking; }
    void setBlanking(const Blanking& blanking);

    const OrientationSetting& orientation() const { return _orientation; }
    void setOrientation(const OrientationSetting& orientation);

    const Values& values() const { return _values; }
    void setValues(Values values);

    bool moving() const { return _moving; }
    void setMoving(bool moving) { _moving = moving; }

private:
    template <class T, class Parse>
    void load(const char* service, T& value, Parse parse);
    template <class T>
    void write(const char* service, T& value, T wanted);

    store::SettingsStore& _store;
    Blanking _blanking;
    OrientationSetting _orientation;
    Values _values{{kDefaultRotationKey, 0}};
    bool _moving = false;
};

} // namespace camera::services
