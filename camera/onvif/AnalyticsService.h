#pragma once

#include "camera/onvif/AnalyticsTransactions.h"
#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/ServiceDirectory.h"

#include <memory>
#include <string>

namespace camera::onvif {

/// The ONVIF analytics service (namespace tan), and what the media services tell of rules and modules. It lives until
/// all that it asked has answered.
class AnalyticsService {
public:
    /// @param intended  borrowed.
    AnalyticsService(AnalyticsActions actions, Kept<IntendedChange>& intended);

    /// Adds its operations, and itself to the directory.
    void addTo(Operations& operations, ServiceDirectory& directory);

    /// How all is now.
    void view(std::function<void(Outcome<AnalyticsView>)> done) { _transactions.read(std::move(done)); }

    /// What a video analytics configuration has.
    void content(std::function<void(Outcome<AnalyticsContent>)> done);

    /// All rules and modules change places with those of a video analytics configuration, which lives until then.
    void replace(const pugi::xml_node& configuration, const Done& done);

private:
    using Shared = std::shared_ptr<const Call>;
    /// Fills an answer. May throw a Fault.
    using Fill = std::function<void(pugi::xml_node answer, const AnalyticsView& view)>;
    using Make = AnalyticsTransactions::Make;

    void addReading(Operations& operations, bool rules);
    void addChanging(Operations& operations, bool rules);
    void addMetadata(Operations& operations);
    void answer(const Shared& call, const Reply& reply, const Fill& fill);
    void change(const Shared& call, const Reply& reply, bool rules, const Make& make);

    AnalyticsTransactions _transactions;
};

} // namespace camera::onvif
