#pragma once

#include <string>

namespace hostile {

/// A parameter as it is written; nothing is escaped.
inline std::string item(const std::string& name, const std::string& value)
{
    return "<tt:SimpleItem Name=\"" + name + "\" Value=\"" + value + "\"/>";
}

inline std::string rule(const std::string& content)
{
    return "<tt:Rule Name=\"R\" Type=\"tt:PlainRule\">" + content + "</tt:Rule>";
}

/// A rule as single components come: with its parameters.
inline std::string component(const std::string& name, const std::string& parameters)
{
    return "<tt:Rule Name=\"" + name + "\" Type=\"tt:PlainRule\"><tt:Parameters>" + parameters +
           "</tt:Parameters></tt:Rule>";
}

} // namespace hostile
