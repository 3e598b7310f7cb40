#include "camera/serviceapi/ServedTargets.h"

#include <algorithm>
#include <utility>

namespace camera::serviceapi {

bool ServedTargets::add(const std::string& service, boost::shared_ptr<Target> target)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _targets.emplace(service, std::move(target)).second;
}

void ServedTargets::remove(const std::string& service, const Target* target)
{
    boost::shared_ptr<Target> last; // released after the lock: a target may log while it ends
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _targets.find(service);
    if (found != _targets.end() && found->second.get() == target) {
        last = std::move(found->second);
        _targets.erase(found);
    }
}

boost::shared_ptr<ServedTargets::Target> ServedTargets::find(const std::string& service) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _targets.find(service);
    return found == _targets.end() ? boost::shared_ptr<Target>() : found->second;
}

bool ServedTargets::serves(const Target* target) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return std::any_of(_targets.begin(), _targets.end(),
                       [target](const auto& entry) { return entry.second.get() == target; });
}

} // namespace camera::serviceapi
