#pragma once

#include "camera/onvif/Notification.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace camera::onvif {

// What a client says of the events that it wants. The texts are a stranger's: they have limits of length and depth.
// Their names have our prefixes already, see makeCanonical().

/// Why an expression is none, as one sentence.
class ExpressionRefusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How topics are chosen: by one whole path, or by "A|B", where "A//." also means all topics below A.
enum class TopicDialect { concrete, concreteSet };

class TopicExpression {
public:
    /// @throws ExpressionRefusal
    TopicExpression(const std::string& text, TopicDialect dialect);

    /// @param topic  a plain one, see plainTopic().
    bool matches(const std::string& topic) const;

private:
    struct Path {
        std::string topic;
        bool andBelow;
    };
    std::vector<Path> _paths;
};

/**
 * A condition on the items of a message: boolean(//tt:SimpleItem[@Name="Rule" and @Value="Gate"]), also for
 * tt:ElementItem, with and, or, not() and parentheses inside the brackets and around boolean().
 */
class ItemFilter {
public:
    static constexpr std::size_t kLongest = 4096; ///< bytes
    static constexpr int kMostDeep = 32;          ///< parentheses within each other

    /// @throws ExpressionRefusal
    explicit ItemFilter(const std::string& text);

    bool matches(const Notification& notification) const { return _condition(notification); }

private:
    std::function<bool(const Notification&)> _condition;
};

} // namespace camera::onvif
