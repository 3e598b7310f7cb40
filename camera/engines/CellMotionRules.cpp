#include "camera/engines/CellMotionRules.h"

#include "camera/engines/CellMask.h"
#include "camera/engines/EngineNames.h"
#include "camera/engines/MetadataWriter.h"
#include "camera/engines/Outputs.h"
#include "camera/engines/ParameterList.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <tuple>

namespace camera::engines {

namespace {

constexpr long kMostCellsAside = 128;
constexpr long kLongestDelayMs = 3'600'000;
constexpr int kMovingShare = 8; // a cell moves when one eighth of its pixels are foreground

constexpr EventForm kCellMotionEvent = {kCellMotionTopic, "VideoSourceConfigurationToken",
                                        "VideoAnalyticsConfigurationToken", "Rule", "IsMotion"};

double coordinate(const pugi::xml_node& node, const char* attribute)
{
    return parseReal("Layout", node.attribute(attribute).value(), -1000, 1000);
}

/// One axis of a grid as fractions of the picture: where it begins and where it ends. Documents differ in the
/// direction that they give the rows; cells always count from the upper left.
std::pair<double, double> span(double translate, double scale, long count, double direction)
{
    const double a = (1 + direction * translate) / 2;
    const double b = (1 + direction * (translate + scale * static_cast<double>(count))) / 2;
    return {std::clamp(std::min(a, b), 0.0, 1.0), std::clamp(std::max(a, b), 0.0, 1.0)};
}

CellLayout readLayout(const pugi::xml_node& node)
{
    if (std::string(node.name()) != "tt:CellLayout") {
        throw Refusal("Layout", node.name(), "it takes a tt:CellLayout");
    }
    const pugi::xml_node transformation = node.child("tt:Transformation");
    const pugi::xml_node translate = transformation.child("tt:Translate");
    const pugi::xml_node scale = transformation.child("tt:Scale");
    allowOnly("Layout", node, {"tt:Transformation"}, {"Columns", "Rows"});
    allowOnly("Layout", transformation, {"tt:Translate", "tt:Scale"}, {});
    allowOnly("Layout", translate, {}, {"x", "y"});
    allowOnly("Layout", scale, {}, {"x", "y"});
    CellLayout layout;
    layout.columns = parseInteger("Layout", node.attribute("Columns").value(), 1, kMostCellsAside);
    layout.rows = parseInteger("Layout", node.attribute("Rows").value(), 1, kMostCellsAside);
    std::tie(layout.left, layout.right) = span(coordinate(translate, "x"), coordinate(scale, "x"), layout.columns, 1);
    std::tie(layout.top, layout.bottom) = span(coordinate(translate, "y"), coordinate(scale, "y"), layout.rows, -1);
    if (layout.left >= layout.right || layout.top >= layout.bottom) {
        throw Refusal("Layout", scale.attribute("x").value(), "the cells cover nothing of the picture");
    }
    return layout;
}

std::string defaultLayout()
{
    const CellLayout layout;
    return "<tt:CellLayout Columns=\"" + std::to_string(layout.columns) + "\" Rows=\"" + std::to_string(layout.rows) +
           "\"><tt:Transformation><tt:Translate x=\"-1\" y=\"1\"/><tt:Scale x=\"" +
           printReal(2.0 / static_cast<double>(layout.columns)) + "\" y=\"" +
           printReal(-2.0 / static_cast<double>(layout.rows)) + "\"/></tt:Transformation></tt:CellLayout>";
}

} // namespace

CellMotionModule CellMotionModule::read(ParameterList& parameters)
{
    CellMotionModule module;
    module.sensitivity = parameters.integer("Sensitivity", module.sensitivity, 0, 100);
    if (const pugi::xml_node layout = parameters.element("Layout")) {
        module.layout = readLayout(layout);
    } else {
        parameters.setElement("Layout", defaultLayout());
    }
    return module;
}

CellMotionRule CellMotionRule::read(ParameterList& parameters, const CellLayout& layout)
{
    CellMotionRule rule;
    rule.minCount = parameters.integer("MinCount", rule.minCount, 1, kMostCellsAside * kMostCellsAside);
    rule.onDelayMs = parameters.integer("AlarmOnDelay", rule.onDelayMs, 0, kLongestDelayMs);
    rule.offDelayMs = parameters.integer("AlarmOffDelay", rule.offDelayMs, 0, kLongestDelayMs);
    const std::vector<std::uint8_t> all(layout.maskBytes(), 0xff);
    const std::string cells = parameters.text("ActiveCells", encodeCells(all));
    const auto bits = decodeCells(cells, kMostCellsAside * kMostCellsAside / 8);
    if (!bits || bits->empty()) {
        throw Refusal("ActiveCells", cells, "it takes one bit per cell, packed with PackBits, in base64");
    }
    rule.activeCells = *bits;
    return rule;
}

const ComponentTypes kCellMotionTypes = {
    kSimpleEngine, kCellMotionModule, kCellMotionRule,
    [](ParameterList& parameters) { CellMotionModule::read(parameters); },
    [](ParameterList& parameters, const Component* module) {
        const CellLayout layout =
            module == nullptr ? CellLayout() : readParameters(module->parameters, CellMotionModule::read).layout;
        CellMotionRule::read(parameters, layout);
    }};

CellMotionProgram::CellMotionProgram(const Components& components) : _source(kSimpleEngine)
{
    for (const Component& component : components) {
        const bool active = readParameters(component.parameters, readCommonParameters);
        if (!component.isRule) {
            _module = readParameters(component.parameters, CellMotionModule::read);
            _moduleActive = active;
            _source = component.name;
        } else if (active) {
            const auto read = [&](ParameterList& parameters) {
                return CellMotionRule::read(parameters, _module.layout);
            };
            CellMotionRule settings = readParameters(component.parameters, read);
            add(_rules.emplace_back(
                CellRule{{Alarm(kCellMotionEvent, component.name), settings.onDelayMs * kNanosecondsPerMillisecond,
                          settings.offDelayMs * kNanosecondsPerMillisecond},
                         settings,
                         firstCell(settings)}));
        }
    }
    _moving.columns = static_cast<std::uint16_t>(_module.layout.columns);
    _moving.rows = static_cast<std::uint16_t>(_module.layout.rows);
    _moving.bits.assign(_module.layout.maskBytes(), 0);
    _watched = _moving;
    _watched.kind = kit::CellsKind::kWatched;
    for (const CellRule& rule : _rules) {
        for (std::size_t i = 0; i < std::min(_watched.bits.size(), rule.settings.activeCells.size()); ++i) {
            _watched.bits[i] = static_cast<std::uint8_t>(_watched.bits[i] | rule.settings.activeCells[i]);
        }
    }
}

void CellMotionProgram::analyse(const Foreground& foreground)
{
    findMovingCells(foreground);
    for (CellRule& rule : _rules) {
        rule.motion = movingCells(rule.settings) >= rule.settings.minCount;
    }
}

void CellMotionProgram::findMovingCells(const Foreground& foreground)
{
    std::fill(_moving.bits.begin(), _moving.bits.end(), std::uint8_t{0});
    if (!_moduleActive || !foreground.known) {
        return;
    }
    for (long row = 0; row < _module.layout.rows; ++row) {
        for (long column = 0; column < _module.layout.columns; ++column) {
            const cv::Rect pixels = cell(column, row, foreground.mask.size());
            if (!pixels.empty() && cv::countNonZero(foreground.mask(pixels)) * kMovingShare >= pixels.area()) {
                _moving.set(static_cast<unsigned>(column), static_cast<unsigned>(row));
            }
        }
    }
}

cv::Rect CellMotionProgram::cell(long column, long row, const cv::Size& picture) const
{
    const CellLayout& layout = _module.layout;
    const auto edge = [](double from, double to, long index, long count, int pixels) {
        const double share = static_cast<double>(index) / static_cast<double>(count);
        return static_cast<int>(std::lround((from + (to - from) * share) * pixels));
    };
    const cv::Point upperLeft(edge(layout.left, layout.right, column, layout.columns, picture.width),
                              edge(layout.top, layout.bottom, row, layout.rows, picture.height));
    const cv::Point lowerRight(edge(layout.left, layout.right, column + 1, layout.columns, picture.width),
                               edge(layout.top, layout.bottom, row + 1, layout.rows, picture.height));
    return {upperLeft, lowerRight};
}

long CellMotionProgram::movingCells(const CellMotionRule& rule) const
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < std::min(_moving.bits.size(), rule.activeCells.size()); ++i) {
        count += std::bitset<8>(_moving.bits[i] & rule.activeCells[i]).count();
    }
    return static_cast<long>(count);
}

