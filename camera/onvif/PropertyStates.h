#pragma once

#include "camera/onvif/Notification.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace camera::onvif {

/**
 * The last state of every property that clients are told of: those that the pipeline's engines raise, and the device's
 * own. What the pipeline says is passed on; what it can no longer say, because it is gone, is made up for, so that no
 * client keeps a state that has ended.
 *
 * Reentrant.
 */
class PropertyStates {
public:
    using Tell = std::function<void(const Notification&)>;

    /// @param tell  takes what happens, in its order; called inside the operations below.
    explicit PropertyStates(Tell tell);

    /// The pipeline, or the device itself, tells an event, which may be of no property. The same one again is not told.
    void happened(const Notification& event);

    /// The pipeline is asked for its properties: what happens from now on is newer than its answer.
    void ask();

    /// It answered with the last event of each. What was known and is not among them has ended.
    void found(const std::vector<Notification>& properties);

    /// The pipeline is gone, and its properties with it.
    void lost();

    /// Keeps a property of the device, and tells it when it is new or another one.
    void set(const Notification& property);

    /// The last state of each, as a message with the operation initialized.
    std::vector<Notification> live() const;

private:
    using All = std::map<std::string, Notification>;

    void tellMotion();
    void end(const Notification& last);

    const Tell _tell;
    All _ofPipeline; ///< by their ids
    All _ofDevice;
    std::set<std::string> _newer; ///< ids of what happened since it was asked
};

} // namespace camera::onvif
