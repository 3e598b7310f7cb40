#include "Bomb.h"

#include <chrono>
#include <cstdio>

namespace hostile {

namespace {

char logHandle;

// A parser's node is up to forty times as long as the shortest element; half a dozen copies of the text come on top
// (the request, the rule set, the setting, the stored document, the answer).
constexpr std::size_t kMemoryPerInput = 64;
constexpr std::size_t kMemoryAlways = 4 * 1024 * 1024;

struct Measured {
    std::size_t input = 0;
    kit::HeapUse heap;
    std::size_t stack = 0;
    double seconds = 0;
};

double mib(std::size_t bytes)
{
    return static_cast<double>(bytes) / (1024 * 1024);
}

Measured measure(std::size_t size, const Bomb& bomb, std::size_t stackKib)
{
    Measured measured;
    kit::resetQuietly();
    const kit::HeapMeter meter;
    const auto start = std::chrono::steady_clock::now();
    runOnStack(stackKib, [&] { measured.input = bomb(size); });
    measured.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    measured.heap = meter.use();
    measured.stack = stackBytes(stackKib);
    return measured;
}

void print(const std::string& name, const Measured& measured)
{
    std::printf("bomb: %s seconds=%.3f peak_mib=%.1f input_mib=%.1f allocations=%zu writes=%lu stack_kib=%zu\n",
                name.c_str(), measured.seconds, mib(measured.heap.peakBytes), mib(measured.input),
                measured.heap.allocations, kit::platform().settings.writes, measured.stack / 1024);
    std::fflush(stdout);
}

void expectBoundedMemory(const Measured& measured)
{
    EXPECT_LE(measured.heap.peakBytes, kMemoryPerInput * measured.input + kMemoryAlways);
}

} // namespace

std::shared_ptr<kit::FakeEngine> plainEngine(Content content)
{
    auto engine = std::make_shared<kit::FakeEngine>("Plain");
    engine->claims = [](const std::string&) { return true; };
    engine->accepts = [](const kit::Component&) { return true; };
    engine->content = content;
    engine->emptyContent = documentOf("");
    engine->topics = {"tns1:RuleEngine/PlainDetector/Motion"};
    engine->engines = {"tt:PlainModuleOfTheTests"};
    engine->rules = {"tt:PlainRuleOfTheTests", "tt:Other"};
    return engine;
}

std::string documentOf(const std::string& rules)
{
    return "<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration>" + rules +
           "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
}

BombDevice::BombDevice(Content content)
    : _engine(plainEngine(content)),
      _target(std::make_unique<korva::meridan::OnvifTarget>(
          &logHandle, std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>>{_engine}))
{
}

void BombDevice::restart()
{
    _target.reset();
    _target = std::make_unique<korva::meridan::OnvifTarget>(
        &logHandle, std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>>{_engine});
}

void BombTest::detonate(const std::string& name, std::size_t size, const Bomb& bomb, std::size_t stackKib)
{
    const Measured half = measure(size / 2, bomb, stackKib);
    const Measured full = measure(size, bomb, stackKib);
    print(name, full);
    if (kit::heapIsWatched()) {
        expectBoundedMemory(full);
        EXPECT_LE(full.heap.bytes, half.heap.bytes * 5 / 2 + kMemoryAlways);
        EXPECT_LE(full.heap.allocations, half.heap.allocations * 5 / 2 + 1000);
    }
}

kit::HeapUse BombTest::detonateOnce(const std::string& name, std::size_t size, const Bomb& bomb)
{
    const Measured measured = measure(size, bomb, kSmallStackKib);
    print(name, measured);
    if (kit::heapIsWatched()) {
        expectBoundedMemory(measured);
    }
    return measured.heap;
}

std::string repeated(const std::string& text, std::size_t times)
{
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

} // namespace hostile
