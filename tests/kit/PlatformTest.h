#pragma once

#include "kit/FakeEngine.h"
#include "kit/FakePlatform.h"
#include "kit/Journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace kit {

/// A test that begins with a fresh platform and shows the whole journal when it fails.
class PlatformTest : public ::testing::Test {
protected:
    PlatformTest() { platform().reset(); }

    void TearDown() override
    {
        if (HasFailure()) {
            std::cerr << "journal:\n" << journal().dump();
        }
    }

    using Lines = std::vector<std::string>;

    /// The log lines since the last call, without calls; the journal is emptied.
    static Lines takeLogs() { return taken(journal().logs()); }
    static Lines takeCalls() { return taken(journal().calls()); }
    static Lines takeEngineCalls() { return taken(journal().engineCalls()); }
    static Lines takeAll() { return taken(journal().all()); }

private:
    static Lines taken(Lines lines)
    {
        journal().clear();
        return lines;
    }
};

} // namespace kit
