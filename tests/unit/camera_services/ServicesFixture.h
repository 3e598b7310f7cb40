#pragma once

#include "camera/base/Log.h"
#include "camera/services/ServicesProcess.h"
#include "support/TestBus.h"
#include "unit/camera_services/ServicesClient.h"
#include "unit/camera_store/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace services_test {

/// The services on a bus of the test's own, and a client of theirs.
class ServicesFixture : public testing::Test {
protected:
    void SetUp() override
    {
        camera::base::Log::instance().setWriter([this](const std::string& line) {
            const std::lock_guard<std::mutex> lock(_logMutex);
            _log.push_back(line);
        });
        options.bus = bus.address();
        options.state = folder.path();
        start();
        ASSERT_TRUE(client.waitForSession(1)) << client.connection.reason();
    }
    void TearDown() override
    {
        process.reset();
        camera::base::Log::instance().setWriter({});
    }

    void start()
    {
        process = std::make_unique<camera::services::ServicesProcess>(options);
        ASSERT_TRUE(process->connection().waitUntilConnected(soon())) << process->connection().reason();
    }

    void restart()
    {
        process.reset();
        start();
    }

    void restartBus()
    {
        const auto served = process->connection().sessions();
        const auto asked = client.connection.sessions();
        bus.kill();
        bus.start();
        ASSERT_TRUE(client.waitForSession(asked + 1)) << client.connection.reason();
        ASSERT_TRUE(eventually([&] {
            return process->connection().sessions() > served && process->connection().connected();
        })) << process->connection().reason();
    }

    /// Log lines that hold a text.
    std::size_t logged(const std::string& text)
    {
        const std::lock_guard<std::mutex> lock(_logMutex);
        std::size_t count = 0;
        for (const std::string& line : _log) {
            count += line.find(text) != std::string::npos ? 1U : 0U;
        }
        return count;
    }

    test_support::TestBus bus;
    TemporaryFolder folder;
    camera::services::ServicesOptions options;
    ServicesClient client{bus.address()};
    std::unique_ptr<camera::services::ServicesProcess> process;

private:
    std::mutex _logMutex;
    std::vector<std::string> _log;
};

} // namespace services_test
