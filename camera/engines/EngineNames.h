#pragma once

/// Every name of the reference engines that a client meets.
namespace camera::engines {

/// The namespace of our own types; documents bind it to the prefix vca.
inline constexpr char kOwnNamespace[] = "urn:x-virtual-camera:analytics";

inline constexpr char kSimpleEngine[] = "Simple";
inline constexpr char kCellMotionModule[] = "tt:CellMotionEngine";
inline constexpr char kCellMotionRule[] = "tt:CellMotionDetector";
inline constexpr char kCellMotionTopic[] = "tns1:RuleEngine/CellMotionDetector/Motion";

inline constexpr char kMotionEngine[] = "Motion";
inline constexpr char kMotionModule[] = "vca:MotionRegionEngine";
inline constexpr char kMotionRule[] = "tt:MotionRegionDetector";
inline constexpr char kMotionTopic[] = "tns1:RuleEngine/MotionRegionDetector/Motion";

/// Tokens that events and the merged configuration agree on.
inline constexpr char kVideoSourceToken[] = "VideoSource_1";
inline constexpr char kAnalyticsToken[] = "AnalyticsConfiguration_1";

} // namespace camera::engines
