#pragma once

#include "camera/base/FileDescriptor.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace camera::services {

/// A Unix stream socket that listens under a name in the file system, for this user only. The object removes the
/// name when it ends, and takes over a name that a killed process left.
class SocketFile {
public:
    /// @param path  made absolute; its folder is created when it is absent.
    /// @throws std::runtime_error with one sentence: the path is too long, its folder cannot be used, something else
    ///         has the name, or a living process listens there.
    explicit SocketFile(const std::filesystem::path& path);
    ~SocketFile();
    SocketFile(const SocketFile&) = delete;
    SocketFile& operator=(const SocketFile&) = delete;

    /// Never blocks.
    int descriptor() const { return _listener.get(); }
    const std::string& path() const { return _path; }

private:
    void makeFolder() const;
    void removeStale() const;
    bool isListenedTo() const;
    void listen();

    const std::string _path;
    base::FileDescriptor _listener;
    struct stat _own {};
};

} // namespace camera::services
