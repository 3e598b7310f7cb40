#include "camera/base/Contained.h"

#include "camera/base/Log.h"

#include <exception>

namespace camera::base {

bool contained(const char* component, const std::string& what, const std::function<void()>& operation)
{
    std::string reason;
    try {
        operation();
        return true;
    } catch (const std::exception& error) {
        reason = error.what();
    } catch (...) {
        reason = "an exception of an unknown type";
    }
    Log::instance().write(LogLevel::error, component, what + ": " + reason);
    return false;
}

} // namespace camera::base
