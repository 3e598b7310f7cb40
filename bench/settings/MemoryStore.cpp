#include "MemoryStore.h"

#include "ravel/logging.h"
#include "ravel/settings.h"

std::string& storedDocument()
{
    static std::string document = "[]";
    return document;
}

ravel_core_status ravel_core_settings_set_default_json_value(const char*, const char*)
{
    return 0;
}

void ravel_core_logging_log(void*, ravel_core_log_priority, const char*, ...)
{
}

namespace ravel::core {

ravel_core_status settingsGetJson(const std::string&, std::string& value)
{
    value = storedDocument();
    return 0;
}

// What a store does with the text is its own time; it only has to be given one.
ravel_core_status settingsSetJson(const std::string&, const std::string& value)
{
    return value.empty() ? 1 : 0;
}

} // namespace ravel::core
