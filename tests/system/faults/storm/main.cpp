// Several users give a running camera thousands of commands at once; or: how long the plug-in has a frame while the
// device's services are stopped. Starts the processes itself, on a bus of its own.

#include "Visitor.h"
#include "kit/PrivateBus.h"
#include "system/cli/Documents.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

namespace camera::fault_tests {
namespace {

constexpr unsigned long kClients = 4;

struct Arguments {
    std::string programs;         ///< their folder
    unsigned long commands = 300; ///< of all users together
    unsigned long deaths = 0;     ///< of the bus and of the services in turn, while the commands are given
    unsigned long frames = 0;     ///< with the services running, and as many without; 0: no such measurement
    unsigned long start = 1;      ///< of the random numbers
};

/// A PTZ camera's two processes on a bus of their own.
class Camera {
public:
    explicit Camera(const std::string& programs)
    {
        folder.write("simple.xml", system_tests::simpleConfiguration("Anything"));
        startServices(programs);
        pipeline.emplace(Words{programs + "/camera-pipeline",
                               "scene:size=320x180,fps=25,objects=3,enter=15,frames=0,noise=1", "--bus", bus.address(),
                               "--state", folder / "state", "--place", "Preset0=0,0,1", "--place", "Preset1=20,5,2",
                               "--config", folder / "simple.xml"},
                         kit::bothOutputs(folder / "pipeline.log"));
        require([this] { return client.frames() > 0; }, *pipeline, "pipeline.log");
    }

    void startServices(const std::string& programs)
    {
        services.emplace(Words{programs + "/camera-services", "--bus", bus.address(), "--state", folder / "state"},
                         kit::bothOutputs(folder / "services.log"));
        require([this] { return client.isServed(service::kServices); }, *services, "services.log");
    }

