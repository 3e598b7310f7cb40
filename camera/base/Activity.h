#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace camera::base {

/**
 * What the engines of a process are doing at this moment, in memory that another process can read, also when this one
 * is hung or has died.
 *
 * The file holds one page. The process that watches creates it, the watched one shares it. A process that
 * shares none writes into memory of its own. Thread-safe; writing takes no lock and allocates nothing.
 */
class Activity {
public:
    enum class Kind { frame, control };

    /// A short text in a form that is copied quickly. A longer one is cut.
    class Label {
    public:
        explicit Label(const std::string& text);

    private:
        friend class Activity;
        static constexpr std::size_t kWords = 12;
        std::array<std::uint64_t, kWords> _words{};
    };

private:
    // Each scope writes a label of its own, so that nothing is restored when it ends: that would cost every frame of
    // every engine. Scopes deeper than the labels share the last one.
    struct Slot {
        static constexpr std::size_t kLabels = 4;

        void write(std::size_t scope, const Label& label);
        Label read(std::size_t scope) const;

        std::atomic<std::int64_t> since; ///< of the steady clock; 0: nothing is done
        std::atomic<std::size_t> depth;  ///< scopes that live
        std::array<std::array<std::atomic<std::uint64_t>, Label::kWords>, kLabels> labels;
    };

public:
    /// As long as it lives, the process does what the label says. Of scopes inside each other the innermost one is
    /// named, and the outermost one says since when. An inner scope leaves another label behind when it is told one.
    class Scope {
    public:
        Scope(Kind kind, const Label& label, std::chrono::steady_clock::time_point now);
        Scope(Kind kind, const Label& label) : Scope(kind, label, std::chrono::steady_clock::now()) {}
        Scope(Kind kind, const Label& label, const Label& afterwards);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        Slot& _slot;
        const std::size_t _depth; ///< scopes around this one
    };

    struct Doing {
        std::string what; ///< "onFrame of engine 'Motion'"
        std::chrono::steady_clock::time_point since;
    };

    /// Of this process.
    static Activity& instance();

    Activity() = default;
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;

    /// Makes the file and reads from it. @throws std::runtime_error with one sentence.
    void create(const std::filesystem::path& file);

    /// Writes into that file from now on. Before other threads use the object. @throws as create().
    void share(const std::filesystem::path& file);

    /// As after create(): for another process that shares the file.
    void clear();

    /// What is done now, or was done last by a process that has died; nothing between the operations.
    std::optional<Doing> doing(Kind kind) const;

    /// " during onFrame of engine 'Motion'", or empty.
    std::string text() const;

    /// The watching process says that the end which comes next was asked for by a command.
    void announceShutDown() { _page->shutDown = true; }
    bool shutDownAnnounced() const { return _page->shutDown; }

    void addFrame();
    std::uint64_t frames() const;

private:
    struct Page {
        std::array<Slot, 2> slots;
        std::atomic<std::uint64_t> frames;
        std::atomic<bool> shutDown;
    };

    void map(const std::filesystem::path& file, int flags);
    Slot& slot(Kind kind) const { return _page->slots[kind == Kind::frame ? 0 : 1]; }

    std::shared_ptr<Page> _page = std::make_shared<Page>();
};

} // namespace camera::base
