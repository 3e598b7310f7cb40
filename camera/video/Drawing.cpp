#include "camera/video/Drawing.h"

#include <algorithm>

namespace camera::video {

namespace {

struct Sorter {
    Drawing& drawing;

    void operator()(const engines::FrameRecord&) const {}
    void operator()(const engines::BoxRecord& record) const { drawing.boxes.push_back(record); }
    void operator()(const engines::RuleRecord& record) const { drawing.rules.push_back(record); }
    void operator()(const engines::CellsRecord& record) const { drawing.cells.push_back(record); }
};

} // namespace

std::size_t Drawing::movingBoxes() const
{
    return static_cast<std::size_t>(std::count_if(
        boxes.begin(), boxes.end(), [](const auto& box) { return box.kind == engines::BoxKind::kMoving; }));
}

std::size_t Drawing::alarms() const
{
    return static_cast<std::size_t>(std::count_if(
        rules.begin(), rules.end(), [](const auto& rule) { return rule.state == engines::RuleState::kAlarm; }));
}

double Drawing::interest() const
{
    // Many objects first, then rules in alarm; of pictures that are equal in both the one with larger objects.
    double area = 0;
    for (const engines::BoxRecord& box : boxes) {
        area += (box.lowerRight.x - box.upperLeft.x) * (box.lowerRight.y - box.upperLeft.y);
    }
    return static_cast<double>(movingBoxes()) + 1.5 * static_cast<double>(alarms()) + std::clamp(area, 0.0, 0.9);
}

Drawing readDrawing(const std::uint8_t* data, std::size_t sizeBytes)
{
    Drawing drawing;
    if (data == nullptr) {
        return drawing;
    }
    engines::DrawingReader reader(data, sizeBytes);
    while (const auto record = reader.next()) {
        std::visit(Sorter{drawing}, *record);
    }
    drawing.damaged = reader.damaged();
    return drawing;
}

} // namespace camera::video
