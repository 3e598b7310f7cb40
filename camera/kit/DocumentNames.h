#pragma once

/// Names that the documents and events of all engines agree on.
namespace camera::kit {

/// The namespace of the types that are the virtual camera's own; documents bind it to the prefix vca.
inline constexpr char kOwnNamespace[] = "urn:x-virtual-camera:analytics";

inline constexpr char kVideoSourceToken[] = "VideoSource_1";
inline constexpr char kAnalyticsToken[] = "AnalyticsConfiguration_1";

} // namespace camera::kit
