#pragma once

#include "camera/base/BoundedQueue.h"
#include "camera/base/FileDescriptor.h"
#include "camera/services/SocketFile.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <list>
#include <memory>
#include <mutex>
#include <poll.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace camera::services {

/**
 * Hands metadata documents to every client of the Unix socket metadata.sock, one document a line; a line
 * break inside a document becomes a blank, which XML reads alike.
 *
 * publish() only queues; a thread of this object sends. A client that reads too slowly loses the oldest documents,
 * which are counted; no client and no publisher waits for another. Thread-safe.
 */
class MetadataSocket {
public:
    static constexpr const char* kFileName = "metadata.sock";
    static constexpr std::size_t kMostSubscribers = 64;         ///< more are closed at once
    static constexpr std::size_t kQueueBytes = 4 * 1024 * 1024; ///< of one subscriber

    struct SubscriberCounters {
        std::uint64_t delivered = 0;
        std::uint64_t lost = 0;
        std::size_t queuedBytes = 0;
    };
    struct Counters {
        std::uint64_t received = 0;
        std::uint64_t delivered = 0; ///< counted for each subscriber, also for those that have left
        std::uint64_t lost = 0;
        std::vector<SubscriberCounters> subscribers;
    };

    /// @throws std::runtime_error with one sentence; see SocketFile.
    explicit MetadataSocket(const std::filesystem::path& folder);

    /// Closes all connections; what is still queued is not sent.
    ~MetadataSocket();
    MetadataSocket(const MetadataSocket&) = delete;
    MetadataSocket& operator=(const MetadataSocket&) = delete;

    void publish(const std::string& document);
    Counters counters() const;
    const std::string& path() const { return _file.path(); }

private:
    /// A line that several clients share.
    using Line = std::shared_ptr<const std::string>;

    struct Client {
        explicit Client(base::FileDescriptor connected) : socket(std::move(connected)) {}

        // Used by the thread only.
        base::FileDescriptor socket;
        Line line;                ///< the one being sent; null: none
        std::size_t sent = 0;     ///< bytes of it
        bool sendsNoMore = false; ///< it has closed its own direction and may still read

        // Guarded by the mutex.
        base::BoundedQueue<Line> queue{kQueueBytes, [](const Line& waiting) { return waiting->size(); }};
        SubscriberCounters counters;
    };

    static Line lineOf(const std::string& document);
    void run();
    std::vector<pollfd> waiting();
    void wake() const;
    void acceptNew();
    void serveClients(const std::vector<pollfd>& polled);
    bool serve(Client& client, short events);
    bool sendTo(Client& client);

    SocketFile _file;
    base::FileDescriptor _wakeUp;
    /// Used by the thread only: when to accept clients again, after there were no descriptors left.
    std::chrono::steady_clock::time_point _acceptAgain;

    mutable std::mutex _mutex;
    std::list<Client> _clients; ///< changed by the thread only
    Counters _total;            ///< without subscribers
    bool _stopping = false;
    std::thread _thread; // last: run() uses everything above
};

} // namespace camera::services
