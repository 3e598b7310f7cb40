#include "camera/serviceapi/MetadataStreamer.h"

#include "camera/base/Log.h"
#include "camera/serviceapi/Environment.h"
#include "camera/serviceapi/Status.h"

#include "ravel/onvif_metadata_streamer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace camera::serviceapi {

namespace {

constexpr const char* kService = "onvif_metadata_streamer";

int openFile(const std::filesystem::path& path)
{
    if (path.empty()) {
        return -1;
    }
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        throw std::runtime_error("the metadata file " + path.string() + " cannot be written: " + std::strerror(errno) +
                                 "; name another one");
    }
    return descriptor;
}

} // namespace

MetadataStreamer::MetadataStreamer(TargetRegistry& targets, ServiceFault fault, const std::filesystem::path& file,
                                   std::size_t capacityBytes)
    : _targets(targets), _path(file), _capacityBytes(capacityBytes), _descriptor(openFile(file))
{
    setFault(fault);
    _thread = std::thread([this] { serve(); });
}

MetadataStreamer::~MetadataStreamer()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
        _wake.notify_one();
    }
    _thread.join();
    if (_descriptor >= 0) {
        ::close(_descriptor);
    }
}

void MetadataStreamer::setFault(ServiceFault fault)
{
    _fault = fault;
    if (fault == ServiceFault::absent) {
        _targets.remove(kService);
    } else if (fault == ServiceFault::noTargets) {
        _targets.add(kService, {});
    } else {
        _targets.add(kService, {kTargetId});
    }
}

void MetadataStreamer::liveElsewhere()
{
    _elsewhere = true;
    _targets.remove(kService);
}

ravel_core_status MetadataStreamer::init(std::uint64_t* cookie, int version)
{
    if (cookie == nullptr || version != 1) {
        return kInvalidArgument;
    }
    if (_elsewhere ? !_targets.ids(kService) : _fault == ServiceFault::absent) {
        return kUnavailable;
    }
    if (_fault == ServiceFault::failsInit) {
        return kFailed;
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    _open.insert(++_lastCookie);
    *cookie = _lastCookie;
    return kOk;
}

ravel_core_status MetadataStreamer::send(std::uint64_t cookie, const char* targetId, const char* xml)
{
    if (targetId == nullptr || xml == nullptr) {
        return kInvalidArgument;
    }
    if (_fault == ServiceFault::failsQuery || _fault == ServiceFault::absent) {
        return kFailed;
    }
    std::string document(xml);
    const std::lock_guard<std::mutex> lock(_mutex);
    if (_open.count(cookie) == 0) {
        return kInvalidArgument;
    }
    if (!_elsewhere && std::strcmp(targetId, kTargetId) != 0) {
        return kNotFound;
    }
    ++_counters.received;
    _queuedBytes += document.size();
    _queue.push_back(std::move(document));
    while (_queuedBytes > _capacityBytes && _queue.size() > 1) {
        _queuedBytes -= _queue.front().size();
        _queue.pop_front();
        ++_counters.dropped;
    }
    _wake.notify_one();
    return kOk;
}

void MetadataStreamer::deinit(std::uint64_t cookie)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _open.erase(cookie);
}

void MetadataStreamer::setConsumer(std::function<void(const std::string&)> consumer)
{
    const std::lock_guard<std::mutex> lock(_consumerMutex);
    _consumer = std::move(consumer);
}

void MetadataStreamer::drain()
{
    std::unique_lock<std::mutex> lock(_mutex);
    _progress.wait(lock, [this] { return _queue.empty() && !_writing; });
}

MetadataStreamer::Counters MetadataStreamer::counters() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _counters;
}

std::size_t MetadataStreamer::openConnections() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _open.size();
}

void MetadataStreamer::discard()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _open.clear();
}

void MetadataStreamer::serve()
{
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
        _wake.wait(lock, [this] { return !_queue.empty() || _stopping; });
        if (_queue.empty()) {
            return;
        }
        const std::string document = std::move(_queue.front());
        _queue.pop_front();
        _queuedBytes -= document.size();
        _writing = true;
        lock.unlock();
        {
            const std::lock_guard<std::mutex> consuming(_consumerMutex);
            try {
                if (_consumer) {
                    _consumer(document);
                }
            } catch (const std::exception& error) {
                base::Log::instance().write(base::LogLevel::error, kService,
                                            std::string("a consumer failed: ") + error.what());
            }
        }
        write(document);
        lock.lock();
        _writing = false;
        _progress.notify_all();
    }
}

void MetadataStreamer::write(const std::string& document)
{
    if (_path.empty()) {
        return;
    }
    // One write each, so that a reader who follows the file sees a document as soon as it is there.
    std::string line = document;
    std::replace_if(
        line.begin(), line.end(), [](char character) { return character == '\n' || character == '\r'; }, ' ');
    line += '\n';
    std::size_t done = 0;
    while (_descriptor >= 0 && done < line.size()) {
        const ssize_t count = ::write(_descriptor, line.data() + done, line.size() - done);
        if (count < 0 && errno != EINTR) {
            reportOnce(errno);
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    const bool whole = done == line.size();
    _wholeBytes += whole ? static_cast<off_t>(done) : 0;
    const std::lock_guard<std::mutex> lock(_mutex);
    whole ? ++_counters.written : ++_counters.dropped;
}

void MetadataStreamer::reportOnce(int error)
{
    // Nothing more is written, and the torn line goes: a file that misses documents in its middle would look whole.
    std::string text = "the metadata file " + _path.string() + " is incomplete: " + std::strerror(error);
    if (::ftruncate(_descriptor, _wholeBytes) != 0) {
        text += "; its last line is torn";
    }
    ::close(_descriptor);
    _descriptor = -1;
    base::Log::instance().write(base::LogLevel::error, kService, text);
    const std::lock_guard<std::mutex> lock(_mutex);
    _counters.error = text;
}

} // namespace camera::serviceapi

using camera::serviceapi::CurrentEnvironment;

ravel_core_status ravel_api_onvif_metadata_streamer_initiator_init(void* /*loop*/, void* /*logHandle*/,
                                                                   std::uint64_t* cookie, int version,
                                                                   void* /*options*/)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->metadataStreamer.init(cookie, version) : camera::serviceapi::kUnavailable;
}

ravel_core_status ravel_api_onvif_metadata_streamer_send_onvif_analytics_metadata_xml_send(std::uint64_t cookie,
                                                                                           const char* targetId,
                                                                                           const char* xml,
                                                                                           int /*flag*/)
{
    const auto environment = CurrentEnvironment::get();
    return environment ? environment->metadataStreamer.send(cookie, targetId, xml) : camera::serviceapi::kUnavailable;
}

void ravel_api_onvif_metadata_streamer_initiator_deinit(std::uint64_t cookie)
{
    if (const auto environment = CurrentEnvironment::get()) {
        environment->metadataStreamer.deinit(cookie);
    }
}
