#pragma once

#include "korva/meridan/PipelinePlugin.h"
#include "ravel/RavelApiAnalyticsTargetImplBase.h"

#include <memory>
#include <string>

namespace bench {

/// Builds a plug-in from the module under measurement; the module stays loaded. The camera can move, so that every
/// frame is stamped; the only service is the metadata streamer; the engine, "Stub", takes everything.
std::unique_ptr<korva::meridan::PipelinePlugin> buildPlugin();

/// The target that the last built plug-in serves.
RavelApiAnalyticsTargetImplBase& servedTarget();

/// What the settings store holds; a write keeps one copy, as a store in memory must.
std::string& storedDocument();

/// Hands one frame over, as the framework does. The buffer deletes itself without freeing memory.
void deliverFrame(korva::meridan::PipelinePlugin& plugin);

} // namespace bench
