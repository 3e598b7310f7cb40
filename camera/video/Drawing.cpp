#include "camera/video/Drawing.h"

#include <algorithm>

namespace camera::video {

namespace {

struct Sorter {
    Drawing& drawing;

    void operator()(const kit::FrameRecord&) const {}
    void operator()(const kit::BoxRecord& record) const { drawing.boxes.push_back(record); }
    void operator()(const kit::RuleRecord& record) const { drawing.rules.push_back(record); }
    void operator()(const kit::CellsRecord& record) const { drawing.cells.push_back(record); }
};

} // namespace

std::size_t Drawing::movingBoxes() const
{
    return static_cast<std::size_t>(
        std::count_if(boxes.begin(), boxes.end(), [](const auto& box) { return box.kind == kit::BoxKind::kMoving; }));
}

std::size_t Drawing::alarms() const
{
    return static_cast<std::size_t>(std::count_if(
        rules.begin(), rules.end(), [](const auto& rule) { return rule.state == kit::RuleState::kAlarm; }));
}

double Drawing::interest(std::size_t travelled) const
{
    // Objects that have moved a real distance count most, then rules in alarm. Boxes that did not move reduce the
    // value. Among equal pictures the one with larger objects is better.
    double area = 0;
    for (const kit::BoxRecord& box : boxes) {
        area += (box.lowerRight.x - box.upperLeft.x) * (box.lowerRight.y - box.upperLeft.y);
    }
    const double doubtful = static_cast<double>(boxes.size()) - static_cast<double>(travelled);
    return 3 * static_cast<double>(travelled) + 2 * static_cast<double>(alarms()) - doubtful +
           std::clamp(area, 0.0, 0.9);
}

Drawing readDrawing(const std::uint8_t* data, std::size_t sizeBytes)
{
    Drawing drawing;
    if (data == nullptr) {
        return drawing;
    }
    kit::DrawingReader reader(data, sizeBytes);
    while (const auto record = reader.next()) {
        std::visit(Sorter{drawing}, *record);
    }
    drawing.damaged = reader.damaged();
    return drawing;
}

} // namespace camera::video
