#pragma once

#include "camera/services/ServicesProcess.h"
#include "integration/camera_services/ServicesClient.h"
#include "kit/LogLines.h"
#include "kit/PrivateBus.h"
#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace services_test {

/// The services on a bus of the test's own, and a client of theirs.
class ServicesFixture : public testing::Test {
protected:
    void SetUp() override
    {
        options.bus = bus.address();
        options.state = folder.path();
        start();
        ASSERT_TRUE(client.waitForSession(1)) << client.connection.reason();
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

    LogLines log;
    PrivateBus bus;
    TemporaryFolder folder;
    camera::services::ServicesOptions options;
    ServicesClient client{bus.address()};
    std::unique_ptr<camera::services::ServicesProcess> process;
};

} // namespace services_test
