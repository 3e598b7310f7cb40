#include "camera/pipeline/SupervisorWords.h"

#include "camera/base/Log.h"
#include "camera/bus/Connection.h"
#include "camera/bus/supervisor_client.h"

#include <chrono>
#include <functional>
#include <unistd.h>

namespace camera::pipeline {

namespace {

constexpr std::chrono::milliseconds kPatience(1000);

// By a connection for this one call: it comes also when nothing else of the process has been built, or all is gone.
void tell(const std::string& address, const std::function<void(bus::SupervisorClient&)>& word)
{
    bus::Connection connection(address, "the pipeline's word to its supervisor");
    const auto client = connection.add<bus::SupervisorClient>([](const std::shared_ptr<bus::Session>& session) {
        return std::make_shared<bus::SupervisorClient>(session->connection(), kPatience);
    });
    connection.start();
    connection.waitUntilConnected(std::chrono::steady_clock::now() + kPatience);
    const std::shared_ptr<bus::SupervisorClient> supervisor = client->get();
    if (!supervisor) {
        return;
    }
    try {
        word(*supervisor);
    } catch (const sdbus::Error& error) {
        base::Log::instance().write(base::LogLevel::info, "pipeline",
                                    "the supervisor was not told: " + error.getMessage());
    }
}

} // namespace

void tellBegun(const std::string& address)
{
    tell(address, [](bus::SupervisorClient& supervisor) { supervisor.pipelineBegun(); });
}

void tellOutcome(const std::string& address, int exitCode)
{
    tell(address, [exitCode](bus::SupervisorClient& supervisor) {
        supervisor.pipelineEnds(static_cast<std::uint32_t>(::getpid()), exitCode);
    });
}

} // namespace camera::pipeline
