#pragma once

#include "kit/FakeEngine.h"
#include "kit/Heap.h"

#include <gmock/gmock.h>

#include <iostream>
#include <string>
#include <vector>

namespace kit {

/// Puts host-seam back to its defaults with a journal that records.
void resetPlatform();

/**
 * A test that begins with a fresh platform and shows the whole journal when it fails.
 *
 * What events carry beside their meaning begins with another variant in every test: by the test's name, so that a test
 * does the same whenever it runs.
 */
class PlatformTest : public ::testing::Test {
protected:
    PlatformTest();

    void TearDown() override
    {
        expectFormatsWithoutNames();
        if (HasFailure()) {
            std::cerr << "journal:\n" << journal().dump();
        }
    }

    using Lines = std::vector<std::string>;

    /// The function's name is an argument of a log line and never a part of its format, by which a device sorts lines.
    static void expectFormatsWithoutNames();

    /// The log lines since the last call, without calls; the journal is emptied.
    static Lines takeLogs() { return taken(journal().logs()); }
    static Lines takeCalls() { return taken(journal().calls()); }
    static Lines takeEngineCalls() { return taken(journal().engineCalls()); }
    static Lines takeAll() { return taken(journal().all()); }

private:
    static Lines taken(Lines lines)
    {
        expectFormatsWithoutNames();
        journal().clear();
        return lines;
    }
};

} // namespace kit
