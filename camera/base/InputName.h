#pragma once

#include <string>

namespace camera::base {

// What the name of an input says.

/// The standard input: "-" or "pipe:0".
bool isStandardInput(const std::string& input);

/// Whether it is "file:PATH" or "file:///PATH"; PATH may then be any text.
bool isFileUrl(const std::string& input);

/// The path of a file or device: what follows "file:", else the name itself.
std::string pathOfInput(const std::string& input);

/// Whether what was read of it is gone: the standard input, or a FIFO.
bool isReadOnce(const std::string& input);

} // namespace camera::base
