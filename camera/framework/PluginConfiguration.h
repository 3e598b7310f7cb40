#pragma once

#include "korva/meridan/IPluginConfiguration.h"
#include "korva/meridan/MeridanEnv.h"

#include <string>

namespace korva::meridan {

/// This framework's configuration section of one plug-in.
class IPluginConfiguration {
public:
    explicit IPluginConfiguration(std::string name) : _name(std::move(name)) {}
    const std::string& name() const { return _name; }

private:
    std::string _name;
};

/// This framework's environment: plug-ins get nothing from it.
class MeridanEnv {};

} // namespace korva::meridan
