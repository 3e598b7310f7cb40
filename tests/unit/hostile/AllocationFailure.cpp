#include "AllocationFailure.h"

#include "Answers.h"
#include "Xml.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace hostile {

using korva::meridan::OnvifTarget;

namespace {

constexpr std::size_t kMostAllocations = 10000;
constexpr std::chrono::seconds kDeadline(60);

void putIntoStore(const std::map<std::string, std::string>& settings)
{
    json::Array document;
    for (const auto& [key, config] : settings) {
        json::Object setting;
        setting.Append("key", key);
        setting.Append("config", config);
        document.Append(std::move(setting));
    }
    kit::platform().settings.analytics() = json::Writer::Write(document);
}

} // namespace

void AllocationFailureTest::SetUp()
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "the sanitizer's allocator refuses nothing";
    }
}

void AllocationFailureTest::forEveryAllocation(const std::string& name, const Run& run)
{
    for (const kit::RefusedMemory::How how : {kit::RefusedMemory::How::kOnce, kit::RefusedMemory::How::kRest}) {
        _how = how;
        const char* const extent = how == kit::RefusedMemory::How::kOnce ? "one" : "rest";
        _first = 0;
        do {
            ++_first;
            ASSERT_LT(_first, kMostAllocations);
            SCOPED_TRACE(name + ": no memory for " + extent + " from allocation " + std::to_string(_first));
            kit::resetQuietly();
            putIntoStore(twoSettings());
            run();
            if (HasFailure()) {
                return;
            }
        } while (kit::memoryWasRefused());
        std::printf("no-memory: %s fails=%s points=%zu\n", name.c_str(), extent, _first - 1);
    }
}

void AllocationFailureTest::expectLocksReleased(OnvifTarget& target)
{
    std::promise<std::size_t> answered;
    std::future<std::size_t> rules = answered.get_future();
    std::thread other([&] { answered.set_value(ask(target, &OnvifTarget::getCurrentRules).size()); });
    if (rules.wait_for(kDeadline) != std::future_status::ready) {
        std::fputs("a lock was not released\n", stderr);
        std::_Exit(1);
    }
    other.join();
    EXPECT_EQ(rules.get(), ask(target, &OnvifTarget::getCurrentRules).size());
}

AllocationFailureTest::Settings AllocationFailureTest::stored()
{
    Settings settings;
    try {
        const json::Array document = json::Reader::Read(kit::platform().settings.analytics());
        for (const json::UnknownElement& element : document) {
            const json::Object& setting = element;
            const std::string_view key = setting["key"];
            const std::string_view config = setting["config"];
            settings[std::string(key)] = std::string(config);
        }
    } catch (const json::Exception& error) {
        return {{"(torn)", error.what()}};
    }
    return settings;
}

std::string AllocationFailureTest::configurationOf(const std::string& preset)
{
    return documentOf(component("First" + preset, item("PtzPreset", preset) + item("Active", "true")) +
                      component("Second" + preset, item("PtzPreset", preset)));
}

AllocationFailureTest::Settings AllocationFailureTest::twoSettings()
{
    return {{"PlainP1", configurationOf("P1")}, {"PlainP2", configurationOf("P2")}};
}

} // namespace hostile
