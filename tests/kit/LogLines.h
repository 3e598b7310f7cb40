#pragma once

#include "camera/base/Log.h"
#include "kit/LineJournal.h"

namespace kit {

/// The camera's log, kept from stderr as long as the object lives; afterwards the log has its usual level again.
class LogLines : public LineJournal {
public:
    explicit LogLines(camera::base::LogLevel level = camera::base::LogLevel::error)
    {
        camera::base::Log::instance().setLevel(level);
        camera::base::Log::instance().setWriter([this](const std::string& line) { add(line); });
    }
    ~LogLines()
    {
        camera::base::Log::instance().setWriter({});
        camera::base::Log::instance().setLevel(camera::base::LogLevel::error);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;
};

} // namespace kit
