#include "camera/framework/MetadataPool.h"

#include "camera/base/Current.h"
#include "camera/base/Log.h"

#include "korva/meridan/MetadataTransmitter.h"

#include <new>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace camera::framework {

namespace {

constexpr std::uint32_t kAlignment = 64;

void log(const std::string& text)
{
    base::Log::instance().write(base::LogLevel::error, "transmitter", text);
}

std::size_t bufferBytes(std::size_t engineCount, std::uint32_t bytesPerEngine)
{
    if (engineCount == 0 || bytesPerEngine == 0 || bytesPerEngine % kAlignment != 0) {
        throw std::invalid_argument("metadata buffers need at least one engine and a multiple of 64 bytes for each");
    }
    return engineCount * bytesPerEngine;
}

} // namespace

GuardedMemory::GuardedMemory(std::size_t sizeBytes) : _sizeBytes(sizeBytes)
{
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t usable = (sizeBytes + page - 1) / page * page;
    _mappingBytes = usable + page;
    _mapping = ::mmap(nullptr, _mappingBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (_mapping == MAP_FAILED) {
        throw std::bad_alloc();
    }
    auto* guard = static_cast<std::uint8_t*>(_mapping) + usable;
    if (::mprotect(guard, page, PROT_NONE) != 0) {
        ::munmap(_mapping, _mappingBytes);
        throw std::bad_alloc();
    }
    _data = guard - sizeBytes;
}

GuardedMemory::~GuardedMemory()
{
    ::munmap(_mapping, _mappingBytes);
}

MetadataPool::MetadataPool(std::size_t engineCount, std::uint32_t bytesPerEngine)
    : _bytesPerEngine(bytesPerEngine), _drawing(bufferBytes(engineCount, bytesPerEngine)), _motion(_drawing.size())
{
}

MetadataPool::Outputs MetadataPool::takeOutputs()
{
    return std::exchange(_outputs, {});
}

std::uint8_t* MetadataPool::emptyDrawing()
{
    // A buffer that a failed frame never gave back is handed out again.
    _drawingBytes = 0;
    return _drawing.data();
}

std::uint8_t* MetadataPool::emptyMotion()
{
    return _motion.data();
}

void MetadataPool::returnDrawing(std::size_t usedBytes)
{
    _drawingBytes = cut(usedBytes, "drawing");
}

void MetadataPool::returnMotion(std::size_t usedBytes)
{
    _outputs = {_drawing.data(), _drawingBytes, _motion.data(), cut(usedBytes, "motion")};
}

std::size_t MetadataPool::cut(std::size_t usedBytes, const char* which) const
{
    const std::size_t size = _drawing.size();
    if (usedBytes <= size) {
        return usedBytes;
    }
    log("the engines say that they wrote " + std::to_string(usedBytes) + " bytes of " + which +
        " data, the buffer has " + std::to_string(size));
    return size;
}

} // namespace camera::framework

namespace korva::meridan {

using CurrentPool = camera::base::Current<camera::framework::MetadataPool>;

MetadataTransmitter& MetadataTransmitter::instance()
{
    static MetadataTransmitter& transmitter = *new MetadataTransmitter;
    return transmitter;
}

std::uint8_t* MetadataTransmitter::GetEmptyDrawingBuffer()
{
    const auto pool = CurrentPool::get();
    return pool ? pool->emptyDrawing() : nullptr;
}

std::uint8_t* MetadataTransmitter::GetEmptyMotionBuffer()
{
    const auto pool = CurrentPool::get();
    return pool ? pool->emptyMotion() : nullptr;
}

std::uint32_t MetadataTransmitter::GetMaxBufferSize() const
{
    const auto pool = CurrentPool::get();
    return pool ? pool->bytesPerEngine() : 0;
}

void MetadataTransmitter::ReturnFullDrawingBuffer(unsigned int usedBytes)
{
    if (const auto pool = CurrentPool::get()) {
        pool->returnDrawing(usedBytes);
    }
}

void MetadataTransmitter::ReturnFullMotionBuffer(unsigned int usedBytes)
{
    if (const auto pool = CurrentPool::get()) {
        pool->returnMotion(usedBytes);
    }
}

} // namespace korva::meridan
