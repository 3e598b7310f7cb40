#pragma once

#include <string>

namespace camera::pipeline {

// What the pipeline process says to the supervisor that started it, over the bus at that address. Where there is no
// supervisor nothing happens. A call returns when the word has arrived, or after a second.

/// This start has taken the configurations, places, tour and preset of the command line: a restart has them stored.
void tellBegun(const std::string& address);

/// The run is over, by itself: without this word the end of the process counts as a crash.
void tellOutcome(const std::string& address, int exitCode);

} // namespace camera::pipeline
