#pragma once

#include <atomic>
#include <initializer_list>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

namespace host_seam {

/// Who made an entry, so that a test can look at one side of the story.
enum class Part { Log, Engine, RuleSet, Positioning, Service, Settings, Transmitter, Framework, Buffer, Test };

/**
 * Every call that the plug-in makes, in order, as readable text.
 *
 * One journal serves the whole host, because what matters is the order between engines, stores, services and log
 * lines. Thread-safe. Switched off, as it is at first, it records nothing and allocates nothing.
 */
class Journal {
public:
    /// Appends one entry, made of the parts' texts; booleans read "true" and "false".
    template <typename... Pieces>
    void add(Part part, const Pieces&... pieces)
    {
        if (!recording()) {
            return;
        }
        append(part, joined(pieces...), {});
    }

    /// A log line, with the format that it was rendered from.
    template <typename... Pieces>
    void addLog(const char* format, const Pieces&... pieces)
    {
        append(Part::Log, joined(pieces...), format);
    }

    static bool recording() { return _recording.load(std::memory_order_relaxed); }
    static void record(bool on) { _recording.store(on, std::memory_order_relaxed); }

    void clear();

    std::vector<std::string> all() const;
    std::vector<std::string> of(std::initializer_list<Part> parts) const;
    std::vector<std::string> except(std::initializer_list<Part> parts) const;

    std::vector<std::string> logs() const { return of({Part::Log}); }
    /// The formats of the log lines as they were given, without their arguments.
    std::vector<std::string> formats() const;
    /// Calls of engines and of their rule sets.
    std::vector<std::string> engineCalls() const { return of({Part::Engine, Part::RuleSet}); }
    /// Everything but the log lines.
    std::vector<std::string> calls() const { return except({Part::Log}); }

    std::vector<std::string> startingWith(const std::string& prefix) const;
    std::size_t count(const std::string& text) const;
    /// One entry per line, for failure messages.
    std::string dump() const;

private:
    struct Entry {
        Part part;
        std::string text;
        std::string format;
    };

    template <typename... Pieces>
    static std::string joined(const Pieces&... pieces)
    {
        std::ostringstream text;
        text << std::boolalpha;
        (text << ... << pieces);
        return text.str();
    }

    void append(Part part, std::string text, std::string format);
    template <typename Wanted>
    std::vector<std::string> select(Wanted wanted) const;

    mutable std::mutex _mutex;
    std::vector<Entry> _entries;
    inline static std::atomic<bool> _recording{false}; // constant from the start: asked on the frame path
};

/// The journal of this process.
inline Journal& journal()
{
    static auto* const theJournal = new Journal; // outlives every static object of a loaded module
    return *theJournal;
}

} // namespace host_seam
