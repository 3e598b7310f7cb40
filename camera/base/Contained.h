#pragma once

#include <functional>
#include <string>

namespace camera::base {

/// Runs operation. What it throws is logged as an error of component, "<what>: <reason>", and is not thrown on.
/// @return whether it ended without an exception.
bool contained(const char* component, const std::string& what, const std::function<void()>& operation);

/// What to do when no thread or process can be started.
inline constexpr char kTaskLimitAdvice[] =
    "end other programs, or raise its limit (ulimit -u, TasksMax of its service, "
    "the pids limit of its container)";

/// What the exception says that is being handled, in a sentence where it is too little memory or too few threads; call
/// it in a catch block.
std::string reasonOfException();

} // namespace camera::base
