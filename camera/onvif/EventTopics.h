#pragma once

#include "camera/onvif/AnalyticsDescriptions.h"
#include "camera/onvif/EventFilter.h"

#include <pugixml.hpp>

#include <string>
#include <utility>
#include <vector>

namespace camera::onvif {

/// The topics of a device: those of its engines' descriptions, and its own.
class EventTopics {
public:
    /// @param view  borrowed.
    explicit EventTopics(const AnalyticsView& view);

    /// Fills a wstop:TopicSet: each topic with the description of its messages.
    void fill(pugi::xml_node topicSet) const;

    /// Whether an expression may match a topic. Where an engine has no description nobody knows.
    bool mayMatch(const TopicExpression& expression) const;

private:
    AnalyticsDescriptions _descriptions;
    pugi::xml_document _own;
    std::vector<std::pair<std::string, pugi::xml_node>> _topics; ///< each once, with its tt:Messages
};

} // namespace camera::onvif
