#pragma once

#include "korva/meridan/PipelinePlugin.h"

#include <memory>
#include <string>

#pragma GCC visibility push(default)

namespace korva::meridan {

class Buffer;
class IPluginConfiguration;
class Sink;
class Source;

/// The side of a filter that downstream elements connect to.
class __attribute__((visibility("default"))) SourceSide {
public:
    virtual void OnConnectToSink(Sink* sink) = 0;
    virtual void OnConnectToSink(const std::string& sourceName, Sink* sink) = 0;
    virtual void OnDisconnectSink(const Sink* sink) = 0;
    virtual ~SourceSide() = default;
};

/// The side of a filter that buffers arrive at.
class __attribute__((visibility("default"))) SinkSide {
public:
    /// Takes ownership of buffer. Thread: the delivery thread of this element, one buffer at a time.
    virtual void OnBuffer(const Sink* sink, Buffer* buffer) = 0;
    virtual ~SinkSide() = default;
};

/**
 * Base of a filter: receives buffers from an upstream connection and owns one output source.
 *
 * The order of the virtual operations is a contract with the framework's own binary: it calls
 * through the primary table as well as through the tables of both sides.
 */
class __attribute__((visibility("default"))) BasicFilterPlugin : public PipelinePlugin,
                                                                 public SourceSide,
                                                                 public SinkSide {
public:
    explicit BasicFilterPlugin(const IPluginConfiguration& configuration);
    ~BasicFilterPlugin() override;

    void OnConnectToSink(Sink* sink) override;
    void OnConnectToSink(const std::string& sourceName, Sink* sink) override;
    void OnDisconnectSink(const Sink* sink) override;
    void OnBuffer(const Sink* sink, Buffer* buffer) override = 0;

protected:
    /// The output source; owned by this object.
    const std::unique_ptr<Source> _source;
};

} // namespace korva::meridan

#pragma GCC visibility pop
