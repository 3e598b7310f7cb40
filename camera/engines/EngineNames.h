#pragma once

/// Every name of the reference engines that a client meets.
namespace camera::engines {

inline constexpr char kSimpleEngine[] = "Simple";
inline constexpr char kCellMotionModule[] = "tt:CellMotionEngine";
inline constexpr char kCellMotionRule[] = "tt:CellMotionDetector";
inline constexpr char kCellMotionTopic[] = "tns1:RuleEngine/CellMotionDetector/Motion";

inline constexpr char kMotionEngine[] = "Motion";
inline constexpr char kMotionModule[] = "vca:MotionRegionEngine";
inline constexpr char kMotionRule[] = "tt:MotionRegionDetector";
inline constexpr char kMotionTopic[] = "tns1:RuleEngine/MotionRegionDetector/Motion";

} // namespace camera::engines
