// The pipeline process is killed at random moments while configurations are written: none that was acknowledged is
// lost, and none is torn.
#include "FaultTest.h"

#include "camera/store/SettingsStore.h"

#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <random>
#include <regex>
#include <set>
#include <thread>

namespace camera::fault_tests {
namespace {

// FAULT_KILLS asks for more; FAULT_KILLS_SEED repeats a run.
unsigned long fromEnvironment(const char* name, unsigned long otherwise)
{
    const char* const given = std::getenv(name);
    return given == nullptr ? otherwise : std::strtoul(given, nullptr, 10);
}

constexpr unsigned long kKillsUsually = 15;
constexpr int kRulesEach = 20;

// Large enough to be written in several pieces; every piece of it tells its number.
std::string configuration(int number)
{
    const std::string text = std::to_string(number);
    std::string xml = system_tests::simpleConfiguration("Rule0of" + text);
    const std::size_t begin = xml.find("<tt:Rule ");
    const std::size_t end = xml.find("</tt:Rule>") + std::string("</tt:Rule>").size();
    const std::string rule = xml.substr(begin, end - begin);
    std::string more;
    for (int i = 1; i < kRulesEach; ++i) {
        more += std::regex_replace(rule, std::regex("Rule0of"), "Rule" + std::to_string(i) + "of");
    }
    xml.insert(end, more);
    return xml;
}

class KilledPipelineTest : public FaultTest {
protected:
    void startTiny()
    {
        pipeline.emplace(Words{PIPELINE_PROGRAM, "scene:size=64x64,fps=10,frames=0,objects=0", "--no-factory", "--bus",
                               bus.address(), "--state", path("state")},
                         kit::bothOutputs(path("pipeline.log")));
    }

    bool serves()
    {
        return eventually([this] { return client.isServed(service::kOnvifAnalyticService) || !pipeline->runs(); }) &&
               pipeline->runs();
    }

    // The number of the configuration that is there; 0: none, -1: a mixture or a piece of one.
    int whatIsThere()
    {
        const auto [rules] = client.ask<std::vector<std::string>>(service::kOnvifAnalyticService, "getCurrentRules");
        static const std::regex name("Name=\"Rule(\\d+)of(\\d+)\"");
        std::set<std::string> parts;
        std::set<int> numbers;
        for (const std::string& rule : rules) {
            std::smatch match;
            if (!std::regex_search(rule, match, name)) {
                return -1;
            }
            parts.insert(match[1]);
            numbers.insert(std::stoi(match[2]));
        }
        if (rules.empty()) {
            return 0;
        }
        return numbers.size() == 1 && parts.size() == kRulesEach && rules.size() == kRulesEach ? *numbers.begin() : -1;
    }

    // Sends configurations one after another until the process is gone.
    void writeUntilItDies()
    {
        try {
            for (;;) {
                ++sent;
                const auto [result, failed] = client.ask<std::int32_t, std::uint8_t>(
                    service::kOnvifAnalyticService, "setConfiguration", configuration(sent));
                ASSERT_EQ(0, result);
                ASSERT_EQ(0, failed);
                acknowledged = sent;
                ++acknowledgements;
            }
        } catch (const sdbus::Error&) {
            return; // killed under the request; whether it was taken is open
        }
    }

    std::string problems() const
    {
        store::SettingsStore store(path("state"));
        std::string found;
        for (const std::string& notice : store.notices()) {
            found += notice + "\n";
        }
        for (const std::string& key : store.keys()) {
            for (const auto& version : store.history(key)) {
                found += version.good ? "" : key + " " + std::to_string(version.sequence) + " is damaged\n";
            }
        }
        return found;
    }

    std::atomic<int> acknowledgements{0};
    int sent = 0;
    int acknowledged = 0;
};

// A thread that ends a process at a moment of its own choice, whatever the test does meanwhile.
class Killer {
public:
    Killer(pid_t process, std::chrono::microseconds after)
        : _thread([process, after, this] {
              std::unique_lock<std::mutex> lock(_mutex);
              _wake.wait_for(lock, after, [this] { return _called; });
              ::kill(process, SIGKILL);
          })
    {
    }
    ~Killer()
    {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _called = true;
        }
        _wake.notify_all();
        _thread.join();
    }
    Killer(const Killer&) = delete;
    Killer& operator=(const Killer&) = delete;

private:
    std::mutex _mutex;
    std::condition_variable _wake;
    bool _called = false;
    std::thread _thread;
};

TEST_F(KilledPipelineTest, keepsEveryAcknowledgedConfigurationWhole)
{
    const unsigned long kills = fromEnvironment("FAULT_KILLS", kKillsUsually);
    const unsigned long start = fromEnvironment("FAULT_KILLS_SEED", std::random_device()());
    std::cout << "FAULT_KILLS_SEED=" << start << std::endl;
    std::mt19937_64 random(start);
    std::uniform_int_distribution<int> whileWriting(0, 100000);
    std::uniform_int_distribution<int> whileStarting(0, 120000);
    unsigned long duringStart = 0;
    for (unsigned long kill = 0; kill < kills; ++kill) {
        startTiny();
        if (kill % 5 == 4) { // the store is being opened
            ++duringStart;
            const Killer killer(pipeline->id(), std::chrono::microseconds(whileStarting(random)));
            ASSERT_TRUE(eventually([this] { return !pipeline->runs(); }));
            continue;
        }
        ASSERT_TRUE(serves()) << log();
        const int there = whatIsThere();
        ASSERT_TRUE(there == acknowledged || there == sent)
            << there << " is there; acknowledged " << acknowledged << ", sent " << sent << " at kill " << kill;
        acknowledged = there; // seen, so it must not go again
        const Killer killer(pipeline->id(), std::chrono::microseconds(whileWriting(random)));
        writeUntilItDies();
        ASSERT_TRUE(eventually([this] { return !pipeline->runs(); }));
    }
    startTiny();
    ASSERT_TRUE(serves()) << log();
    const int there = whatIsThere();
    EXPECT_TRUE(there == acknowledged || there == sent) << there << " " << acknowledged << " " << sent;
    EXPECT_EQ(0, pipeline->end()) << log();
    EXPECT_EQ("", problems());
    EXPECT_THAT(log(), testing::Not(testing::HasSubstr("error settings: ")));
    EXPECT_GT(acknowledgements, static_cast<int>(kills / 2));
    std::cout << "kills=" << kills << " during_start=" << duringStart << " sent=" << sent
              << " acknowledged=" << acknowledgements << std::endl;
}

} // namespace
} // namespace camera::fault_tests
