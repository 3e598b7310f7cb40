#include "camera/video/FramePool.h"

#include <cstdlib>
#include <new>

namespace camera::video {

namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kMostKept = 8;

} // namespace

struct FramePool::Shelf {
    std::mutex mutex;
    std::size_t sizeBytes = 0;
    std::vector<std::uint8_t*> free;

    ~Shelf() { dropAll(); }

    void dropAll()
    {
        for (std::uint8_t* memory : free) {
            std::free(memory);
        }
        free.clear();
    }

    std::uint8_t* take(std::size_t wanted)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (wanted != sizeBytes) {
            dropAll();
            sizeBytes = wanted;
        }
        if (!free.empty()) {
            std::uint8_t* memory = free.back();
            free.pop_back();
            return memory;
        }
        free.reserve(kMostKept);
        auto* memory = static_cast<std::uint8_t*>(std::aligned_alloc(kAlignment, wanted));
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }

    void giveBack(std::uint8_t* memory, std::size_t itsSize)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (itsSize == sizeBytes && free.size() < kMostKept) {
            free.push_back(memory);
        } else {
            std::free(memory);
        }
    }
};

FramePool::FramePool() : _shelf(std::make_shared<Shelf>())
{
}

Frame FramePool::take(int width, int height)
{
    Frame frame;
    frame.width = width;
    frame.height = height;
    frame.strideBytes = (width + 63) / 64 * 64;
    const std::size_t rows = static_cast<std::size_t>(height) + static_cast<std::size_t>((height + 1) / 2);
    frame.sizeBytes = static_cast<std::size_t>(frame.strideBytes) * rows;
    std::uint8_t* memory = _shelf->take(frame.sizeBytes);
    frame.data = std::shared_ptr<std::uint8_t>(
        memory, [home = _shelf, size = frame.sizeBytes](std::uint8_t* gone) { home->giveBack(gone, size); });
    return frame;
}

} // namespace camera::video
