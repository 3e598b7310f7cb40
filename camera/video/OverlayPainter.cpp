#include "camera/video/OverlayPainter.h"

#include "camera/base/Text.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>

namespace camera::video {

namespace {

using kit::BoxKind;
using kit::CellsKind;
using kit::RuleState;

// R, G, B: the picture's own order.
const cv::Scalar kQuiet(88, 196, 110);
const cv::Scalar kAlarm(244, 67, 54);
const cv::Scalar kDisarmed(160, 160, 160);
const cv::Scalar kMoving(255, 196, 0);
const cv::Scalar kResting(120, 170, 255);
const cv::Scalar kCells(0, 200, 255);
const cv::Scalar kInk(18, 18, 18);
const cv::Scalar kPaper(240, 240, 240);

cv::Scalar colourOf(RuleState state)
{
    switch (state) {
    case RuleState::kAlarm:
        return kAlarm;
    case RuleState::kDisarmed:
        return kDisarmed;
    case RuleState::kQuiet:
        break;
    }
    return kQuiet;
}

class Painter {
public:
    explicit Painter(RgbPicture& picture)
        : _canvas(picture.height, picture.width, CV_8UC3, picture.pixels.data()),
          _unit(std::max(std::min(picture.width, picture.height) / 540.0, 0.6))
    {
    }

    void cells(const kit::CellsRecord& record)
    {
        for (unsigned row = 0; row < record.rows; ++row) {
            for (unsigned column = 0; column < record.columns; ++column) {
                if (!record.at(column, row)) {
                    continue;
                }
                if (record.kind == CellsKind::kMoving) {
                    blend(cellBox(record, column, row), kCells, 0.22);
                } else {
                    outline(record, column, row);
                }
            }
        }
    }

    void ruleRegion(const kit::RuleRecord& rule)
    {
        const std::vector<cv::Point> points = polygon(rule);
        const cv::Rect area = points.empty() ? cv::Rect() : cv::boundingRect(points) & whole();
        // A frame around everything says nothing that the rule's name in the corner does not say.
        if (points.size() < 2 || area.area() > whole().area() * 9 / 10) {
            return;
        }
        const cv::Scalar colour = colourOf(rule.state);
        if (points.size() > 2) {
            cv::Mat tinted = _canvas(area).clone();
            cv::fillPoly(tinted, std::vector<std::vector<cv::Point>>{points}, colour, cv::LINE_AA, 0, -area.tl());
            const double strength = rule.state == RuleState::kAlarm ? 0.2 : 0.1;
            cv::addWeighted(tinted, strength, _canvas(area), 1 - strength, 0, _canvas(area));
        }
        cv::polylines(_canvas, std::vector<std::vector<cv::Point>>{points}, points.size() > 2, colour, thickness(2),
                      cv::LINE_AA);
    }

