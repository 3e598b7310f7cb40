#pragma once

// libyuv's header, kept out of the way of this tree's warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wpedantic"
#include <libyuv.h>
#pragma GCC diagnostic pop
