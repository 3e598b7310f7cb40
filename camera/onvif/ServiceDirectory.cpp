#include "camera/onvif/ServiceDirectory.h"

#include <algorithm>
#include <utility>

namespace camera::onvif {

void ServiceDirectory::add(ServiceEntry entry, Operations& operations)
{
    const std::string prefix = entry.prefix + ":";
    operations.add(prefix + "GetServiceCapabilities", AccessClass::preAuth,
                   [prefix, fill = entry.capabilities, missing = entry.missing](const Call& /*call*/) {
                       if (const auto fault = missing ? missing() : std::nullopt) {
                           throw Fault(*fault);
                       }
                       Answer answer((prefix + "GetServiceCapabilitiesResponse").c_str());
                       fill(answer.body().append_child((prefix + "Capabilities").c_str()));
                       return answer;
                   });
    _all.push_back(std::move(entry));
}

std::vector<const ServiceEntry*> ServiceDirectory::present() const
{
    std::vector<const ServiceEntry*> entries;
    for (const ServiceEntry& entry : _all) {
        if (entry.isThere()) {
            entries.push_back(&entry);
        }
    }
    return entries;
}

const ServiceEntry* ServiceDirectory::find(const std::string& category) const
{
    const auto found = std::find_if(_all.begin(), _all.end(), [&category](const ServiceEntry& entry) {
        return entry.category == category && entry.isThere();
    });
    return found == _all.end() ? nullptr : &*found;
}

} // namespace camera::onvif
