#include "camera/engines/CellMask.h"

#include "camera/kit/Base64.h"

namespace camera::engines {

namespace {

constexpr std::size_t kLongestRun = 128;

using Bytes = std::vector<std::uint8_t>;

std::size_t runLength(const Bytes& bytes, std::size_t from)
{
    std::size_t end = from + 1;
    while (end < bytes.size() && end - from < kLongestRun && bytes[end] == bytes[from]) {
        ++end;
    }
    return end - from;
}

Bytes pack(const Bytes& bytes)
{
    Bytes packed;
    std::size_t position = 0;
    while (position < bytes.size()) {
        const std::size_t run = runLength(bytes, position);
        if (run > 1) {
            packed.push_back(static_cast<std::uint8_t>(257 - run));
            packed.push_back(bytes[position]);
            position += run;
            continue;
        }
        std::size_t end = position + 1;
        while (end < bytes.size() && end - position < kLongestRun && runLength(bytes, end) == 1) {
            ++end;
        }
        packed.push_back(static_cast<std::uint8_t>(end - position - 1));
        packed.insert(packed.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position),
                      bytes.begin() + static_cast<std::ptrdiff_t>(end));
        position = end;
    }
    return packed;
}

std::optional<Bytes> unpack(const Bytes& packed, std::size_t mostBytes)
{
    Bytes bytes;
    for (std::size_t position = 0; position < packed.size();) {
        const unsigned count = packed[position++];
        if (count == 128) { // the format defines this count as "skip"
            continue;
        }
        const bool literal = count < 128;
        const std::size_t length = literal ? count + 1 : 257 - count;
        if (packed.size() - position < (literal ? length : 1) || length > mostBytes - bytes.size()) {
            return std::nullopt;
        }
        if (literal) {
            bytes.insert(bytes.end(), packed.begin() + static_cast<std::ptrdiff_t>(position),
                         packed.begin() + static_cast<std::ptrdiff_t>(position + length));
            position += length;
        } else {
            bytes.insert(bytes.end(), length, packed[position++]);
        }
    }
    return bytes;
}

} // namespace

std::string encodeCells(const std::vector<std::uint8_t>& bits)
{
    return kit::base64Text(pack(bits));
}

std::optional<std::vector<std::uint8_t>> decodeCells(const std::string& text, std::size_t mostBytes)
{
    const std::optional<Bytes> packed = kit::base64Bytes(text);
    return packed ? unpack(*packed, mostBytes) : std::nullopt;
}

} // namespace camera::engines
