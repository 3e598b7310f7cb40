// What the host promises to a plug-in, each promise over the real module.
#include "integration/camera_pipeline/DeviceFixture.h"
#include "integration/camera_pipeline/XmlWatch.h"

#include "camera/base/Current.h"
#include "camera/framework/PositioningAdapter.h"
#include "camera/ptz/PositioningUnit.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/ServiceApi.h"

#include "ravel/logging.h"

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using camera::base::Event;
using camera::pipeline::PtzOption;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class HostPromisesTest : public DeviceFixture {
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        XmlWatch::instance() = {};
        options.ptz = PtzOption{{{"Gate", 10000, 0, 100}, {"Yard", 20000, 0, 100}}, ""};
    }
    void TearDown() override
    {
        XmlWatch::instance().onCleanup = nullptr;
        DeviceFixture::TearDown();
    }

    static std::size_t positioningCallbacks()
    {
        return camera::base::Current<camera::framework::PositioningAdapter>::get()->registrations();
    }

    std::thread::id controlThread()
    {
        return device->control().ask([] { return std::this_thread::get_id(); });
    }

    const camera::ptz::Tour round{"Round", {{"Gate", std::chrono::seconds(1), 100}}};
};

TEST_F(HostPromisesTest, everyControlCallArrivesOneAtATimeOnTheThreadThatBuildsAndDestroysThePlugin)
{
    hosted.names = {"Motion", "Simple"};
    services->serve("rotate");
    start();
    ASSERT_TRUE(device->positioning().createTour(round));
    const std::thread::id control = controlThread();
    std::vector<std::thread> clients;
    for (int client = 0; client < 3; ++client) {
        clients.emplace_back([&] {
            for (int call = 0; call < 30; ++call) {
                device->target().eventTopics();
                device->target().setConfiguration(documentFor("Motion", "Gate"));
            }
        });
    }
    clients.emplace_back([&] {
        for (int event = 0; event < 60; ++event) {
            goToPreset(event % 2 == 0 ? "Gate" : "Yard");
            device->positioning().advance(std::chrono::seconds(event % 4));
            device->positioning().savePresetHere("Here");
            device->positioning().startTour("Round", {"anna", 100});
            device->positioning().stopTour({"anna", 100});
        }
    });
    clients.emplace_back([&] {
        for (int event = 0; event < 60; ++event) {
            services->moveFilter(event % 2 == 0);
            services->blank(event % 2 == 0);
            services->turn(event % 2 == 0 ? 180 : 0);
        }
    });
    for (int frame = 0; frame < 100; ++frame) {
        EXPECT_TRUE(device->deliver(anyFrame()));
    }
    for (auto& client : clients) {
        client.join();
    }
    device->drain();
    device.reset();
    EXPECT_EQ(hosted.count("factory"), 1u);
    EXPECT_EQ(hosted.count("Motion destroyed"), 1u);
    EXPECT_EQ(hosted.count("Motion orientation 180"), 30u);
    EXPECT_THAT(hosted.controlThreads(), ElementsAre(control));
    EXPECT_FALSE(hosted.overlapped());
    EXPECT_NE(control, std::this_thread::get_id());
}

TEST_F(HostPromisesTest, serviceCallsDuringConstructionNeedNoControlThread)
{
    services->serve("rotate");
    services->turn(180);
    start(); // would never return if the query of the angle waited for the thread that makes it
    EXPECT_THAT(hosted.journal(), Contains("Motion orientation 180"));
    EXPECT_THAT(hosted.journal(), Contains("Motion blanking off 128,128,128"));
}

TEST_F(HostPromisesTest, positioningCallbacksArePostedAlsoWhenAnEngineMovesTheCameraFromInsideACall)
{
    options.ptz->description.holdFor = std::chrono::milliseconds(0); // or the engine would be refused
    start();
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "Gate")));
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "Yard")));
    std::vector<std::string> trace;
    hosted.onControl = [&](const std::string& operation) {
        trace.push_back(operation);
        if (operation == "Motion activates " + documentFor("Motion", "Gate")) {
            // The plug-in holds the lock of its rule sets now.
            hosted.ptz->GoToPreset("Yard", false);
            trace.emplace_back("asked to go on");
        }
    };
    goToPreset("Gate");
    for (int way = 0; way < 2; ++way) {
        device->positioning().advance(std::chrono::seconds(60));
        device->drain();
    }
    // Suspended by the operator's priority and by the way to a preset; an engine's priority suspends nothing.
    EXPECT_THAT(trace, ElementsAre("Motion clearAllRules", "Motion clearAllRules", "Motion clearAllRules",
                                   "Motion activates " + documentFor("Motion", "Gate"), "asked to go on",
                                   "Motion clearAllRules", "Motion clearAllRules",
                                   "Motion activates " + documentFor("Motion", "Yard")));
    EXPECT_EQ(device->positioning().activePreset(), "Yard");
    device.reset(); // while what the engine's script uses is still there
}

