#pragma once

#include "target/OnvifTarget.h"

#include <string>
#include <vector>

namespace hostile {

/// A target's operations as a client makes them; what is handed out is taken and freed. Nothing here asserts, so
/// that it may run on a small stack.

/// @return what setConfiguration answered and its failed flag, as "result/failed".
std::string setConfiguration(korva::meridan::OnvifTarget& target, const std::string& text);

using ListOperation = int (korva::meridan::OnvifTarget::*)(char**, unsigned int*);

/// @return the status word.
unsigned int callWithList(korva::meridan::OnvifTarget& target, ListOperation operation,
                          const std::vector<std::string>& texts);

using ListQuery = int (korva::meridan::OnvifTarget::*)(char***);

/// The entries; one entry "(no list)" when the null pointer came.
std::vector<std::string> ask(korva::meridan::OnvifTarget& target, ListQuery query);

/// "(no text)" when the null pointer came.
std::string currentConfiguration(korva::meridan::OnvifTarget& target);
std::string presetConfiguration(korva::meridan::OnvifTarget& target, const std::string& preset);

} // namespace hostile
