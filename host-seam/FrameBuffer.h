#pragma once

#include "korva/meridan/Buffer.h"
#include "korva/meridan/BufferFormat.h"

#include <atomic>
#include <map>
#include <string>
#include <vector>

namespace host_seam {

/// A format record of integers; an absent key reads -1.
class MemoryFormat : public korva::meridan::BufferFormat {
public:
    std::map<std::string, std::int32_t, std::less<>> values;

    std::int32_t GetInt(const std::string& key) const override;
};

/// One buffer whose reads and deletion show in the journal.
class FrameBuffer : public korva::meridan::Buffer {
public:
    /// A raw image of that size, stride equal to the width, every byte `fill`.
    static FrameBuffer* image(std::int32_t width, std::int32_t height, std::uint8_t fill = 0x10);
    /// A signal without payload.
    static FrameBuffer* empty();
    /// Buffers that exist now.
    static int alive();

    FrameBuffer();
    ~FrameBuffer() override;

    std::size_t GetLength() const override;
    const korva::meridan::BufferFormat& GetFormat() const override;
    std::uint8_t* GetData() const override;
    const std::uint32_t* GetTimestamp() const override;

    mutable std::vector<std::uint8_t> payload;
    MemoryFormat format;
    /// Each entry is what one more GetTimestamp points at; the last one stays.
    std::vector<std::vector<std::uint32_t>> timestamps = {{1700000000U, 500U}};

private:
    static std::atomic<int> _alive;
    mutable std::size_t _timestampReads = 0;
};

} // namespace host_seam
