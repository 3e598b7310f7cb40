#include "camera/video/Demuxer.h"

#include "camera/base/InputName.h"
#include "camera/video/LibavLog.h"

#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <system_error>

namespace camera::video {

namespace {

namespace fs = std::filesystem;

constexpr const char* kNetworkTimeoutMicroseconds = "8000000";

std::string quoted(const std::string& input)
{
    return "'" + input + "'";
}

bool isUrl(const std::string& input)
{
    return !base::isFileUrl(input) && input.find("://") != std::string::npos;
}

bool isVideoDevice(const std::string& input)
{
    return base::pathOfInput(input).compare(0, 10, "/dev/video") == 0;
}

int shouldStop(void* flag)
{
    const auto* stop = static_cast<const std::atomic<bool>*>(flag);
    return stop != nullptr && stop->load() ? 1 : 0;
}

// These cases are refused here because libav's own error texts for them are unclear.
void checkFile(const std::string& input)
{
    std::error_code error;
    const std::string path = base::pathOfInput(input);
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        const bool hidden = error && error != std::errc::no_such_file_or_directory;
        throw std::runtime_error("cannot open " + quoted(input) + ": " +
                                 (hidden ? error.message() : "there is no such file") +
                                 "; name a video file, a URL, or scene: for a generated scene.");
    }
    if (fs::is_directory(status)) {
        throw std::runtime_error("cannot open " + quoted(input) + ": it is a directory; name one video file in it.");
    }
    if (fs::is_regular_file(status) && fs::file_size(path, error) == 0) {
        throw std::runtime_error("cannot read " + quoted(input) + ": the file is empty; name a video file.");
    }
}

std::string reason(int status)
{
    const std::string logged = lastLibavError();
    return libavStatusText(status) + (logged.empty() ? "" : " (" + logged + ")");
}

[[noreturn]] void throwNotOpened(const std::string& input, int status)
{
    if (isUrl(input) || isVideoDevice(input)) {
        throw std::runtime_error("cannot open " + quoted(input) + ": " + reason(status) +
                                 "; check the address and that the other side is running.");
    }
    if (status == AVERROR(EACCES) || status == AVERROR(EPERM)) {
        throw std::runtime_error("cannot open " + quoted(input) + ": " + libavStatusText(status) +
                                 "; make the file readable for this user.");
    }
    throw std::runtime_error(quoted(input) + " is not a video that can be read: " + reason(status) +
                             (base::isReadOnce(input) ? "; a pipe takes what is read from its beginning, MPEG-TS or "
                                                        "Matroska for instance."
                                                      : "; name a whole video file."));
}

AVDictionary* optionsFor(const std::string& input)
{
    AVDictionary* options = nullptr;
    if (input.compare(0, 7, "rtsp://") == 0 || input.compare(0, 8, "rtsps://") == 0) {
        av_dict_set(&options, "rtsp_transport", "tcp", 0);
        av_dict_set(&options, "timeout", kNetworkTimeoutMicroseconds, 0);
    } else if (isUrl(input)) {
        av_dict_set(&options, "rw_timeout", kNetworkTimeoutMicroseconds, 0);
    }
    return options;
}

} // namespace

Demuxer::Demuxer(const std::string& input, const std::atomic<bool>* stop, const PipeInput::Tell& tell) : _stop(stop)
{
    static std::once_flag registered;
    std::call_once(registered, avdevice_register_all);
    if (base::isReadOnce(input)) {
        _pipe.emplace(input, stop, tell);
    } else if (!isUrl(input)) {
        checkFile(input);
    }
    open(input);
    findStream(input);
}

void Demuxer::open(const std::string& input)
{
    AVFormatContext* opened = avformat_alloc_context();
    if (opened == nullptr) {
        throw std::bad_alloc();
    }
    opened->pb = _pipe ? _pipe->context() : nullptr;
    opened->interrupt_callback = {shouldStop, const_cast<std::atomic<bool>*>(_stop)};
    const AVInputFormat* format = isVideoDevice(input) ? av_find_input_format("video4linux2,v4l2") : nullptr;
    AVDictionary* options = optionsFor(input);
    clearLibavError();
    // A name with a colon in it must not be taken for a protocol.
    const std::string path = base::pathOfInput(input);
    const std::string address = _pipe ? "" : isUrl(input) || isVideoDevice(input) ? path : "file:" + path;
    const int status = avformat_open_input(&opened, address.c_str(), format, &options);
    av_dict_free(&options);
    if (status < 0) {
        throwNotOpened(input, status); // the context was freed by the failing call
    }
    _context.reset(opened);
    // libav renders a text file as a picture of a terminal; a user who gives one has made a mistake.
    if (std::string(_context->iformat->name) == "tty") {
        throw std::runtime_error(quoted(input) + " is not a video that can be read: it is text; name a video file.");
    }
}

void Demuxer::findStream(const std::string& input)
{
    clearLibavError();
    const int status = avformat_find_stream_info(_context.get(), nullptr);
    if (status < 0) {
        throwNotOpened(input, status);
    }
    _streamIndex = av_find_best_stream(_context.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (_streamIndex < 0) {
        throw std::runtime_error("there is no video stream in " + quoted(input) + " (" + _context->iformat->long_name +
                                 "); name a file with pictures.");
    }
    const bool seeks = _context->pb != nullptr && _context->pb->seekable != 0;
    _live = isVideoDevice(input) || (isUrl(input) && !seeks && _context->duration <= 0);
    for (unsigned int i = 0; i < _context->nb_streams; ++i) {
        if (static_cast<int>(i) != _streamIndex) {
            _context->streams[i]->discard = AVDISCARD_ALL;
        }
    }
}

Demuxer::Read Demuxer::read(AVPacket& packet)
{
    for (;;) {
        av_packet_unref(&packet);
        const int status = av_read_frame(_context.get(), &packet);
        if (status == AVERROR_EOF || status == AVERROR_EXIT) {
            return Read::end;
        }
        if (status == AVERROR(EAGAIN)) {
            if (_stop != nullptr && _stop->load()) {
                return Read::end;
            }
            continue;
        }
        if (status < 0) {
            _errorText = libavStatusText(status);
            return Read::failed;
        }
        if (packet.stream_index == _streamIndex) {
            return Read::packet;
        }
    }
}

bool Demuxer::rewind()
{
    if (_context->pb == nullptr || _context->pb->seekable == 0) {
        return false;
    }
    const std::int64_t start = stream().start_time == AV_NOPTS_VALUE ? 0 : stream().start_time;
    return av_seek_frame(_context.get(), _streamIndex, start, AVSEEK_FLAG_BACKWARD) >= 0 ||
           av_seek_frame(_context.get(), _streamIndex, 0, AVSEEK_FLAG_BYTE) >= 0;
}

double Demuxer::framesPerSecond() const
{
    const AVRational rate = av_guess_frame_rate(_context.get(), _context->streams[_streamIndex], nullptr);
    const double framesPerSecond = rate.den == 0 ? 0 : av_q2d(rate);
    // Some containers name their clock instead of a rate.
    return framesPerSecond >= 0.01 && framesPerSecond <= 1000 ? framesPerSecond : 25;
}

} // namespace camera::video
