#include "camera/video/OverlayPainter.h"

#include "camera/base/Text.h"
#include "camera/base/Utf8.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>
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

cv::Scalar colourOf(BoxKind kind)
{
    return kind == BoxKind::kMoving ? kMoving : kResting;
}

class Painter {
public:
    Painter(RgbPicture& picture, TextPainter& text)
        : _picture(picture),
          _text(text),
          _canvas(picture.height, picture.width, CV_8UC3, picture.pixels.data()),
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

    void box(const kit::BoxRecord& record)
    {
        cv::rectangle(_canvas, place(record.upperLeft), place(record.lowerRight), kInk, thickness(4), cv::LINE_AA);
        cv::rectangle(_canvas, place(record.upperLeft), place(record.lowerRight), colourOf(record.kind), thickness(2),
                      cv::LINE_AA);
        _objects.push_back(cv::Rect(place(record.upperLeft), place(record.lowerRight)));
    }

    void ruleName(const kit::RuleRecord& rule)
    {
        if (!rule.name.empty() && !rule.points.empty()) {
            label(rule.name, cv::boundingRect(polygon(rule)), colourOf(rule.state));
        }
    }

    void boxName(const kit::BoxRecord& record)
    {
        label("#" + std::to_string(record.id), cv::Rect(place(record.upperLeft), place(record.lowerRight)),
              colourOf(record.kind));
    }

    void footLine(const std::string& left, const std::string& right)
    {
        const int height = lineHeight();
        const cv::Rect bar(0, _canvas.rows - height, _canvas.cols, height);
        blend(bar & whole(), kInk, 0.6);
        const std::u32string leftText = base::codePoints(left);
        const std::u32string rightText = base::codePoints(base::printable(right));
        const int leftEnd = textPadding() + _text.width(leftText, textPixels());
        const std::u32string shown =
            _text.cut(rightText, textPixels(), std::max(_canvas.cols - leftEnd - 2 * textPadding(), 0));
        text(leftText, {textPadding(), bar.y}, kPaper);
        text(shown, {_canvas.cols - textPadding() - _text.width(shown, textPixels()), bar.y}, kPaper);
    }

private:
    cv::Rect whole() const { return {0, 0, _canvas.cols, _canvas.rows}; }
    int thickness(int wanted) const { return std::max(static_cast<int>(std::lround(wanted * _unit)), 1); }
    int textPixels() const { return std::max(static_cast<int>(std::lround(13 * _unit)), 8); }
    int textPadding() const { return std::max(static_cast<int>(std::lround(3 * _unit)), 2); }
    int lineHeight() const { return textPixels() + 2 * textPadding(); }

    // In a line whose upper left corner is given.
    void text(const std::u32string& line, cv::Point corner, const cv::Scalar& colour)
    {
        // In most fonts four fifths of the body stand above the line.
        const int base = corner.y + textPadding() + textPixels() * 4 / 5;
        _text.draw(_picture, line, textPixels(), {corner.x, base}, colour);
    }

    void label(const std::string& name, const cv::Rect& region, const cv::Scalar& colour)
    {
        const std::u32string line = _text.cut(base::codePoints(base::printable(name)), textPixels(), _canvas.cols / 3);
        const cv::Rect area = freeArea({_text.width(line, textPixels()) + 2 * textPadding(), lineHeight()}, region);
        _labels.push_back(area);
        cv::rectangle(_canvas, area & whole(), colour, cv::FILLED);
        text(line, {area.x + textPadding(), area.y}, kInk);
    }

    // The first place at the region that covers no label and no object, else the one that covers least.
    cv::Rect freeArea(const cv::Size& size, const cv::Rect& region) const
    {
        cv::Rect best;
        int least = std::numeric_limits<int>::max();
        for (const cv::Point& corner : cornersAround(size, region)) {
            const cv::Rect area(std::clamp(corner.x, 0, std::max(_canvas.cols - size.width, 0)),
                                std::clamp(corner.y, 0, std::max(_canvas.rows - lineHeight() - size.height, 0)),
                                size.width, size.height);
            const int covered = coveredBy(area);
            if (covered < least) {
                least = covered;
                best = area;
            }
            if (covered == 0) {
                break;
            }
        }
        return best;
    }

    // Above the region, then line by line down its left edge, so that the names of several rules stand in a list, then
    // around it and down its right edge.
    std::vector<cv::Point> cornersAround(const cv::Size& size, const cv::Rect& region) const
    {
        constexpr int kLines = 12;
        const int gap = thickness(1);
        const int left = region.x - gap;
        const int right = region.x + region.width - size.width + gap;
        const auto line = [&](int number) { return region.y + number * (size.height + gap); };
        std::vector<cv::Point> corners = {{left, region.y - size.height}};
        for (int number = 0; number < kLines; ++number) {
            corners.emplace_back(left, line(number));
        }
        corners.insert(corners.end(), {{right, region.y - size.height},
                                       {left, region.y + region.height + gap},
                                       {right, region.y + region.height + gap},
                                       {region.x + region.width + gap, region.y},
                                       {left - size.width, region.y}});
        for (int number = 0; number < kLines; ++number) {
            corners.emplace_back(right, line(number));
        }
        return corners;
    }

    int coveredBy(const cv::Rect& area) const
    {
        int covered = 0;
        for (const cv::Rect& label : _labels) {
            covered += 4 * (label & area).area(); // a label that cannot be read is worse than a covered object
        }
        for (const cv::Rect& object : _objects) {
            covered += (object & area).area();
        }
        return covered;
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

    RgbPicture& _picture;
    TextPainter& _text;
    cv::Mat _canvas; ///< the picture's memory
    std::vector<cv::Rect> _objects;
    std::vector<cv::Rect> _labels;
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

void OverlayPainter::paint(RgbPicture& picture, const Drawing& drawing, std::int64_t nanoseconds,
                           const std::string& caption)
{
    Painter painter(picture, _text);
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
    for (const auto& record : drawing.boxes) {
        painter.boxName(record);
    }
    painter.footLine(timeText(nanoseconds), (caption.empty() ? "" : caption + "   ") + stateText(drawing));
}

} // namespace camera::video
