#pragma once

#pragma GCC visibility push(default)

namespace korva::meridan {

/// One plug-in's section of the pipeline configuration. Opaque to plug-ins, which only pass it to
/// their base class: each framework completes it for itself.
class IPluginConfiguration;

} // namespace korva::meridan

#pragma GCC visibility pop