    void ruleName(const kit::RuleRecord& rule)
    {
        if (rule.name.empty() || rule.points.empty()) {
            return;
        }
        const std::vector<cv::Point> points = polygon(rule);
        const auto highest = std::min_element(
            points.begin(), points.end(), [](cv::Point a, cv::Point b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
        cv::Rect area = tagArea(rule.name, *highest);
        // Rules of one place stand in a list, the first one on top.
        const auto taken = [&](const cv::Rect& other) { return (other & area).area() > 0; };
        for (int tries = 0; tries < 20 && std::any_of(_ruleTags.begin(), _ruleTags.end(), taken); ++tries) {
            area.y = std::min(area.y + lineHeight() + thickness(1), std::max(_canvas.rows - area.height, 0));
        }
        _ruleTags.push_back(area);
        tag(rule.name, area, colourOf(rule.state));
    }

    void box(const kit::BoxRecord& record)
    {
        const cv::Scalar colour = record.kind == BoxKind::kMoving ? kMoving : kResting;
        const cv::Point upperLeft = place(record.upperLeft);
        cv::rectangle(_canvas, upperLeft, place(record.lowerRight), kInk, thickness(4), cv::LINE_AA);
        cv::rectangle(_canvas, upperLeft, place(record.lowerRight), colour, thickness(2), cv::LINE_AA);
        const std::string name = "#" + std::to_string(record.id);
        tag(name, tagArea(name, upperLeft), colour);
    }

    void footLine(const std::string& left, const std::string& right)
    {
        const int height = lineHeight();
        const cv::Rect bar(0, _canvas.rows - height, _canvas.cols, height);
        blend(bar & whole(), kInk, 0.6);
        const cv::Point base(textPadding(), _canvas.rows - textPadding() - 1);
        text(left, base, kPaper);
        text(right, {_canvas.cols - textPadding() - textWidth(right), base.y}, kPaper);
    }

private:
    cv::Rect whole() const { return {0, 0, _canvas.cols, _canvas.rows}; }
    int thickness(int wanted) const { return std::max(static_cast<int>(std::lround(wanted * _unit)), 1); }
    double fontScale() const { return 0.42 * _unit; }
    int textPadding() const { return std::max(static_cast<int>(std::lround(4 * _unit)), 2); }
    int lineHeight() const { return static_cast<int>(std::lround(10 * _unit)) + 2 * textPadding(); }

    int textWidth(const std::string& line) const
    {
        int baseline = 0;
        return cv::getTextSize(line, cv::FONT_HERSHEY_SIMPLEX, fontScale(), thickness(1), &baseline).width;
    }

    void text(const std::string& line, cv::Point base, const cv::Scalar& colour)
    {
        cv::putText(_canvas, line, base, cv::FONT_HERSHEY_SIMPLEX, fontScale(), colour, thickness(1), cv::LINE_AA);
    }

    // Of a label whose lower left corner is at the place, moved into the picture where it would leave it.
    cv::Rect tagArea(const std::string& line, cv::Point corner) const
    {
        const cv::Size size(textWidth(line) + 2 * textPadding(), lineHeight());
        cv::Rect area(corner - cv::Point(thickness(1), size.height), size);
        area.x = std::clamp(area.x, 0, std::max(_canvas.cols - area.width, 0));
        area.y = std::clamp(area.y, 0, std::max(_canvas.rows - area.height, 0));
        return area;
    }

    void tag(const std::string& line, const cv::Rect& area, const cv::Scalar& colour)
    {
        cv::rectangle(_canvas, area, colour, cv::FILLED);
        text(line, {area.x + textPadding(), area.y + area.height - textPadding() - 1}, kInk);
    }

    // The edges of a cell on whose other side nothing is watched; at the picture's own edge there are none.
    void outline(const kit::CellsRecord& record, unsigned column, unsigned row)
    {
        const cv::Rect box = cellBox(record, column, row);
        const cv::Point lowerRight = box.br();
        if (column > 0 && !record.at(column - 1, row)) {
            edge(box.tl(), {box.x, lowerRight.y});
        }
        if (column + 1 < record.columns && !record.at(column + 1, row)) {
            edge({lowerRight.x, box.y}, lowerRight);
        }
        if (row > 0 && !record.at(column, row - 1)) {
            edge(box.tl(), {lowerRight.x, box.y});
        }
        if (row + 1 < record.rows && !record.at(column, row + 1)) {
            edge({box.x, lowerRight.y}, lowerRight);
        }
    }

    void edge(cv::Point from, cv::Point to) { cv::line(_canvas, from, to, kCells, thickness(1)); }

    void blend(const cv::Rect& area, const cv::Scalar& colour, double strength)
    {
        if (area.empty()) {
            return;
        }
        cv::Mat part = _canvas(area);
        part.convertTo(part, -1, 1 - strength, 0);
        part += colour * strength;
    }

    cv::Point place(const kit::PicturePoint& point) const
    {
        return {static_cast<int>(std::lround(point.x * (_canvas.cols - 1))),
                static_cast<int>(std::lround(point.y * (_canvas.rows - 1)))};
    }

    std::vector<cv::Point> polygon(const kit::RuleRecord& rule) const
    {
        std::vector<cv::Point> points;
        for (const kit::PicturePoint& point : rule.points) {
            points.push_back(place(point));
        }
        return points;
    }

    cv::Rect cellBox(const kit::CellsRecord& record, unsigned column, unsigned row) const
    {
        const auto edgeAt = [](unsigned index, unsigned count, int pixels) {
            return static_cast<int>(static_cast<std::uint64_t>(index) * static_cast<std::uint64_t>(pixels) / count);
        };
        const int left = edgeAt(column, record.columns, _canvas.cols);
        const int top = edgeAt(row, record.rows, _canvas.rows);
        return {left, top, edgeAt(column + 1, record.columns, _canvas.cols) - left,
                edgeAt(row + 1, record.rows, _canvas.rows) - top};
    }

    cv::Mat _canvas;
    std::vector<cv::Rect> _ruleTags;
    double _unit; ///< 1 for a picture of 540 lines
};

std::string timeText(std::int64_t nanoseconds)
{
    std::array<char, 16> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03d UTC", static_cast<int>(nanoseconds / 1000000 % 1000));
    return base::utcText(nanoseconds / 1000000000, "%Y-%m-%d %H:%M:%S") + fraction.data();
}

std::string countText(std::size_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string stateText(const Drawing& drawing)
{
    std::string text = countText(drawing.movingBoxes(), "object", "objects");
    if (drawing.alarms() != 0) {
        text += ", " + countText(drawing.alarms(), "alarm", "alarms");
    }
    return text;
}

} // namespace

void paintOverlay(RgbPicture& picture, const Drawing& drawing, std::int64_t nanoseconds, const std::string& caption)
{
    Painter painter(picture);
    for (const auto& record : drawing.cells) {
        painter.cells(record);
    }
    for (const auto& rule : drawing.rules) {
        painter.ruleRegion(rule);
    }
    for (const auto& record : drawing.boxes) {
        painter.box(record);
    }
    for (const auto& rule : drawing.rules) {
        painter.ruleName(rule);
    }
    painter.footLine(timeText(nanoseconds), (caption.empty() ? "" : caption + "   ") + stateText(drawing));
}

} // namespace camera::video
