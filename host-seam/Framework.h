#pragma once

#include "korva/meridan/IPluginConfiguration.h"
#include "korva/meridan/MeridanEnv.h"
#include "korva/meridan/Sink.h"

namespace korva::meridan {

/// The framework's own view of the opaque types.
class IPluginConfiguration {};
class MeridanEnv {};

} // namespace korva::meridan

namespace host_seam {

/// A connection end that nothing arrives at.
class DeletingSink : public korva::meridan::Sink {
public:
    void PutBuffer(korva::meridan::Buffer* buffer) override;
};

} // namespace host_seam
