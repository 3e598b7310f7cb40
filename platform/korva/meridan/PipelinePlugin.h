#pragma once

#pragma GCC visibility push(default)

namespace korva::meridan {

/// What every element of a pipeline is to the framework, which owns and deletes it through this type.
class __attribute__((visibility("default"))) PipelinePlugin {
public:
    /// Called once when all elements exist, before the first buffer moves.
    virtual void PipelinesConstructed();

    virtual ~PipelinePlugin();

protected:
    PipelinePlugin() = default;
    PipelinePlugin(const PipelinePlugin&) = delete;
    PipelinePlugin& operator=(const PipelinePlugin&) = delete;
};

} // namespace korva::meridan

#pragma GCC visibility pop
