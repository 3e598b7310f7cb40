#pragma once

#include <string>
#include <string_view>

namespace camera::engines {

/// One engine's way into the host's log. Thread-safe; copies share the handle.
class EngineLog {
public:
    EngineLog(void* context, std::string engine) : _context(context), _engine(std::move(engine)) {}

    const std::string& engine() const { return _engine; }

    /// One line at error level: the engine's name and the text.
    void error(const std::string& text) const noexcept;

private:
    void* _context;
    std::string _engine;
};

/// Text from outside for a log line: cut to a short length, without control characters.
std::string forLog(std::string_view text);

} // namespace camera::engines
