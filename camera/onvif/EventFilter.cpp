#include "camera/onvif/EventFilter.h"

#include "camera/base/Text.h"

#include <pugixml.hpp>

#include <algorithm>
#include <string_view>
#include <utility>

namespace camera::onvif {

namespace {

constexpr std::size_t kLongestTopicExpression = 4096;
constexpr std::string_view kBelow = "//.";

bool isNcName(const std::string& text)
{
    constexpr const char* kDigitsAndMarks = "0123456789-.";
    constexpr const char* kOthers = "\t\n\r !\"#$%&'()*+,/:;<=>?@[\\]^`{|}~";
    return !text.empty() && std::string_view(kDigitsAndMarks).find(text[0]) == std::string_view::npos &&
           text.find_first_of(kOthers) == std::string::npos;
}

/// A name with a prefix, or one without where this may be.
bool isTopicName(const std::string& text, bool prefixNeeded)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) {
        return !prefixNeeded && isNcName(text);
    }
    return isNcName(text.substr(0, colon)) && isNcName(text.substr(colon + 1));
}

void checkTopicPath(const std::string& path)
{
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
        end = path.find('/', at);
        const std::string name = path.substr(at, end == std::string::npos ? end : end - at);
        if (!isTopicName(name, at == 0)) {
            throw ExpressionRefusal("'" + path +
                                    "' is no topic: it has names with slashes between them, and the first "
                                    "has a prefix");
        }
    }
}

/// What an item of a message has. An element has no value.
struct ItemView {
    const std::string& name;
    const std::string* value;
};

template <class Subject>
using Condition = std::function<bool(const Subject&)>;

/// Reads an item filter from left to right. Lists become loops; only parentheses nest, to a limit.
class ItemFilterReader {
public:
    explicit ItemFilterReader(const std::string& text) : _rest(text) {}

    Condition<Notification> whole()
    {
        auto condition = either<Notification>([this] { return ofItems(); });
        skipBlanks();
        if (!_rest.empty()) {
            refuse("the end");
        }
        return condition;
    }

private:
    template <class Subject, class Innermost>
    Condition<Subject> either(const Innermost& innermost)
    {
        std::vector<Condition<Subject>> conditions = {all<Subject>(innermost)};
        while (takeWord("or")) {
            conditions.push_back(all<Subject>(innermost));
        }
        return [conditions](const Subject& subject) {
            return std::any_of(conditions.begin(), conditions.end(), [&](const auto& each) { return each(subject); });
        };
    }

    template <class Subject, class Innermost>
    Condition<Subject> all(const Innermost& innermost)
    {
        std::vector<Condition<Subject>> conditions = {one<Subject>(innermost)};
        while (takeWord("and")) {
            conditions.push_back(one<Subject>(innermost));
        }
        return [conditions](const Subject& subject) {
            return std::all_of(conditions.begin(), conditions.end(), [&](const auto& each) { return each(subject); });
        };
    }

    template <class Subject, class Innermost>
    Condition<Subject> one(const Innermost& innermost)
    {
        const bool negated = takeWord("not");
        if (!negated && !isNext("(")) {
            return innermost();
        }
        need("(");
        if (++_depth > ItemFilter::kMostDeep) {
            throw ExpressionRefusal("the filter has more than " + std::to_string(ItemFilter::kMostDeep) +
                                    " parentheses within each other");
        }
        auto condition = either<Subject>(innermost);
        --_depth;
        need(")");
        return [condition, negated](const Subject& subject) { return condition(subject) != negated; };
    }

    /// boolean(//tt:SimpleItem[...]): whether there is such an item.
    Condition<Notification> ofItems()
    {
        need("boolean");
        need("(");
        need("//");
        const bool simple = take("tt:SimpleItem");
        if (!simple) {
            need("tt:ElementItem");
        }
        need("[");
        const auto condition = either<ItemView>([this] { return ofAttribute(); });
        need("]");
        need(")");
        return [condition, simple](const Notification& notification) {
            return simple ? anySimple(notification, condition) : anyElement(notification, condition);
        };
    }

