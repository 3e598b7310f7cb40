#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace korva::meridan {

class IPluginConfiguration;
class MeridanEnv;
class PipelinePlugin;

/**
 * The registry of plug-in factories that the pipeline process builds its filters from.
 *
 * Thread: registration happens while a module loads; the framework reads the registry afterwards.
 */
class __attribute__((visibility("default"))) PluginManager {
public:
    /// Creates one plug-in; the framework owns the result and deletes it through PipelinePlugin.
    using Factory = PipelinePlugin* (*)(MeridanEnv*, const IPluginConfiguration&);

    /// Records factory under name. The address stays in the registry, so a module that
    /// registered one must never be unloaded while the registry lives.
    static void RegisterPlugin(const std::string& name, Factory factory);

    /// A static object of this type registers its module's factory while the library loads.
    class PluginAutoRegister {
    public:
        PluginAutoRegister(const std::string& name, Factory factory) { RegisterPlugin(name, factory); }

        // Nothing is taken back at unload: the registry outlives every module.
        ~PluginAutoRegister() {} // run at unload, by contract

        PluginAutoRegister(const PluginAutoRegister&) = delete;
        PluginAutoRegister& operator=(const PluginAutoRegister&) = delete;
    };
};

} // namespace korva::meridan

#pragma GCC visibility pop
