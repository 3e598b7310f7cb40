#pragma once

#include "camera/base/Log.h"
#include "camera/base/Utf8.h"
#include "camera/bus/Names.h"

#include <sdbus-c++/sdbus-c++.h>

#include <exception>
#include <string>
#include <type_traits>

namespace camera::bus {

/// A method that understood its caller but does not do it: the text says why, in one sentence.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Answers with an error; nothing leaves it, not even when the bus has gone.
template <class... Out>
void answerError(const sdbus::Result<Out...>& result, const char* name, const std::string& text) noexcept
{
    try {
        result.returnError(sdbus::Error(name, base::sendable(text)));
    } catch (const std::exception& error) {
        base::Log::instance().write(base::LogLevel::info, "bus", std::string("an answer was lost: ") + error.what());
    }
}

/**
 * Answers a method with what operation returns (nothing, one value, or an answer by itself through the
 * result when it takes it), or with an error when it throws. An exception that left a method's handler
 * would end the process.
 */
template <class... Out, class Operation>
void answer(const sdbus::Result<Out...>& result, Operation&& operation) noexcept
{
    try {
        if constexpr (sizeof...(Out) == 0) {
            operation();
            result.returnResults();
        } else if constexpr (std::is_invocable_v<Operation, const sdbus::Result<Out...>&>) {
            operation(result);
        } else {
            result.returnResults(operation());
        }
    } catch (const sdbus::Error& error) {
        answerError(result, error.getName().c_str(), error.getMessage());
    } catch (const Refusal& refusal) {
        answerError(result, error::kRefused, refusal.what());
    } catch (const std::exception& error) {
        answerError(result, error::kFailed, error.what());
    } catch (...) {
        answerError(result, error::kFailed, "an exception of an unknown type");
    }
}

/// The text itself. @throws sdbus::Error kInvalidText, naming what it is.
inline const std::string& checkedText(const std::string& text, const char* what)
{
    if (!base::isSendable(text)) {
        throw sdbus::Error(error::kInvalidText, std::string(what) + " is not UTF-8 or holds a NUL byte");
    }
    return text;
}

} // namespace camera::bus
