// Three engines that do nothing, with and without monitors, and the clock that a monitor reads.
#include "bench/Pairs.h"
#include "camera/framework/EngineMonitor.h"
#include "kit/FakeEngine.h"
#include "kit/Heap.h"

#include <array>
#include <chrono>
#include <memory>
#include <stdexcept>

namespace {

using analytics_lib::IOnvifAnalytics;

using Engines = std::array<std::shared_ptr<IOnvifAnalytics>, 3>;

Engines engines(bool watched)
{
    Engines all;
    for (auto& engine : all) {
        engine = std::make_shared<kit::FakeEngine>("Empty");
        if (watched) {
            engine = std::make_shared<camera::framework::EngineMonitor>(
                engine,
                std::make_shared<camera::framework::EngineRecord>("Empty", camera::framework::EngineListeners()));
        }
    }
    return all;
}

void show(const Engines& all, const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs)
{
    for (const auto& engine : all) {
        bench::keep(engine->onFrame(frame, outputs));
    }
}

} // namespace

int main(int argc, char** argv)
{
    const Engines watched = engines(true);
    const Engines bare = engines(false);
    const analytics_lib::YuvFrame frame;
    MetadataBuffers outputs;
    const auto showWatched = [&] { show(watched, frame, outputs); };
    const auto showBareAndReadClock = [&] {
        show(bare, frame, outputs);
        for (int reading = 0; reading < 8; ++reading) {
            bench::keep(std::chrono::steady_clock::now());
        }
    };
    bench::Pairs(argc, argv)
        .compare("one frame for three empty engines behind monitors", bench::timed(showWatched),
                 "the same without monitors and eight readings of the steady clock", bench::timed(showBareAndReadClock),
                 bench::atMost(1));
    const std::size_t before = kit::allocationsOfThisThread();
    showWatched();
    if (kit::allocationsOfThisThread() != before) {
        throw std::runtime_error("a frame allocates");
    }
}
