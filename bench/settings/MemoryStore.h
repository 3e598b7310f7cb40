#pragma once

#include <string>

/// The settings store of this program: one document, which a write replaces.
std::string& storedDocument();
