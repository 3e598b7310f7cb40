#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace camera::pipeline {

/**
 * Which settings key is active for each engine, read from the plug-in's own log: no operation tells it.
 *
 * Whenever the plug-in switches an engine over it logs the key and then that it clears the engine's rules, and the
 * key alone when it gives the engine what was just stored. Key lines that nothing follows come from questions. Lines
 * are seen whatever the log level. One object at a time; thread-safe.
 */
class ActiveKeys {
public:
    struct Active {
        std::string engine;
        std::string key; ///< empty: the engine has no rules, the camera moves
    };
    using Listener = std::function<void(const Active&)>;

    /// @param listener called for each change, on the control thread.
    explicit ActiveKeys(Listener listener);
    ~ActiveKeys();
    ActiveKeys(const ActiveKeys&) = delete;
    ActiveKeys& operator=(const ActiveKeys&) = delete;

    /// In the order in which the engines were first switched.
    std::vector<Active> now() const;

private:
    void line(const std::string& text);
    void switched(const std::string& engine);
    void given(const std::string& key);

    const Listener _listener;
    mutable std::mutex _mutex;
    std::string _lastKey;
    std::vector<Active> _active;
};

} // namespace camera::pipeline
