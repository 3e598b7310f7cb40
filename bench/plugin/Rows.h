#pragma once

#include "bench/Pairs.h"

namespace bench {

/// One frame through the module.
void compareFramePath(const Pairs& pairs);

/// One accepted configuration through the served target.
void compareIntake(const Pairs& pairs);

/// Construction and destruction of the plug-in.
void compareStartUp(const Pairs& pairs);

} // namespace bench
