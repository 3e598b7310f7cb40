#pragma once

#include <deque>
#include <mutex>

namespace host_seam {

/// The log handles of the process. Thread-safe, because engines log from their own threads.
class LogHandles {
public:
    LogHandles() { reset(); }

    /// Open after every reset.
    void* standing() const;
    void* open();
    /// False when the handle was not open.
    bool close(void* handle);
    bool isOpen(const void* handle) const;
    void reset();

private:
    struct Handle {
        bool open;
    };

    void* add();

    mutable std::mutex _mutex;
    std::deque<Handle> _handles; // never shrinks: an old handle keeps its address and stays closed
    void* _standing = nullptr;
};

LogHandles& logHandles();

} // namespace host_seam
