#include "camera/base/Contained.h"

#include "camera/base/Log.h"

#include <cerrno>
#include <exception>
#include <new>
#include <system_error>

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
    } catch (const std::bad_alloc&) {
        return std::string(program_invocation_short_name) + " has too little memory; end other programs, or raise its "
                                                            "limit (ulimit -v, MemoryMax of its service, the "
                                                            "memory of its container)";
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::resource_unavailable_try_again) {
            return std::string(program_invocation_short_name) + " cannot start a thread; " + kTaskLimitAdvice;
        }
        return error.what();
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "an exception of an unknown type";
    }
}

} // namespace camera::base
