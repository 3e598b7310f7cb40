#pragma once

#include "korva/meridan/PipelinePlugin.h"
#include "ravel/RavelApiAnalyticsTargetImplBase.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace bench {

/// Builds a plug-in from the module under measurement; the module stays loaded.
std::unique_ptr<korva::meridan::PipelinePlugin> buildPlugin();

/// The target that the last built plug-in serves.
RavelApiAnalyticsTargetImplBase& servedTarget();

/// What the settings store holds; a write keeps one copy, as a store in memory must.
std::string& storedDocument();

/// Hands one frame over, as the framework does. The buffer deletes itself without freeing memory.
void deliverFrame(korva::meridan::PipelinePlugin& plugin);

} // namespace bench
