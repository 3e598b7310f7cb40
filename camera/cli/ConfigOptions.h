#pragma once

#include "camera/pipeline/RunOptions.h"

#include <string>
#include <vector>

namespace camera::cli {

enum class ConfigAction {
    set,
    get,
    list,    ///< rules or modules
    types,   ///< of rules or modules
    add,     ///< from files
    modify,  ///< from files
    remove,  ///< by name
    history, ///< the stored documents
    restore, ///< one of them
    reset,   ///< forget everything until the next start
};

struct ConfigOptions {
    pipeline::CameraOptions camera;
    ConfigAction action = ConfigAction::get;
    bool rules = true;                  ///< rules, else modules, where the action is about one of them
    std::vector<std::string> arguments; ///< files or names
    long long sequence = 0;             ///< of the stored document to restore
};

base::Command configCommand();

/// @throws base::UsageError
ConfigOptions configOptions(const base::Arguments& arguments);

} // namespace camera::cli
