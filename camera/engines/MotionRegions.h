#pragma once

#include "camera/engines/Component.h"
#include "camera/engines/RuleProgram.h"
#include "camera/engines/Tracker.h"
#include "camera/kit/DrawingFormat.h"

#include <deque>

namespace camera::engines {

/// vca:MotionRegionEngine: Sensitivity 0 to 100 (50), MinSize, the least box of an object, in percent of the
/// picture, 0 to 100 (0.1).
struct MotionModule {
    long sensitivity = 50;
    double minSizePercent = 0.1;

    static MotionModule read(ParameterList& parameters);
};

/// tt:MotionRegionDetector: the element MotionRegion, an axt:MotionRegionConfig with Armed (true), Sensitivity 0
/// to 1 (0.5) and a tt:Polygon of 3 to 64 normalised points (the whole picture).
struct MotionRegionRule {
    bool armed = true;
    double sensitivity = 0.5;
    std::vector<kit::PicturePoint> polygon;

    static MotionRegionRule read(ParameterList& parameters);

    /// The share of the polygon that objects must cover.
    double neededShare() const { return 0.02 * (1 - sensitivity) * (1 - sensitivity); }
};

/// The types of the engine "Motion".
extern const ComponentTypes kMotionRegionTypes;

/// Finds objects and measures how much of each rule's polygon they cover.
class MotionRegionProgram final : public RuleProgram {
public:
    /// @param tracker the engine's, which outlives its programs; touched on the frame thread only.
    MotionRegionProgram(const Components& components, Tracker& tracker);

    long sensitivity() const override { return _module.sensitivity; }
    void report(const UtcTime& time, MetadataBuffers& outputs) override;

private:
    struct RegionRule : Rule {
        MotionRegionRule settings;
        cv::Mat inside{}; ///< mask of the polygon, 255 inside
        int pixels = 0;   ///< number of pixels inside
    };

    void analyse(const Foreground& foreground) override;
    void drawPolygon(RegionRule& rule, const cv::Size& picture) const;
    bool movesInside(const RegionRule& rule, const cv::Mat& mask) const;
    kit::BoxRecord boxOf(const TrackedObject& object) const;

    Tracker& _tracker;
    MotionModule _module;
    bool _moduleActive = true;
    std::string _source;
    std::deque<RegionRule> _rules;
    cv::Size _picture;
};

} // namespace camera::engines
