#include "camera/pipeline/RememberedCamera.h"

#include "camera/base/AtomicFile.h"
#include "camera/base/JsonText.h"
#include "camera/onvif/StoredConfigurations.h"
#include "camera/ptz/PositioningDocument.h"
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"

#include <algorithm>
#include <json/value.h>
#include <optional>
#include <stdexcept>

namespace camera::pipeline {

namespace fs = std::filesystem;

namespace {

constexpr char kFile[] = "camera.json";
constexpr std::size_t kMostBytes = 64 * 1024;

struct Remembered {
    bool movable = false;
    std::string model;
    std::vector<std::string> engines;
    bool factoryDue = false; ///< a new camera, whose engines did not get their factory configuration yet
};

std::string write(const Remembered& camera)
{
    Json::Value value;
    value["movable"] = camera.movable;
    value["model"] = camera.model;
    value["engines"] = Json::arrayValue;
    for (const std::string& engine : camera.engines) {
        value["engines"].append(engine);
    }
    if (camera.factoryDue) {
        value["factoryDue"] = true;
    }
    return base::oneLineJson(value) + "\n";
}

std::optional<Remembered> read(const std::string& text)
{
    Json::Value value;
    try {
        value = base::readStrictJson(text, kMostBytes);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
    if (!value.isObject() || !value["movable"].isBool() || !value["model"].isString() || !value["engines"].isArray()) {
        return std::nullopt;
    }
    Remembered camera{value["movable"].asBool(), value["model"].asString(), {}, value["factoryDue"] == true};
    for (const Json::Value& engine : value["engines"]) {
        if (!engine.isString()) {
            return std::nullopt;
        }
        camera.engines.push_back(engine.asString());
    }
    return camera;
}

// A new camera, or one that died before it was remembered, or one of an earlier version, which did not keep the file.
// Only a camera that moves stored presets.
Remembered cameraWithoutFile(const fs::path& stateDir)
{
    Remembered camera;
    camera.factoryDue = true;
    if (fs::exists(stateDir / "settings.db")) {
        const store::StateLock lock(stateDir);
        const std::vector<std::string> keys = store::SettingsStore(stateDir).keys();
        camera.movable = std::find(keys.begin(), keys.end(), ptz::kPositioningKey) != keys.end();
        camera.factoryDue = std::find(keys.begin(), keys.end(), onvif::kAnalyticsKey) == keys.end();
    }
    return camera;
}

Remembered cameraOf(const fs::path& stateDir, base::Console& console)
{
    const std::optional<std::string> text = base::readFile(stateDir / kFile);
    if (!text) {
        return cameraWithoutFile(stateDir);
    }
    std::optional<Remembered> camera = read(*text);
    if (!camera) {
        camera = cameraWithoutFile(stateDir);
        camera->factoryDue = false;
        console.error("the file '" + (stateDir / kFile).string() +
                      "' is damaged: model and engine modules of the camera are not known");
    }
    return *camera;
}

std::string absolute(const std::string& path)
{
    return fs::absolute(path).lexically_normal().string();
}

bool isFile(const std::string& model)
{
    return model.find('/') != std::string::npos || fs::path(model).has_extension();
}

} // namespace

base::CameraOptions rememberedCamera(base::CameraOptions options, const fs::path& stateDir, base::Console& console)
{
    const Remembered camera = cameraOf(stateDir, console);
    options.ptz = options.ptz || camera.movable;
    options.model = options.model.empty() ? camera.model : options.model;
    options.factory = options.factory && camera.factoryDue;
    if (options.engines == std::vector<std::string>{"none"}) {
        options.engines.clear();
    } else if (options.engines.empty()) {
        options.engines = camera.engines;
        options.enginesRemembered = true;
    }
    return options;
}

void rememberCamera(const base::CameraOptions& options, const fs::path& stateDir)
{
    const std::string model = isFile(options.model) ? absolute(options.model) : options.model;
    Remembered camera{options.ptz, model, {}, options.factory};
    std::transform(options.engines.begin(), options.engines.end(), std::back_inserter(camera.engines), absolute);
    const std::string text = write(camera);
    const fs::path file = stateDir / kFile;
    const std::optional<std::string> before = base::readFile(file);
    if (before == text) {
        return;
    }
    if (before && !read(*before)) {
        fs::rename(file, file.string() + ".damaged");
    }
    if (!base::replaceFileDurably(file, text)) {
        throw std::runtime_error("the camera's model and engine modules cannot be kept in '" + file.string() +
                                 "'; free some space on the disk and make the folder writable");
    }
}

std::vector<std::string> loadEngineModules(const base::CameraOptions& options, DeviceOptions& device,
                                           base::Console& console)
{
    std::vector<std::string> gone;
    for (const std::string& path : options.engines) {
        try {
            device.engineModules.push_back(framework::loadEngineModule(path));
        } catch (const std::runtime_error& error) {
            if (!options.enginesRemembered) {
                throw;
            }
            console.error(std::string(error.what()) + "; what is stored for its engine is left alone");
            gone.push_back(path);
        }
    }
    return gone;
}

} // namespace camera::pipeline