kit::PicturePoint CellMotionProgram::firstCell(const CellMotionRule& rule) const
{
    const CellLayout& layout = _module.layout;
    const auto watches = [&](long cell) {
        const auto byte = static_cast<std::size_t>(cell / 8);
        return byte < rule.activeCells.size() && (rule.activeCells[byte] >> (7 - cell % 8) & 1) != 0;
    };
    long first = 0;
    while (first < layout.columns * layout.rows && !watches(first)) {
        ++first;
    }
    const long cell = first < layout.columns * layout.rows ? first : 0;
    const auto place = [](double from, double to, long index, long count) {
        return from + (to - from) * static_cast<double>(index) / static_cast<double>(count);
    };
    return {place(layout.left, layout.right, cell % layout.columns, layout.columns),
            place(layout.top, layout.bottom, cell / layout.columns, layout.rows)};
}

void CellMotionProgram::report(const UtcTime& time, MetadataBuffers& outputs)
{
    const CellLayout& layout = _module.layout;
    MetadataWriter metadata(time, _source);
    metadata.addCells(layout.columns, layout.rows, _moving.bits);
    metadata.insertInto(outputs.metadataXml);

    writeMotion(outputs, [&](kit::DrawingWriter& writer) {
        writer.add(kit::FrameRecord{time.seconds, time.nanoseconds, kSimpleEngine});
        writer.add(_moving);
    });
    writeDrawing(outputs, [&](kit::DrawingWriter& writer) {
        writer.add(kit::FrameRecord{time.seconds, time.nanoseconds, kSimpleEngine});
        writer.add(_watched);
        writer.add(_moving);
        for (const CellRule& rule : _rules) {
            writer.add(kit::RuleRecord{rule.shown, rule.alarm.rule(), {rule.namePlace}});
        }
    });
}

} // namespace camera::engines
