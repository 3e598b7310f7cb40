#include "SmallStack.h"

#include "kit/Heap.h"

#include <algorithm>
#include <pthread.h>
#include <stdexcept>
#include <unistd.h>

namespace hostile {

namespace {

constexpr std::size_t kSanitizedFactor = 8;

void* start(void* work)
{
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

} // namespace

std::size_t stackBytes(std::size_t kib)
{
    const std::size_t asked = kib * 1024 * (kit::heapIsWatched() ? 1 : kSanitizedFactor);
    const long least = sysconf(_SC_THREAD_STACK_MIN);
    return std::max(asked, static_cast<std::size_t>(std::max(least, 0L)));
}

void runOnStack(std::size_t kib, const std::function<void()>& work)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes(kib));
    pthread_t thread;
    const int failure = pthread_create(&thread, &attributes, start, const_cast<std::function<void()>*>(&work));
    pthread_attr_destroy(&attributes);
    if (failure != 0) {
        throw std::runtime_error("no thread with a small stack");
    }
    pthread_join(thread, nullptr);
}

} // namespace hostile