    static bool anySimple(const Notification& notification, const Condition<ItemView>& condition)
    {
        const auto fits = [&condition](const MessageItem& item) { return condition({item.name, &item.value}); };
        const auto any = [&fits](const auto& items) { return std::any_of(items.begin(), items.end(), fits); };
        return any(notification.source) || any(notification.key) || any(notification.data);
    }

    static bool anyElement(const Notification& notification, const Condition<ItemView>& condition)
    {
        const auto fits = [&condition](const std::string& text) {
            pugi::xml_document document;
            document.load_buffer(text.data(), text.size());
            const std::string name = document.document_element().attribute("Name").value();
            return condition({name, nullptr});
        };
        return std::any_of(notification.dataElements.begin(), notification.dataElements.end(), fits);
    }

    /// @Name="..." or @Value="..."
    Condition<ItemView> ofAttribute()
    {
        const bool isName = take("@Name");
        if (!isName) {
            need("@Value");
        }
        need("=");
        return [isName, wanted = quoted()](const ItemView& item) {
            return isName ? item.name == wanted : item.value != nullptr && *item.value == wanted;
        };
    }

    std::string quoted()
    {
        const char quote = isNext("'") ? '\'' : '"';
        need(quote == '"' ? "\"" : "'");
        const std::size_t end = _rest.find(quote);
        if (end == std::string_view::npos) {
            refuse("a quote");
        }
        std::string text(_rest.substr(0, end));
        _rest.remove_prefix(end + 1);
        return text;
    }

    void skipBlanks() { _rest.remove_prefix(std::min(_rest.find_first_not_of(" \t\r\n"), _rest.size())); }

    bool isNext(std::string_view text)
    {
        skipBlanks();
        return _rest.substr(0, text.size()) == text;
    }

    bool take(std::string_view text)
    {
        const bool next = isNext(text);
        _rest.remove_prefix(next ? text.size() : 0);
        return next;
    }

    /// What goes on behind the word makes it another one.
    bool takeWord(std::string_view word)
    {
        const bool whole =
            isNext(word) && (_rest.size() == word.size() ||
                             std::string_view(" \t\r\n(@").find(_rest[word.size()]) != std::string_view::npos);
        return whole && take(word);
    }

    void need(std::string_view text)
    {
        if (!take(text)) {
            refuse("'" + std::string(text) + "'");
        }
    }

    [[noreturn]] void refuse(const std::string& wanted) const
    {
        constexpr std::size_t kShown = 40;
        throw ExpressionRefusal("the filter has '" + std::string(_rest.substr(0, kShown)) + "' where " + wanted +
                                " belongs; a filter is for instance boolean(//tt:SimpleItem[@Name=\"Rule\" and "
                                "@Value=\"Gate\"])");
    }

    std::string_view _rest;
    int _depth = 0;
};

} // namespace

TopicExpression::TopicExpression(const std::string& text, TopicDialect dialect)
{
    if (text.size() > kLongestTopicExpression) {
        throw ExpressionRefusal("the topic expression has more than " + std::to_string(kLongestTopicExpression) +
                                " bytes");
    }
    const bool isSet = dialect == TopicDialect::concreteSet;
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
        end = isSet ? text.find('|', at) : std::string::npos;
        std::string path = base::trimmed(text.substr(at, end == std::string::npos ? end : end - at));
        const bool andBelow = isSet && path.size() > kBelow.size() &&
                              path.compare(path.size() - kBelow.size(), kBelow.size(), kBelow) == 0;
        path.resize(path.size() - (andBelow ? kBelow.size() : 0));
        checkTopicPath(path);
        _paths.push_back({plainTopic(path), andBelow});
    }
}

bool TopicExpression::matches(const std::string& topic) const
{
    return std::any_of(_paths.begin(), _paths.end(), [&topic](const Path& path) {
        const bool begins = topic.compare(0, path.topic.size(), path.topic) == 0;
        return begins && (topic.size() == path.topic.size() || (path.andBelow && topic[path.topic.size()] == '/'));
    });
}

ItemFilter::ItemFilter(const std::string& text)
{
    if (text.size() > kLongest) {
        throw ExpressionRefusal("the filter has more than " + std::to_string(kLongest) + " bytes");
    }
    _condition = ItemFilterReader(text).whole();
}

} // namespace camera::onvif
