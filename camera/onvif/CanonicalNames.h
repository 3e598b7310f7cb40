#pragma once

#include "camera/onvif/NamespaceScopes.h"

#include <pugixml.hpp>

#include <cstddef>
#include <limits>
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

/// Parses a text. @throws XmlRefusal when it is no XML, has a DOCTYPE or no element.
pugi::xml_document parsed(const std::string& text);

/**
 * The same rewriting of a whole document in place, by the prefixes of a table, without declaring these.
 *
 * @param text     what the document was parsed from, for the place of a refusal.
 * @param mostDeep how many elements may stand within each other.
 * @return the root's name as its author wrote it.
 */
std::string makeCanonical(const pugi::xml_document& document, const std::string& text, const NamespaceTable& table,
                          std::size_t mostDeep = std::numeric_limits<std::size_t>::max());

/// Declares on an element those prefixes of the table that it and what is in it use, so that it can stand alone.
void declareUsed(pugi::xml_node element, const NamespaceTable& table);

} // namespace camera::onvif