TEST_F(HostPromisesTest, nothingReachesAPluginThatIsBeingDestroyedOrGone)
{
    services->serve("rotate");
    start();
    ASSERT_TRUE(device->positioning().createTour(round));
    bool deliveredLate = true;
    std::string late;
    std::thread lateClient;
    std::size_t leftPositioning = 0;
    std::size_t leftRotation = 0;
    XmlWatch::instance().onCleanup = [&] {
        deliveredLate = device->deliver(anyFrame()).analysed;
        lateClient = std::thread([&] {
            try {
                device->target().eventTopics();
                late = "answered";
            } catch (const std::runtime_error& error) {
                late = error.what();
            }
        });
        goToPreset("Gate");
        device->positioning().startTour("Round", {"anna", 100});
        services->moveFilter(true);
        services->turn(90);
    };
    hosted.onControl = [&](const std::string& operation) {
        if (operation == "Motion destroyed") { // the target is gone already, engines are the last to go
            leftPositioning = positioningCallbacks();
            leftRotation = device->serviceApi().rotation.handlers();
        }
    };
    device->shutdown();
    lateClient.join();

    EXPECT_FALSE(deliveredLate);
    EXPECT_THAT(late, testing::AnyOf("nobody serves onvif_analytic_service", "the device is shutting down"));
    EXPECT_EQ(leftPositioning, 1u) << "the plug-in leaves its tour callback, or this test shows nothing";
    EXPECT_EQ(leftRotation, 1u) << "the plug-in leaves its rotation handler, or this test shows nothing";
    EXPECT_EQ(positioningCallbacks(), 0u);
    EXPECT_EQ(device->serviceApi().rotation.handlers(), 0u);
    EXPECT_EQ(hosted.count("Motion orientation 90"), 0u);
    EXPECT_EQ(hosted.journal().back(), "Motion destroyed");

    device->positioning().startTour("Round", {"anna", 100});
    services->turn(90);
    EXPECT_FALSE(device->deliver(anyFrame()));
    EXPECT_THROW(device->target().eventTopics(), std::runtime_error);
    EXPECT_EQ(hosted.journal().back(), "Motion destroyed");
}

TEST_F(HostPromisesTest, shutdownWaitsForTheFrameThatIsInsideThePlugin)
{
    std::promise<void> entered;
    std::promise<void> gate;
    std::atomic<bool> frameDone{false};
    hosted.onFrame = [&](const std::string&, const Hosted::Frame&, MetadataBuffers&) {
        entered.set_value();
        gate.get_future().wait();
        frameDone = true;
        return true;
    };
    start();
    bool doneAtDestruction = false;
    XmlWatch::instance().onCleanup = [&] { doneAtDestruction = frameDone; };
    std::thread frames([&] { device->deliver(anyFrame()); });
    entered.get_future().wait();
    std::thread opener([&] { gate.set_value(); });
    device->shutdown();
    frames.join();
    opener.join();
    EXPECT_TRUE(doneAtDestruction);
}

TEST_F(HostPromisesTest, eventsRaisedThroughAWholeDestructionDoNothingOnceNobodyServesTheTarget)
{
    // An engine as the promises want it: clearAllRules returns when no event of it runs any more.
    std::atomic<bool> destroying{false};
    std::atomic<bool> raising{true};
    std::thread engine;
    hosted.onControl = [&](const std::string& operation) {
        if (operation == "Motion clearAllRules" && destroying) {
            raising = false;
            engine.join();
        }
    };
    start();
    std::atomic<std::uint64_t> heard{0};
    const auto subscription = device->onEvent([&](const Event&) { ++heard; });
    engine = std::thread([&] {
        while (raising) {
            hosted.events.load()->OnEvent("topic", "source", "data");
        }
    });
    EXPECT_TRUE(kit::eventually([&] { return heard > 0; }));
    // From here on the runner stops serving, and only then the rules are cleared.
    XmlWatch::instance().onCleanup = [&] { destroying = true; };
    device->shutdown();
    EXPECT_FALSE(raising) << "the engine raised events to the end, or this test shows nothing";
    EXPECT_EQ(heard + device->statistics().eventsDropped, device->statistics().events);
}

TEST_F(HostPromisesTest, linesOnAClosedHandleAreDropped)
{
    camera::base::Log::instance().setLevel(camera::base::LogLevel::debug);
    start();
    device.reset(); // the plug-in closes its handle first and logs while its parts end
    EXPECT_THAT(lines(), Contains(HasSubstr("DETECTION: DetectionPlugin::~DetectionPlugin")));
    const auto last = lines().back();
    EXPECT_THAT(last, HasSubstr("DETECTION: DetectionPlugin::~DetectionPlugin"));
    camera::base::Log::instance().setLevel(camera::base::LogLevel::error);
}

