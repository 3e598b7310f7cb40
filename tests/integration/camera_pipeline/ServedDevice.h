#pragma once

#include "camera/pipeline/PipelineService.h"
#include "camera/serviceapi/ServiceApi.h"
#include "integration/camera_pipeline/BusClient.h"
#include "integration/camera_pipeline/PositioningDevice.h"
#include "kit/PrivateBus.h"

#include <memory>
#include <string>
#include <vector>

namespace pipeline_test {

using Texts = std::vector<std::string>;

/// Name, preset, rules, modules, calls, exceptions, frames, mean and longest time, histogram.
using EngineRow = sdbus::Struct<std::string, std::string, Texts, Texts, std::uint64_t, std::uint64_t, std::uint64_t,
                                double, double, std::vector<std::uint64_t>>;

/// One component as a client sends it.
inline std::string component(const std::string& element, const std::string& name, const std::string& type)
{
    return "<" + element + " Name=\"" + name + "\" Type=\"" + type + "\"><tt:Parameters/></" + element + ">";
}
inline std::string rule(const std::string& name, const std::string& type = "tt:Good")
{
    return component("tt:Rule", name, type);
}
inline std::string module(const std::string& name, const std::string& type = "tt:Good")
{
    return component("tt:AnalyticsModule", name, type);
}

/// A PTZ camera over the real module, served on a bus of the test's own, and a client of it.
class ServedDevice : public PositioningDevice {
protected:
    void TearDown() override
    {
        if (device) {
            device->shutdown();
        }
        pipelineService.reset();
        PositioningDevice::TearDown();
    }

    void serve()
    {
        start();
        pipelineService =
            std::make_unique<camera::pipeline::PipelineService>(bus.address(), *device, report(), folder.path());
        ASSERT_TRUE(client.waitForSession(1)) << client.connection.reason();
        ASSERT_TRUE(waitUntilServed());
    }

    camera::pipeline::PipelineObject::Report report()
    {
        return {[this] { return status; }, [] { return 2.5; }};
    }

    bool waitUntilServed()
    {
        return eventually([this] {
            return client.isServed(service::kOnvifAnalyticService) && client.isServed(service::kAnalytics) &&
                   client.isServed(service::kPositioning) && client.isServed(service::kPipeline);
        });
    }

    void restartBus()
    {
        const auto served = pipelineService->sessions();
        const auto asked = client.connection.sessions();
        bus.kill();
        bus.start();
        ASSERT_TRUE(client.waitForSession(asked + 1)) << client.connection.reason();
        ASSERT_TRUE(eventually([&] { return pipelineService->sessions() > served && pipelineService->connected(); }));
    }

    template <class Out>
    Out analytics(const std::string& method)
    {
        return client.one<Out>(service::kOnvifAnalyticService, method);
    }

    using Outcome = std::tuple<std::int32_t, std::uint32_t>;
    Outcome change(const std::string& method, const Texts& items)
    {
        return client.ask<std::int32_t, std::uint32_t>(service::kOnvifAnalyticService, method, items);
    }

    using Acceptance = std::tuple<std::int32_t, std::uint8_t>;
    Acceptance configure(const std::string& xml)
    {
        return client.ask<std::int32_t, std::uint8_t>(service::kOnvifAnalyticService, "setConfiguration", xml);
    }

    kit::PrivateBus bus;
    BusClient client{bus.address()};
    camera::pipeline::PipelineStatus status;
    std::unique_ptr<camera::pipeline::PipelineService> pipelineService;
};

} // namespace pipeline_test
