#pragma once

#include <string>
#include <vector>

namespace korva::meridan {

// How lists of strings cross the service boundary: arrays of NUL-terminated strings, ended by a null pointer.

/// The entries up to the null; a null list is empty. The list stays the caller's.
std::vector<std::string> fromServiceArray(const char* const* list);

/// Copies in malloc'ed memory, entries and array the receiver's to free. Null when there is not the memory
/// for all of it.
char** toServiceArray(const std::vector<std::string>& strings);

} // namespace korva::meridan
