#include "camera/serviceapi/MetadataStreamer.h"

#include "camera/base/Contained.h"
#include "camera/base/Log.h"
#include "camera/serviceapi/DeviceServices.h"
#include "camera/serviceapi/Status.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace camera::serviceapi {

namespace {

constexpr const char* kComponent = "onvif_metadata_streamer";

// How many bytes of the file are whole lines.
off_t wholeLines(int file, off_t size)
{
    std::array<char, 4096> part{};
    while (size > 0) {
        const off_t begin = std::max<off_t>(size - static_cast<off_t>(part.size()), 0);
        const ssize_t length = ::pread(file, part.data(), static_cast<std::size_t>(size - begin), begin);
        if (length <= 0) {
            return size;
        }
        const std::string_view text(part.data(), static_cast<std::size_t>(length));
        const std::size_t last = text.rfind('\n');
        if (last != std::string_view::npos) {
            return begin + static_cast<off_t>(last) + 1;
        }
        size = begin;
    }
    return 0;
}

} // namespace

MetadataStreamer::MetadataStreamer(DeviceServices& services, const std::filesystem::path& file, bool goesOn,
                                   std::size_t capacityBytes)
    : _path(file),
      _file(openFile(goesOn)),
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

base::FileDescriptor MetadataStreamer::openFile(bool goesOn)
{
    if (_path.empty()) {
        return {};
    }
    const int flags = goesOn ? O_RDWR | O_APPEND : O_WRONLY | O_TRUNC;
    base::FileDescriptor file(::open(_path.c_str(), flags | O_CREAT | O_CLOEXEC, 0644));
    if (!file) {
        const std::string text = "the metadata file " + _path.string() + " cannot be written: " + std::strerror(errno);
        if (!goesOn) {
            throw std::runtime_error(text + "; name another one");
        }
        fail(text);
        return {};
    }
    if (goesOn) {
        const off_t size = ::lseek(file.get(), 0, SEEK_END);
        _wholeBytes = wholeLines(file.get(), size);
        if (_wholeBytes < size && ::ftruncate(file.get(), _wholeBytes) == 0) {
            base::Log::instance().write(base::LogLevel::error, kComponent,
                                        "the last document in the metadata file " + _path.string() + " is not whole: " +
                                            std::to_string(size - _wholeBytes) + " bytes are cut off");
        }
    }
    return file;
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
    fail(text);
}

void MetadataStreamer::fail(const std::string& text)
{
    base::Log::instance().write(base::LogLevel::error, kComponent, text);
    const std::lock_guard<std::mutex> lock(_mutex);
    _counters.error = text;
}

} // namespace camera::serviceapi
