#include "camera/base/Contained.h"

#include "camera/base/Log.h"

#include <exception>

namespace camera::base {

bool contained(const char* component, const std::string& what, const std::function<void()>& operation)
{
    try {
        operation();
        return true;
    } catch (...) {
        Log::instance().write(LogLevel::error, component, what + ": " + reasonOfException());
        return false;
    }
}

std::string reasonOfException()
{
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "an exception of an unknown type";
    }
}

} // namespace camera::base
