#include "camera/serviceapi/MetadataStreamer.h"

#include "camera/base/Contained.h"
#include "camera/base/Log.h"
#include "camera/serviceapi/DeviceServices.h"
#include "camera/serviceapi/Status.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace camera::serviceapi {

namespace {

constexpr const char* kComponent = "onvif_metadata_streamer";

base::FileDescriptor openFile(const std::filesystem::path& path)
{
    if (path.empty()) {
        return {};
    }
    base::FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file) {
        throw std::runtime_error("the metadata file " + path.string() + " cannot be written: " + std::strerror(errno) +
                                 "; name another one");
    }
    return file;
}

} // namespace

MetadataStreamer::MetadataStreamer(DeviceServices& services, const std::filesystem::path& file,
                                   std::size_t capacityBytes)
    : _path(file),
      _file(openFile(file)),
      _documents(
          [this, &services](const std::string& document) {
              if (!_path.empty()) {
                  write(document);
              }
              services.sendMetadata(document);
          },
          base::BoundedQueue<std::string>(capacityBytes, [](const std::string& document) { return document.size(); }))
{
}

ravel_core_status MetadataStreamer::send(std::uintptr_t cookie, std::string document)
{
    if (!_connections.isOpen(cookie)) {
        return kInvalidArgument;
    }
    _documents.push(std::move(document));
    return kOk;
}

MetadataStreamer::Counters MetadataStreamer::counters() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    Counters now = _counters;
    now.received = _documents.pushed();
    now.dropped += _documents.dropped();
    return now;
}

void MetadataStreamer::write(const std::string& document)
{
    // One write for each document, so that a program that follows the file sees it at once.
    std::string line = document;
    std::replace_if(
        line.begin(), line.end(), [](char character) { return character == '\n' || character == '\r'; }, ' ');
    line += '\n';
    std::size_t done = 0;
    while (_file && done < line.size()) {
        const ssize_t count = ::write(_file.get(), line.data() + done, line.size() - done);
        if (count < 0 && errno != EINTR) {
            reportOnce(errno);
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    const bool whole = done == line.size();
    _wholeBytes += whole ? static_cast<off_t>(done) : 0;
    const std::lock_guard<std::mutex> lock(_mutex);
    ++(whole ? _counters.written : _counters.dropped);
}

void MetadataStreamer::reportOnce(int error)
{
    // The incomplete line is removed and nothing more is written. A file without some documents in its middle would
    // look complete.
    std::string text = "the metadata file " + _path.string() + " is incomplete: " + std::strerror(error);
    if (::ftruncate(_file.get(), _wholeBytes) != 0) {
        text += "; its last line is torn";
    }
    _file.reset();
    base::Log::instance().write(base::LogLevel::error, kComponent, text);
    const std::lock_guard<std::mutex> lock(_mutex);
    _counters.error = text;
}

} // namespace camera::serviceapi
