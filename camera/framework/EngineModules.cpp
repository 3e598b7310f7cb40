#include "camera/framework/EngineModules.h"

#include "camera/base/Activity.h"

#include <dlfcn.h>

#include <stdexcept>

namespace camera::framework {

namespace {

constexpr char kSymbol[] = "detectionEngineModule";

/// The first reason against a module, or null.
const char* mismatch(const DetectionEngineModule* module)
{
    if (module == nullptr) {
        return "it exports no detectionEngineModule";
    }
    if (module->version != DetectionEngineModule::kVersion) {
        return "it was built for another version of the engine interface; build it again";
    }
    if (module->frameBytes != sizeof(analytics_lib::YuvFrame) || module->buffersBytes != sizeof(MetadataBuffers) ||
        module->stringBytes != sizeof(std::string)) {
        return "it was built with other declarations or another standard library; build it again";
    }
    if (module->name == nullptr || module->create == nullptr) {
        return "its description is incomplete";
    }
    return nullptr;
}

} // namespace

EngineModule loadEngineModule(const std::string& path)
{
    // A bare name would be looked for among the system's libraries.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    const base::Activity::Scope scope(base::Activity::Kind::control,
                                      base::Activity::Label("the loading of the engine module '" + path + "'"));
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        throw std::runtime_error("cannot load the engine module '" + path +
                                 "': " + (reason != nullptr ? reason : "unknown"));
    }
    const auto* module = static_cast<EngineModule>(dlsym(library, kSymbol));
    if (const char* reason = mismatch(module)) {
        dlclose(library);
        throw std::runtime_error("cannot use the engine module '" + path + "': " + reason);
    }
    return module;
}

} // namespace camera::framework
