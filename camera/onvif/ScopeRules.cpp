#include "camera/onvif/ScopeRules.h"

#include "camera/base/Text.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string_view>

namespace camera::onvif {

namespace {

const std::string kRules = "http://schemas.xmlsoap.org/ws/2005/04/discovery/";

/// What rules compare.
struct UriParts {
    std::string scheme;
    std::string authority;
    std::vector<std::string> segments; ///< of the path
    std::string path;                  ///< the whole one
};

int digitOf(char c)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const std::size_t found = kDigits.find(base::inSmallLetters(std::string(1, c)));
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

std::string withoutEscapes(const std::string& text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? digitOf(text[i + 1]) : -1;
        const int low = high >= 0 ? digitOf(text[i + 2]) : -1;
        plain += low >= 0 ? static_cast<char>(high * 16 + low) : text[i];
        i += low >= 0 ? 2 : 0;
    }
    return plain;
}

UriParts partsOf(const std::string& uri)
{
    UriParts parts;
    std::string rest = uri.substr(0, uri.find_first_of("?#"));
    if (const std::size_t colon = rest.find_first_of(":/"); colon != std::string::npos && rest[colon] == ':') {
        parts.scheme = base::inSmallLetters(rest.substr(0, colon));
        rest.erase(0, colon + 1);
    }
    if (rest.compare(0, 2, "//") == 0) {
        const std::size_t end = std::min(rest.find('/', 2), rest.size());
        parts.authority = base::inSmallLetters(withoutEscapes(rest.substr(2, end - 2)));
        rest.erase(0, end);
    }
    parts.path = withoutEscapes(rest);
    for (std::size_t begin = 0; begin <= rest.size();) {
        const std::size_t end = std::min(rest.find('/', begin), rest.size());
        parts.segments.push_back(withoutEscapes(rest.substr(begin, end - begin)));
        begin = end + 1;
    }
    return parts;
}

bool goesUp(const UriParts& parts)
{
    return std::any_of(parts.segments.begin(), parts.segments.end(),
                       [](const std::string& segment) { return segment == "." || segment == ".."; });
}

bool matchesByPath(const std::string& wanted, const std::string& scope)
{
    UriParts beginning = partsOf(wanted);
    const UriParts whole = partsOf(scope);
    if (beginning.segments.back().empty()) { // a last slash
        beginning.segments.pop_back();
    }
    return beginning.scheme == whole.scheme && beginning.authority == whole.authority && !goesUp(beginning) &&
           !goesUp(whole) && beginning.segments.size() <= whole.segments.size() &&
           std::equal(beginning.segments.begin(), beginning.segments.end(), whole.segments.begin());
}

/// The 32 digits of a scope like "urn:uuid:..." or "uuid:..."; nothing for another one.
std::optional<std::string> uuidIn(const std::string& scope)
{
    constexpr std::string_view kForm = "00000000-0000-0000-0000-000000000000";
    std::string text = base::inSmallLetters(scope);
    for (const std::string_view scheme : {"urn:", "uuid:"}) {
        if (text.compare(0, scheme.size(), scheme) == 0) {
            text.erase(0, scheme.size());
        } else if (scheme == "uuid:") {
            return std::nullopt;
        }
    }
    const bool valid =
        text.size() == kForm.size() && std::equal(text.begin(), text.end(), kForm.begin(), [](char given, char form) {
            return form == '-' ? given == '-' : digitOf(given) >= 0;
        });
    return valid ? std::optional(text) : std::nullopt;
}

bool matchesUuid(const std::string& wanted, const std::string& scope)
{
    const auto number = uuidIn(wanted);
    return number && number == uuidIn(scope);
}

/// The names of an entry of a directory, the innermost one first. A comma behind a backslash or in quotes ends none.
std::vector<std::string> directoryNames(const std::string& path)
{
    std::vector<std::string> names;
    std::string name;
    bool quoted = false;
    for (std::size_t i = path.compare(0, 1, "/") == 0 ? 1 : 0; i < path.size(); ++i) {
        if (path[i] == ',' && !quoted) {
            names.push_back(base::trimmed(name));
            name.clear();
            continue;
        }
        quoted = quoted != (path[i] == '"');
        name += path[i];
        if (path[i] == '\\' && i + 1 < path.size()) {
            name += path[++i];
        }
    }
    if (!names.empty() || !base::trimmed(name).empty()) {
        names.push_back(base::trimmed(name));
    }
    return names;
}

bool matchesDirectory(const std::string& wanted, const std::string& scope)
{
    const UriParts above = partsOf(base::inSmallLetters(wanted));
    const UriParts entry = partsOf(base::inSmallLetters(scope));
    const std::vector<std::string> end = directoryNames(above.path);
    const std::vector<std::string> whole = directoryNames(entry.path);
    return above.scheme == "ldap" && entry.scheme == "ldap" && above.authority == entry.authority &&
           end.size() <= whole.size() && std::equal(end.rbegin(), end.rend(), whole.rbegin());
}

using Rule = std::function<bool(const std::string& wanted, const std::string& scope)>;

const std::map<std::string, Rule>& rules()
{
    static const std::map<std::string, Rule> all = {{"", matchesByPath},
                                                    {kRules + "rfc3986", matchesByPath},
                                                    {kRules + "rfc2396", matchesByPath},
                                                    {kRules + "uuid", matchesUuid},
                                                    {kRules + "ldap", matchesDirectory},
                                                    {kRules + "strcmp0", std::equal_to<std::string>()}};
    return all;
}

} // namespace

bool matchScopes(const std::vector<std::string>& wanted, const std::vector<std::string>& scopes,
                 const std::string& rule)
{
    if (rule == kRules + "none") {
        return scopes.empty();
    }
    const auto matches = rules().find(rule);
    return matches != rules().end() && std::all_of(wanted.begin(), wanted.end(), [&](const std::string& each) {
               return std::any_of(scopes.begin(), scopes.end(),
                                  [&](const std::string& scope) { return matches->second(each, scope); });
           });
}

} // namespace camera::onvif
