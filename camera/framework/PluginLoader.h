#pragma once

#include "korva/meridan/PluginManager.h"

#include <filesystem>
#include <string>

namespace camera::framework {

/**
 * Loads a plug-in module and returns the factory that it registered under a name.
 *
 * All its symbols are bound at once, to those of this process. A module stays loaded until the
 * process ends, because the registry holds addresses inside it; loading it again finds the same one.
 *
 * @throws std::runtime_error with one sentence: the file is missing or a folder, is no shared library,
 *         was built for another machine, needs a library or a symbol that is not there (named
 *         readably), or registers nothing, or only other names.
 * Thread-safe.
 */
korva::meridan::PluginManager::Factory loadPlugin(const std::filesystem::path& file, const std::string& name);

} // namespace camera::framework
