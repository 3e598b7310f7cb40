#pragma once

#include "camera/cli/Command.h"

#include <string>
#include <vector>

namespace camera::cli {

/// One word of what a command takes.
struct CommandWord {
    std::string text; ///< as in the help, without what the flags say
    bool optional = false;
    bool repeated = false;
    std::vector<std::string> choices; ///< empty: any text
};

/// What a command takes, word by word.
std::vector<CommandWord> shapeOf(const Command& command);

/// @throws base::UsageError for a word that is missing, too much, none of the choices, or no UTF-8.
void checkWords(const Command& command, const std::vector<std::string>& words);

} // namespace camera::cli
