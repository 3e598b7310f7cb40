#pragma once

#include <cstdint>
#include <string>

#pragma GCC visibility push(default)

/// What the engines write for one frame. Either buffer may be null: an engine then writes nothing there.
struct __attribute__((visibility("default"))) MetadataBuffers {
    std::uint8_t* drawingBuffer = nullptr; ///< this engine's part begins here
    std::uint32_t drawingBufferSize = 0;   ///< bytes, the same for every engine
    std::uint32_t drawingBufferUsed = 0;   ///< bytes this engine wrote; set by the engine
    std::uint8_t* motionBuffer = nullptr;  ///< shared by all engines: the next appends
    std::uint32_t motionBufferSize = 0;    ///< bytes
    std::uint32_t motionBufferUsed = 0;    ///< bytes written by this and earlier engines
    std::string metadataXml;               ///< one ONVIF metadata document for all engines together
};

#pragma GCC visibility pop
