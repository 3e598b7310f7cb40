#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace camera::onvif {

/// Why a text cannot be used as configuration, and where in it.
class XmlRefusal : public std::runtime_error {
public:
    XmlRefusal(const std::string& what, std::size_t line, std::size_t column)
        : std::runtime_error(what), line(line), column(column)
    {
    }

    std::size_t line;   ///< from 1
    std::size_t column; ///< from 1, in bytes
};

/**
 * Rewrites an XML document so that every name of a namespace that the analytics service knows carries that
 * namespace's usual prefix (tt:, tns1:, axt:, xs:, xsi:, vca:), because the service finds its elements by prefix.
 * Names are elements, attributes, and the values that are names themselves (Type, xsi:type). The usual
 * declarations stand on the root; elements of other namespaces keep their prefix and get its declaration
 * themselves, so that they stay valid when they are taken out of the document. Nothing else changes.
 *
 * @param rootName the root's name after rewriting, "tt:VideoAnalyticsConfiguration" for instance;
 *        any other root is refused.
 * @throws XmlRefusal when the text is no XML, has a DOCTYPE, has another root, or a name cannot be
 *         rewritten: the sentence names the element.
 */
std::string canonicalDocument(const std::string& text, const std::string& rootName);

} // namespace camera::onvif
