#pragma once

#pragma GCC visibility push(default)

namespace korva::meridan {

class Buffer;

/// The receiving end of one connection between two elements; the framework implements and owns it.
class __attribute__((visibility("default"))) Sink {
public:
    virtual ~Sink() = default;

    /// Hands one buffer to the element behind this end; ownership goes with it.
    virtual void PutBuffer(Buffer* buffer) = 0;
};

} // namespace korva::meridan

#pragma GCC visibility pop
