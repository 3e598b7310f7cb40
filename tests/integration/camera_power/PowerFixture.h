#pragma once

#include "camera/pipeline/Device.h"
#include "integration/camera_power/DiskCall.h"
#include "integration/camera_power/StubEngines.h"
#include "kit/LogLines.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The key under which the plug-in keeps its document.
inline const std::string kSettingsKey = "OnvifAnalytics";

/// What the store yields before anything was stored.
inline const std::string kNoSettings = "[]";

/// A device over the real module and stub engines; its state folder is held as a set of files.
class PowerFixture : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// A device on the state folder as it is, or after a shutdown.
    void start();
    void stop() { device.reset(); }

    /// The sentence with which a start is refused; nothing when it is not.
    std::optional<std::string> refusal();

    std::string storedDocument() const;
    std::vector<std::string> notices() const;
    bool deliversAFrame() const;

    /// A configuration of this text goes in by the target; what the target answered.
    bool configure(const std::string& text) const;

    /// The plug-in filled its rule sets with what the stored document holds, and nothing else.
    static testing::AssertionResult startedFrom(const std::string& document);

    /// One more document goes in and is stored.
    testing::AssertionResult takesAnotherDocument() const;

    /// The number in an environment variable, for a longer run than the usual one.
    static std::size_t wanted(const char* variable, std::size_t usual);

    const kit::LogLines log;
    kit::TemporaryFolder folder;
    const std::filesystem::path state = folder / "state";
    camera::pipeline::DeviceOptions options;
    std::unique_ptr<camera::pipeline::Device> device;
};

/// A configuration document as the plug-in stores it.
std::string configurationOf(const std::string& engine, const std::string& preset, const std::string& rule,
                            const std::string& text);

/// The files that were set aside.
std::size_t filesSetAside(const Files& files);
