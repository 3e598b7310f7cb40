#pragma once

#include "camera/serviceapi/ServiceFaults.h"
#include "camera/serviceapi/TargetRegistry.h"

#include "ravel/status.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <sys/types.h>
#include <thread>

namespace camera::serviceapi {

/**
 * The metadata streamer, "onvif_metadata_streamer": takes one ONVIF metadata document per frame and
 * writes each to a file, one document a line (a line break inside a document becomes a blank, which
 * XML reads alike between elements and in attributes).
 *
 * send() only queues; a thread of this object writes. A full queue drops the oldest document, a file
 * that cannot be written drops all later ones; both are counted, the latter is reported once.
 * Thread-safe.
 */
class MetadataStreamer {
public:
    static constexpr const char* kTargetId = "main";
    static constexpr std::size_t kCapacityBytes = 64 * 1024 * 1024;

    struct Counters {
        std::uint64_t received = 0;
        std::uint64_t written = 0;
        std::uint64_t dropped = 0;
        std::string error; ///< why the file is incomplete; empty when it is not
    };

    /// @param file  created, or emptied; an empty path: documents are only counted.
    /// @throws std::runtime_error with one sentence when the file cannot be opened.
    MetadataStreamer(TargetRegistry& targets, ServiceFault fault, const std::filesystem::path& file,
                     std::size_t capacityBytes = kCapacityBytes);

    /// Writes what is queued, then closes the file.
    ~MetadataStreamer();
    MetadataStreamer(const MetadataStreamer&) = delete;
    MetadataStreamer& operator=(const MetadataStreamer&) = delete;

    void setFault(ServiceFault fault);

    /// From now on the service is one of another process: whether it is there is what the registry says, and
    /// the consumer hands the documents over.
    void liveElsewhere();

    ravel_core_status init(std::uint64_t* cookie, int version);
    ravel_core_status send(std::uint64_t cookie, const char* targetId, const char* xml);
    void deinit(std::uint64_t cookie);

    /// Called with each document, unchanged, on the writer's thread; replaces the one before. When it
    /// returns, the one before is not running any more. Not from the consumer.
    void setConsumer(std::function<void(const std::string&)> consumer);

    /// Returns when every document sent before the call is written or dropped.
    void drain();

    Counters counters() const;
    std::size_t openConnections() const;
    void discard(); ///< closes every connection

private:
    void serve();
    void write(const std::string& document);
    void reportOnce(int error);

    TargetRegistry& _targets;
    const std::filesystem::path _path;
    const std::size_t _capacityBytes;
    std::atomic<ServiceFault> _fault{ServiceFault::none};
    std::atomic<bool> _elsewhere{false};
    int _descriptor = -1;  ///< the writer's alone once its thread runs
    off_t _wholeBytes = 0; ///< the length of all documents written whole

    mutable std::mutex _mutex;
    std::condition_variable _wake;
    std::condition_variable _progress;
    std::deque<std::string> _queue;
    std::size_t _queuedBytes = 0;
    bool _writing = false;
    bool _stopping = false;
    Counters _counters;
    std::set<std::uint64_t> _open;
    std::uint64_t _lastCookie = 0;

    std::mutex _consumerMutex;
    std::function<void(const std::string&)> _consumer;
    std::thread _thread; // last: serve() uses everything above
};

} // namespace camera::serviceapi
