#include "kit/FakeBuffer.h"

#include "kit/FakePlatform.h"
#include "kit/Journal.h"

#include <algorithm>

namespace kit {

std::atomic<int> FakeBuffer::_alive{0};

std::int32_t FakeBufferFormat::GetInt(const std::string& key) const
{
    platform().reached("bufferGetInt");
    const auto entry = values.find(key);
    const std::int32_t value = entry == values.end() ? -1 : entry->second;
    journal().add(Part::Buffer, "bufferGetInt ", key, " -> ", value);
    return value;
}

FakeBuffer* FakeBuffer::image(std::int32_t width, std::int32_t height, std::uint8_t fill)
{
    auto* const buffer = new FakeBuffer;
    buffer->payload.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3 / 2, fill);
    buffer->format.values = {{"width", width}, {"height", height}, {"bytesPerRow", width}};
    return buffer;
}

FakeBuffer* FakeBuffer::empty()
{
    return new FakeBuffer;
}

int FakeBuffer::alive()
{
    return _alive.load();
}

FakeBuffer::FakeBuffer()
{
    ++_alive;
}

FakeBuffer::~FakeBuffer()
{
    --_alive;
    journal().add(Part::Buffer, "buffer deleted");
}

std::size_t FakeBuffer::GetLength() const
{
    platform().reached("bufferGetLength");
    journal().add(Part::Buffer, "bufferGetLength -> ", payload.size());
    return payload.size();
}

const korva::meridan::BufferFormat& FakeBuffer::GetFormat() const
{
    platform().reached("bufferGetFormat");
    journal().add(Part::Buffer, "bufferGetFormat");
    return format;
}

std::uint8_t* FakeBuffer::GetData() const
{
    platform().reached("bufferGetData");
    journal().add(Part::Buffer, "bufferGetData");
    return payload.data();
}

const std::uint32_t* FakeBuffer::GetTimestamp() const
{
    platform().reached("bufferGetTimestamp");
    journal().add(Part::Buffer, "bufferGetTimestamp");
    const std::size_t index = std::min(_timestampReads++, timestamps.size() - 1);
    return timestamps[index].data();
}

} // namespace kit
