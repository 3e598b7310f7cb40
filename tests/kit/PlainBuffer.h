#pragma once

#include "korva/meridan/Buffer.h"
#include "korva/meridan/BufferFormat.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kit {

/// A buffer that answers from plain memory, records nothing and asks the heap for nothing, so that what is counted or
/// measured is the plug-in's. One exists at a time: deleting it frees nothing.
class PlainBuffer final : public korva::meridan::Buffer, private korva::meridan::BufferFormat {
public:
    std::size_t GetLength() const override { return sizeof(_image); }
    const korva::meridan::BufferFormat& GetFormat() const override { return *this; }
    std::uint8_t* GetData() const override { return _image; }
    const std::uint32_t* GetTimestamp() const override { return _timestamp; }

    static void* operator new(std::size_t /*size*/)
    {
        alignas(std::max_align_t) static unsigned char storage[256];
        return storage;
    }
    static void operator delete(void* /*memory*/) {}

private:
    std::int32_t GetInt(const std::string& key) const override { return key == "height" ? 4 : 8; }

    mutable std::uint8_t _image[48] = {};
    std::uint32_t _timestamp[2] = {1700000000U, 1U};
};

} // namespace kit
