#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/base/SerialQueue.h"
#include "camera/serviceapi/ServiceConnections.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <sys/types.h>

namespace camera::serviceapi {

class DeviceServices;

/**
 * Takes one ONVIF metadata document per frame, writes it to a file if one is wanted, and hands it to the device's
 * metadata streamer. In the file each document is a line (a line break inside a document becomes a blank, which
 * XML reads alike between elements and in attributes).
 *
 * send() only queues; a thread of this object writes. A full queue drops the oldest document, a file
 * that cannot be written drops all later ones; both are counted, the latter is reported once.
 * Thread-safe.
 */
class MetadataStreamer {
public:
    static constexpr std::size_t kCapacityBytes = 64 * 1024 * 1024;

    struct Counters {
        std::uint64_t received = 0;
        std::uint64_t written = 0;
        std::uint64_t dropped = 0;
        std::string error; ///< why the file is incomplete; empty when it is not
    };

    /// @param services  borrowed.
    /// @param file  created, or emptied; an empty path: documents are only handed over.
    /// @param goesOn  the file is not emptied but added to. A last line that is not whole is cut off, with a line of
    /// the
    ///                log; a file that cannot be opened has failed like one that cannot be written.
    /// @throws std::runtime_error with one sentence when the file cannot be opened.
    MetadataStreamer(DeviceServices& services, const std::filesystem::path& file, bool goesOn = false,
                     std::size_t capacityBytes = kCapacityBytes);

    std::uintptr_t open() { return _connections.open(); }
    void close(std::uintptr_t cookie) { _connections.close(cookie); }
    ravel_core_status send(std::uintptr_t cookie, std::string document);

    /// Returns when every document sent before the call is written and handed over, or dropped.
    void drain() { _documents.drain(); }

    Counters counters() const;
    void discard() { _connections.discard(); } ///< closes every connection

private:
    base::FileDescriptor openFile(bool goesOn);
    void write(const std::string& document);
    void reportOnce(int error);
    void fail(const std::string& text);

    const std::filesystem::path _path;
    off_t _wholeBytes = 0; ///< the length of all documents written whole

    mutable std::mutex _mutex;
    Counters _counters;                                                  ///< of the file
    base::FileDescriptor _file;                                          ///< the writer's alone once its thread runs
    ServiceConnections<void (*)(bool, const char*, void*)> _connections; ///< without events
    base::SerialQueue<std::string> _documents;                           // last: its thread uses everything above
};

} // namespace camera::serviceapi