    kit::TemporaryFolder folder;
    kit::PrivateBus bus;
    Client client{bus.address()};
    std::optional<kit::ChildProcess> services;
    std::optional<kit::ChildProcess> pipeline;

private:
    void require(const std::function<bool()>& condition, const kit::ChildProcess& process, const char* log) const
    {
        if (!eventually([&] { return condition() || !process.runs(); }) || !process.runs()) {
            throw std::runtime_error("a process does not start: " + kit::contentOf(folder / log));
        }
    }
};

// Each death waits until the camera does well after the one before. Returns how many there were before all users were
// done.
unsigned long letDie(Camera& camera, const Arguments& arguments, const std::atomic<unsigned long>& atWork)
{
    unsigned long death = 0;
    for (; death < arguments.deaths && atWork > 0; ++death) {
        if (death % 2 == 0) {
            camera.bus.kill();
            camera.bus.start();
        } else {
            camera.services->crash();
            camera.startServices(arguments.programs);
        }
        std::uint64_t before = 0;
        eventually([&] { return (before = camera.client.frames()) > 0 || !camera.pipeline->runs(); });
        eventually([&] { return camera.client.frames() > before + 10 || !camera.pipeline->runs(); });
    }
    return death;
}

Tally storm(Camera& camera, const Arguments& arguments, unsigned long& deaths)
{
    std::vector<std::unique_ptr<Visitor>> visitors;
    std::vector<std::thread> threads;
    std::atomic<unsigned long> atWork{kClients};
    for (unsigned long i = 0; i < kClients; ++i) {
        visitors.push_back(std::make_unique<Visitor>(camera.bus.address(), arguments.start + i));
    }
    for (unsigned long i = 0; i < kClients; ++i) {
        const unsigned long share = (arguments.commands + i) / kClients;
        threads.emplace_back([&visitor = *visitors[i], share, &atWork, patient = arguments.deaths > 0] {
            eventually([&] { return visitor.connected(); });
            for (unsigned long command = 0; command < share; ++command) {
                const std::uint64_t failed = visitor.tally().failed;
                visitor.act();
                if (patient && visitor.tally().failed > failed) {
                    eventually([&] { return visitor.connected(); });
                }
            }
            --atWork;
        });
    }
    deaths = letDie(camera, arguments, atWork);
    Tally all;
    for (unsigned long i = 0; i < kClients; ++i) {
        threads[i].join();
        all.add(visitors[i]->tally());
    }
    return all;
}

int runStorm(const Arguments& arguments)
{
    Camera camera(arguments.programs);
    unsigned long deaths = 0;
    const Tally tally = storm(camera, arguments, deaths);
    const std::uint64_t before = camera.client.frames();
    const bool goesOn = eventually([&] { return camera.client.frames() > before + 10 || !camera.pipeline->runs(); }) &&
                        camera.pipeline->runs();
    const Json::Value status = camera.client.status();
    const int pipelineCode = camera.pipeline->end().value_or(-2);
    const int servicesCode = camera.services->end().value_or(-2);
    std::cout << "commands=" << tally.sent << " refused=" << tally.refused << " failed=" << tally.failed
              << " deaths=" << deaths << " frames=" << status["frames"].asUInt64()
              << " frames_failed=" << status["framesFailed"].asUInt64()
              << " control_failures=" << status["controlFailures"].asUInt64() << " pipeline_exit=" << pipelineCode
              << " services_exit=" << servicesCode << std::endl;
    const bool good = goesOn && (tally.failed == 0 || arguments.deaths > 0) && status["framesFailed"].asUInt64() == 0 &&
                      status["controlFailures"].asUInt64() == 0 && pipelineCode == 0 && servicesCode == 0;
    if (!good) {
        std::cerr << tally.firstFailure << "\n"
                  << kit::contentOf(camera.folder / "pipeline.log") << kit::contentOf(camera.folder / "services.log");
    }
    return good ? 0 : 1;
}

// The longest that the plug-in had one of so many frames, milliseconds. Each question is about the time since the one
// before.
double longestOf(Client& client, std::uint64_t frames)
{
    const std::uint64_t begin = client.frames();
    double longest = 0;
    const bool came = eventually([&] {
        longest = std::max(longest, std::get<0>(client.ask<double>(service::kPipeline, "takeLongestFrame")));
        return client.frames() >= begin + frames;
    });
    if (!came) {
        throw std::runtime_error("the frames stopped");
    }
    return longest;
}

int measureStopped(const Arguments& arguments)
{
    Camera camera(arguments.programs);
    longestOf(camera.client, arguments.frames / 4); // engines learn, memory is taken
    const double undisturbed = longestOf(camera.client, arguments.frames);
    const auto lost = [&] { return camera.client.status()["documentsDropped"].asUInt64(); };
    const std::uint64_t lostBefore = lost();
    camera.services->stop();
    const double stopped = longestOf(camera.client, arguments.frames);
    const std::uint64_t documentsLost = lost() - lostBefore;
    std::cout << "frames=" << arguments.frames << " longest_undisturbed_ms=" << undisturbed
              << " longest_stopped_ms=" << stopped << " ratio=" << stopped / undisturbed
              << " documents_lost=" << documentsLost << std::endl;
    return documentsLost > 0 ? 0 : 1;
}

Arguments parse(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    Arguments arguments;
    for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
        if (words[i] == "--programs") {
            arguments.programs = words[i + 1];
        } else if (words[i] == "--commands") {
            arguments.commands = std::strtoul(words[i + 1].c_str(), nullptr, 10);
        } else if (words[i] == "--deaths") {
            arguments.deaths = std::strtoul(words[i + 1].c_str(), nullptr, 10);
        } else if (words[i] == "--stopped-services") {
            arguments.frames = std::strtoul(words[i + 1].c_str(), nullptr, 10);
        } else if (words[i] == "--random") {
            arguments.start = std::strtoul(words[i + 1].c_str(), nullptr, 10);
        } else {
            throw std::runtime_error("unknown argument " + words[i]);
        }
    }
    if (arguments.programs.empty() || words.size() % 2 != 0) {
        throw std::runtime_error(
            "usage: storm --programs DIR [--commands N] [--deaths N] [--random N] [--stopped-services FRAMES]");
    }
    return arguments;
}

} // namespace
} // namespace camera::fault_tests

int main(int argc, char** argv)
{
    try {
        const auto arguments = camera::fault_tests::parse(argc, argv);
        return arguments.frames != 0 ? camera::fault_tests::measureStopped(arguments)
                                     : camera::fault_tests::runStorm(arguments);
    } catch (const std::exception& error) {
        std::cerr << "storm: " << error.what() << std::endl;
        return 2;
    }
}
