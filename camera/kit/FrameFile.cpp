#include "camera/kit/FrameFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace camera::kit {

namespace {

constexpr std::string_view kFileMark = "VCFRAMES";
constexpr std::string_view kFrameMark = "FRAM";
constexpr std::uint32_t kFrameFileVersion = 1;
constexpr std::uint32_t kLargestSide = 16384;
constexpr std::size_t kFrameHeaderBytes = 4 + 9 * 4 + 4 + 4;

/// Little-endian numbers in a header of fixed size.
template <std::size_t size>
class Header {
public:
    void put(std::string_view text)
    {
        std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(_position));
        _position += text.size();
    }
    void putByte(std::uint32_t value) { bytes[_position++] = static_cast<char>(value); }
    void putWord(std::uint32_t value)
    {
        for (int shift = 0; shift < 32; shift += 8) {
            putByte(value >> shift & 0xff);
        }
    }
    bool take(std::string_view text)
    {
        _position += text.size();
        return std::string_view(bytes.data() + _position - text.size(), text.size()) == text;
    }
    std::uint8_t takeByte() { return static_cast<std::uint8_t>(bytes[_position++]); }
    std::uint32_t takeWord()
    {
        std::uint32_t value = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            value |= std::uint32_t{takeByte()} << shift;
        }
        return value;
    }
    bool read(std::istream& file) { return static_cast<bool>(file.read(bytes.data(), size)); }

    std::array<char, size> bytes{};

private:
    std::size_t _position = 0;
};

using FileHeader = Header<16>;
using FrameHeader = Header<kFrameHeaderBytes>;

std::uint32_t checksum(const std::vector<std::uint8_t>& pixels)
{
    std::uint32_t hash = 5381;
    for (const std::uint8_t byte : pixels) {
        hash = hash * 33 + byte;
    }
    return hash;
}

/// The picture without padding.
std::vector<std::uint8_t> packed(const analytics_lib::YuvFrame& frame)
{
    const std::size_t rows = frame.height + frame.height / 2;
    std::vector<std::uint8_t> pixels(frame.width * rows);
    for (std::size_t row = 0; row < rows; ++row) {
        std::memcpy(pixels.data() + row * frame.width, frame.data + row * frame.bytesPerRow, frame.width);
    }
    return pixels;
}

} // namespace

FrameFileWriter::FrameFileWriter(std::string path, unsigned count)
    : _path(std::move(path)), _file(_path, std::ios::binary | std::ios::trunc), _left(count)
{
    if (!_file) {
        throw std::runtime_error("cannot write frames to '" + _path + "': the file cannot be made");
    }
}

void FrameFileWriter::begin(std::uint32_t firstObject)
{
    FileHeader header;
    header.put(kFileMark);
    header.putWord(kFrameFileVersion);
    header.putWord(firstObject);
    _file.write(header.bytes.data(), header.bytes.size());
    flushed();
}

void FrameFileWriter::add(const analytics_lib::YuvFrame& frame, const std::optional<analytics_lib::ColorYuv>& blanked)
{
    const std::vector<std::uint8_t> pixels = packed(frame);
    const analytics_lib::ColorYuv colour = blanked.value_or(analytics_lib::ColorYuv{});
    FrameHeader header;
    header.put(kFrameMark);
    for (const std::uint32_t word :
         {frame.timestamp[0], frame.timestamp[1], static_cast<std::uint32_t>(frame.width),
          static_cast<std::uint32_t>(frame.height), frame.pan, static_cast<std::uint32_t>(frame.tilt), frame.zoom,
          frame.horizontalAngleOfView, frame.verticalAngleOfView}) {
        header.putWord(word);
    }
    for (const std::uint8_t byte : {static_cast<std::uint8_t>(blanked ? 1 : 0), colour.y, colour.u, colour.v}) {
        header.putByte(byte);
    }
    header.putWord(checksum(pixels));
    _file.write(header.bytes.data(), header.bytes.size());
    _file.write(reinterpret_cast<const char*>(pixels.data()), static_cast<std::streamsize>(pixels.size()));
    --_left;
    if (full()) {
        _file.flush();
    }
    flushed();
}

void FrameFileWriter::flushed() const
{
    if (!_file) {
        throw std::runtime_error("cannot write frames to '" + _path + "': the disk may be full");
    }
}

FrameFileReader::FrameFileReader(std::string path, bool fresh)
    : _path(std::move(path)), _file(_path, std::ios::binary), _fresh(fresh)
{
    FileHeader header;
    if (!_file || !header.read(_file)) {
        throw std::runtime_error("cannot read frames from '" + _path + "': no such file, or it is empty");
    }
    const bool ours = header.take(kFileMark);
    if (!ours || header.takeWord() != kFrameFileVersion) {
        throw std::runtime_error("cannot read frames from '" + _path + "': it is no frame file of this version");
    }
    _firstObject = header.takeWord();
}

std::optional<RecordedFrame> FrameFileReader::next()
{
    if (_file.peek() == std::ifstream::traits_type::eof()) {
        return std::nullopt;
    }
    const std::runtime_error damaged("the frame file '" + _path + "' is damaged: what follows is not read");
    FrameHeader header;
    if (!header.read(_file) || !header.take(kFrameMark)) {
        throw damaged;
    }
    RecordedFrame recorded;
    analytics_lib::YuvFrame& frame = recorded.frame;
    frame.timestamp[0] = header.takeWord();
    frame.timestamp[1] = header.takeWord();
    frame.width = header.takeWord();
    frame.height = header.takeWord();
    frame.pan = header.takeWord();
    frame.tilt = static_cast<std::int32_t>(header.takeWord());
    frame.zoom = header.takeWord();
    frame.horizontalAngleOfView = header.takeWord();
    frame.verticalAngleOfView = header.takeWord();
    const bool blanked = header.takeByte() == 1;
    analytics_lib::ColorYuv colour;
    colour.y = header.takeByte();
    colour.u = header.takeByte();
    colour.v = header.takeByte();
    const std::uint32_t expected = header.takeWord();
    if (frame.width == 0 || frame.height == 0 || frame.width > kLargestSide || frame.height > kLargestSide) {
        throw damaged;
    }
    // The size is checked against the length of the file before memory is allocated, because it may be damaged.
    const std::size_t bytes = frame.width * (frame.height + frame.height / 2);
    const std::streampos here = _file.tellg();
    _file.seekg(0, std::ios::end);
    const std::streamoff left = _file.tellg() - here;
    _file.seekg(here);
    if (left < 0 || static_cast<std::uint64_t>(left) < bytes) {
        throw damaged;
    }
    _pixels.resize(bytes);
    _file.read(reinterpret_cast<char*>(_pixels.data()), static_cast<std::streamsize>(bytes));
    if (!_file || checksum(_pixels) != expected) {
        throw damaged;
    }
    frame.data = _pixels.data();
    frame.bytesPerRow = static_cast<std::uint32_t>(frame.width);
    if (blanked) {
        recorded.blanked = colour;
    }
    return recorded;
}

} // namespace camera::kit
