#pragma once

#pragma GCC visibility push(default)

namespace korva::meridan {

class Buffer;

/// The sending end of an element. Implemented by the framework.
class __attribute__((visibility("default"))) Source {
public:
    virtual ~Source() = default;

    /// Passes buffer to every connected sink's element; ownership goes with it, also when nothing
    /// is connected.
    void PushBuffer(Buffer* buffer);

protected:
    /// Where PushBuffer ends up.
    virtual void Push(Buffer* buffer) = 0;
};

} // namespace korva::meridan

#pragma GCC visibility pop
