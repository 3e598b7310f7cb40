#pragma once

#pragma GCC visibility push(default)

namespace korva::meridan {

/// The pipeline process' environment, handed to every factory. Opaque to plug-ins: each framework
/// completes it for itself.
class MeridanEnv;

} // namespace korva::meridan

#pragma GCC visibility pop
