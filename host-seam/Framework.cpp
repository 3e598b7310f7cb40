#include "host-seam/Framework.h"

#include "host-seam/Journal.h"
#include "host-seam/Platform.h"
#include "korva/meridan/BasicFilterPlugin.h"
#include "korva/meridan/Buffer.h"
#include "korva/meridan/PluginManager.h"
#include "korva/meridan/Source.h"

using host_seam::journal;
using host_seam::Part;
using host_seam::platform;

namespace {

/// Keeps what is pushed, so that a test can look at it; the platform owns it from then on.
class KeepingSource : public korva::meridan::Source {
protected:
    void Push(korva::meridan::Buffer* buffer) override { platform().framework.pushed.emplace_back(buffer); }
};

} // namespace

void host_seam::DeletingSink::PutBuffer(korva::meridan::Buffer* buffer)
{
    delete buffer;
}

namespace korva::meridan {

void PluginManager::RegisterPlugin(const std::string& name, Factory factory)
{
    journal().add(Part::Framework, "registerPlugin ", name);
    host_seam::pluginFactories().emplace_back(name, factory);
}

void PipelinePlugin::PipelinesConstructed()
{
    journal().add(Part::Framework, "pipelinesConstructed");
}

PipelinePlugin::~PipelinePlugin() = default;

void Source::PushBuffer(Buffer* buffer)
{
    platform().reached("pushBuffer");
    journal().add(Part::Framework, "pushBuffer");
    Push(buffer);
}

BasicFilterPlugin::BasicFilterPlugin(const IPluginConfiguration& configuration) : _source(new KeepingSource)
{
    platform().reached("filterConstructed");
    journal().add(Part::Framework, "filterConstructed");
    platform().framework.filterConfiguration = &configuration;
}

BasicFilterPlugin::~BasicFilterPlugin()
{
    journal().add(Part::Framework, "filterDestroyed");
}

void BasicFilterPlugin::OnConnectToSink(Sink* sink)
{
    journal().add(Part::Framework, "connectToSink", sink == nullptr ? " null" : "");
}

void BasicFilterPlugin::OnConnectToSink(const std::string& sourceName, Sink* sink)
{
    journal().add(Part::Framework, "connectToSink ", sourceName, sink == nullptr ? " null" : "");
}

void BasicFilterPlugin::OnDisconnectSink(const Sink* sink)
{
    journal().add(Part::Framework, "disconnectSink", sink == nullptr ? " null" : "");
}

} // namespace korva::meridan