TEST_F(HostPromisesTest, anEventThatWaitsWhileThePluginCannotBeBuiltReachesNobody)
{
    camera::base::Log::instance().setLevel(camera::base::LogLevel::info);
    hosted.onControl = [&](const std::string& operation) {
        if (operation == "Motion orientation 0") { // its handlers are registered by now
            services->moveFilter(true);
            throw std::runtime_error("no orientation");
        }
    };
    EXPECT_THAT(refusal(), HasSubstr("could not be built: no orientation"));
    EXPECT_EQ(hosted.count("Motion orientation 0"), 1U);
    EXPECT_THAT(lines(), Not(Contains(HasSubstr("day night change call back"))));
    camera::base::Log::instance().setLevel(camera::base::LogLevel::error);
}

TEST_F(HostPromisesTest, aFrameRunsBesideAnyOtherOperation)
{
    std::promise<void> frameEntered;
    std::promise<void> frameGate;
    hosted.onFrame = [&](const std::string&, const Hosted::Frame& frame, MetadataBuffers&) {
        if (frame.timestamp[0] == 1) {
            frameEntered.set_value();
            frameGate.get_future().wait();
        }
        return true;
    };
    start();
    std::thread frames([&] { EXPECT_TRUE(device->deliver(anyFrame(1))); });
    frameEntered.get_future().wait();
    EXPECT_TRUE(device->target().setConfiguration(documentFor("Motion", "Gate"))) << "while a frame is analysed";
    frameGate.set_value();
    frames.join();

    std::promise<void> callEntered;
    std::promise<void> callGate;
    std::atomic<bool> once{false};
    hosted.onControl = [&](const std::string& operation) {
        if (operation == "Motion getEventTopics" && !once.exchange(true)) {
            callEntered.set_value();
            callGate.get_future().wait();
        }
    };
    std::thread client([&] { device->target().eventTopics(); });
    callEntered.get_future().wait();
    EXPECT_TRUE(device->deliver(anyFrame(2))) << "while an operation is inside the engine";
    callGate.set_value();
    client.join();
    device.reset();
}

TEST_F(HostPromisesTest, everyEngineMayFillTheWholeBufferThatItIsTold)
{
    hosted.names = {"A", "B", "C"};
    options.engineCount = 3;
    options.metadataBytes = 4096;
    hosted.onFrame = [](const std::string& engine, const Hosted::Frame&, MetadataBuffers& outputs) {
        std::fill_n(outputs.drawingBuffer, outputs.drawingBufferSize, static_cast<std::uint8_t>(engine[0]));
        outputs.drawingBufferUsed = outputs.drawingBufferSize;
        std::fill_n(outputs.motionBuffer + outputs.motionBufferUsed, outputs.motionBufferSize,
                    static_cast<std::uint8_t>(engine[0]));
        outputs.motionBufferUsed += outputs.motionBufferSize;
        return true;
    };
    start();
    const auto [analysed, outputs] = device->deliver(anyFrame());
    EXPECT_TRUE(analysed);
    const std::string all = std::string(4096, 'A') + std::string(4096, 'B') + std::string(4096, 'C');
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(outputs.drawing), outputs.drawingBytes), all);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(outputs.motion), outputs.motionBytes), all);
}

using HostPromisesDeathTest = HostPromisesTest;

TEST_F(HostPromisesDeathTest, anEngineThatWritesTooFarEndsTheProcessAtOnce)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    options.metadataBytes = 4096;
    hosted.onFrame = [](const std::string&, const Hosted::Frame&, MetadataBuffers& outputs) {
        outputs.drawingBuffer[outputs.drawingBufferSize] = 1;
        return true;
    };
    start();
    EXPECT_DEATH(device->deliver(anyFrame()), "");
}

TEST_F(HostPromisesTest, theXmlLibraryIsCleanedUpOnceOnTheControlThreadAndNobodyUsesItThenOrLater)
{
    start();
    const std::thread::id control = controlThread();
    device->deliver(anyFrame());
    device->target().setConfiguration(documentFor("Motion"));
    std::vector<std::thread::id> cleanedOn;
    int usesBefore = 0;
    XmlWatch::instance().onCleanup = [&] {
        cleanedOn.push_back(std::this_thread::get_id());
        usesBefore = XmlWatch::instance().uses;
    };
    device.reset();
    EXPECT_THAT(cleanedOn, ElementsAre(control));
    EXPECT_EQ(XmlWatch::instance().uses, usesBefore);
    start();
    EXPECT_TRUE(device->deliver(anyFrame())) << "and a second plug-in works";
}

} // namespace
