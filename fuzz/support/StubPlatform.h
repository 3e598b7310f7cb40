#pragma once

#include <string>

namespace fuzz {

/**
 * What stands around the plug-in while it is fuzzed: a settings store in memory, a positioning unit that is there
 * or not, device services that answer, and logging that formats every line and drops it.
 */
struct StubPlatform {
    std::string defaultDocument;
    std::string document; ///< what the store holds; empty while nothing was stored
    unsigned long writes = 0;
    bool nextWriteFails = false;
    bool canMove = true;
    bool hasServices = true;
};

StubPlatform& platform();

/// A store without a document, a camera that can move, services that answer.
void resetPlatform();

} // namespace fuzz
