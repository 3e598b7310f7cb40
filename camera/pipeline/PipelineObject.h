#pragma once

#include "camera/bus/Connection.h"

#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <memory>
#include <string>

namespace camera::store {
class SettingsStore;
}

namespace camera::pipeline {

/// The pipeline process itself on the bus, ravel.pipeline: how it does, and the documents of its settings store.
class PipelineObject {
public:
    /// Gives the status as a JSON object; called on the bus thread, must not wait.
    using Status = std::function<std::string()>;

    /// Takes the bus name last. @throws sdbus::Error. Thread: the bus thread. settings outlives it.
    PipelineObject(const std::shared_ptr<bus::Session>& session, store::SettingsStore& settings, Status status);

private:
    void registerDocuments();

    store::SettingsStore& _settings;
    std::unique_ptr<sdbus::IObject> _object;
};

} // namespace camera::pipeline
