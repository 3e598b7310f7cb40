#pragma once

#include "camera/engines/Component.h"
#include "camera/engines/RuleProgram.h"
#include "camera/kit/DrawingFormat.h"

#include <deque>
#include <memory>

namespace camera::engines {

/// A grid of cells over a rectangle of the picture, its first cell in the upper left.
struct CellLayout {
    long columns = 22;
    long rows = 18;
    double left = 0; ///< fractions of the picture, from its upper left corner
    double top = 0;
    double right = 1;
    double bottom = 1;

    std::size_t maskBytes() const { return static_cast<std::size_t>(columns * rows + 7) / 8; }
};

/// tt:CellMotionEngine: Sensitivity 0 to 100 (50), Layout (22 columns and 18 rows over the whole picture).
struct CellMotionModule {
    long sensitivity = 50;
    CellLayout layout;

    static CellMotionModule read(ParameterList& parameters);
};

/// tt:CellMotionDetector: MinCount (4), AlarmOnDelay (100) and AlarmOffDelay (1000) in milliseconds,
/// ActiveCells (all of the module's).
struct CellMotionRule {
    long minCount = 4;
    long onDelayMs = 100;
    long offDelayMs = 1000;
    std::vector<std::uint8_t> activeCells;

    static CellMotionRule read(ParameterList& parameters, const CellLayout& layout);
};

/// The types of the engine "Simple".
extern const ComponentTypes kCellMotionTypes;

/// Finds the cells that move and counts, for each rule, those that it watches.
class CellMotionProgram final : public RuleProgram {
public:
    explicit CellMotionProgram(const Components& components);

    long sensitivity() const override { return _module.sensitivity; }
    void report(const UtcTime& time, MetadataBuffers& outputs) override;

private:
    struct CellRule : Rule {
        CellMotionRule settings;
        kit::PicturePoint namePlace; ///< the upper left corner of the first cell that it watches
    };

    void analyse(const Foreground& foreground) override;
    void findMovingCells(const Foreground& foreground);
    cv::Rect cell(long column, long row, const cv::Size& picture) const;
    long movingCells(const CellMotionRule& rule) const;
    kit::PicturePoint firstCell(const CellMotionRule& rule) const;

    CellMotionModule _module;
    bool _moduleActive = true;
    std::string _source;
    std::deque<CellRule> _rules;
    kit::CellsRecord _moving;
    kit::CellsRecord _watched;
};

} // namespace camera::engines
