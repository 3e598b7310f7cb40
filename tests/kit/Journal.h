#pragma once

#include <atomic>
#include <initializer_list>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

namespace kit {

/// Who made an entry, so that a test can look at one side of the story.
enum class Part { Log, Engine, RuleSet, Positioning, Service, Settings, Transmitter, Framework, Buffer, Test };

/**
 * Every call that reaches a fake, in order, as readable text.
 *
 * One journal serves all fakes, because the order between engines, stores, services and log lines is
 * what the tests are about. Thread-safe. Switched off it records nothing and allocates nothing.
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
        std::ostringstream text;
        text << std::boolalpha;
        (text << ... << pieces);
        append(part, text.str());
    }

    bool recording() const { return _recording.load(std::memory_order_relaxed); }
    void record(bool on) { _recording.store(on, std::memory_order_relaxed); }

    void clear();

    std::vector<std::string> all() const;
    std::vector<std::string> of(std::initializer_list<Part> parts) const;
    std::vector<std::string> except(std::initializer_list<Part> parts) const;

    std::vector<std::string> logs() const { return of({Part::Log}); }
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
    };

    void append(Part part, std::string text);
    template <typename Wanted>
    std::vector<std::string> select(Wanted wanted) const;

    mutable std::mutex _mutex;
    std::vector<Entry> _entries;
    std::atomic<bool> _recording{true};
};

/// The journal of this process.
Journal& journal();

} // namespace kit
