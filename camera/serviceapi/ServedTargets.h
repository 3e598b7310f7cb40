#pragma once

#include <boost/shared_ptr.hpp>

#include <map>
#include <mutex>
#include <string>

class RavelApiAnalyticsTargetImplBase;

namespace camera::serviceapi {

/// The analytics targets that runners serve at the moment. Thread-safe.
class ServedTargets {
public:
    using Target = RavelApiAnalyticsTargetImplBase;

    /// False when the name is taken.
    bool add(const std::string& service, boost::shared_ptr<Target> target);

    /// find() no longer returns the target; references that it returned before keep it alive.
    void remove(const std::string& service, const Target* target);

    /// The target under a service name, or null.
    boost::shared_ptr<Target> find(const std::string& service) const;

    /// Whether a runner serves this very target.
    bool serves(const Target* target) const;

private:
    mutable std::mutex _mutex;
    std::map<std::string, boost::shared_ptr<Target>> _targets;
};

} // namespace camera::serviceapi
