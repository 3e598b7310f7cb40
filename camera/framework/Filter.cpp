// The bases of a plug-in, as every module binds to them.
#include "camera/framework/PluginConfiguration.h"
#include "camera/framework/SinksAndSources.h"

#include "korva/meridan/BasicFilterPlugin.h"
#include "korva/meridan/PipelinePlugin.h"

#include <memory>

namespace korva::meridan {

namespace {

camera::framework::FanOutSource& output(Source& source)
{
    return static_cast<camera::framework::FanOutSource&>(source); // made below, and nowhere else
}

} // namespace

void PipelinePlugin::PipelinesConstructed()
{
}

PipelinePlugin::~PipelinePlugin() = default;

BasicFilterPlugin::BasicFilterPlugin(const IPluginConfiguration& /*configuration*/)
    : _source(std::make_unique<camera::framework::FanOutSource>())
{
}

BasicFilterPlugin::~BasicFilterPlugin() = default;

void BasicFilterPlugin::OnConnectToSink(Sink* sink)
{
    output(*_source).connect(sink);
}

void BasicFilterPlugin::OnConnectToSink(const std::string& /*sourceName*/, Sink* sink)
{
    // A filter has one output, whatever the pipeline calls it.
    output(*_source).connect(sink);
}

void BasicFilterPlugin::OnDisconnectSink(const Sink* sink)
{
    output(*_source).disconnect(sink);
}

} // namespace korva::meridan
