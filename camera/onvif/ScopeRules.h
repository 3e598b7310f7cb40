#pragma once

#include <string>
#include <vector>

namespace camera::onvif {

// By which scopes a camera is found: the matching rules of WS-Discovery (April 2005, section 5.1), of which one is
// named by the attribute MatchBy of a question. All texts are a stranger's.

/**
 * Whether each scope that is asked for means one that the camera has.
 *
 * @param rule  "", ".../rfc3986" and ".../rfc2396": the beginning of a path, segment by segment; ".../uuid": the same
 *              128 bits; ".../ldap": the same server, and an entry below the one that is asked for; ".../strcmp0": the
 *              same text; ".../none": a camera without scopes. With any other rule nothing matches.
 */
bool matchScopes(const std::vector<std::string>& wanted, const std::vector<std::string>& scopes,
                 const std::string& rule);

} // namespace camera::onvif
