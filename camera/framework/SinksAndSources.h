#pragma once

#include "korva/meridan/BasicFilterPlugin.h"
#include "korva/meridan/Buffer.h"
#include "korva/meridan/Sink.h"
#include "korva/meridan/Source.h"

#include <mutex>
#include <vector>

namespace camera::framework {

/**
 * A filter's output. Every connected sink gets the buffer: one gets the buffer itself, several get
 * one view each, and the buffer is deleted with the last view. With no sink it is deleted at once.
 *
 * Thread-safe; a sink that is being disconnected may still get the buffer that is on its way.
 */
class FanOutSource final : public korva::meridan::Source {
public:
    /// Connecting a sink twice does nothing, and so does a null one.
    void connect(korva::meridan::Sink* sink);
    void disconnect(const korva::meridan::Sink* sink);

protected:
    void Push(korva::meridan::Buffer* buffer) override;

private:
    std::mutex _mutex;
    std::vector<korva::meridan::Sink*> _sinks;
};

/// The receiving end in front of an element: buffers go to its sink side. The element is borrowed.
class ElementSink final : public korva::meridan::Sink {
public:
    explicit ElementSink(korva::meridan::SinkSide& element) : _element(element) {}
    void PutBuffer(korva::meridan::Buffer* buffer) override { _element.OnBuffer(this, buffer); }

private:
    korva::meridan::SinkSide& _element;
};

/// The end of a pipeline: deletes the buffers. Thread-safe.
class DiscardingSink final : public korva::meridan::Sink {
public:
    void PutBuffer(korva::meridan::Buffer* buffer) override;
};

} // namespace camera::framework
