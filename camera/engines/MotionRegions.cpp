#include "camera/engines/MotionRegions.h"

#include "camera/engines/EngineNames.h"
#include "camera/engines/MetadataWriter.h"
#include "camera/engines/Outputs.h"
#include "camera/engines/ParameterList.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace camera::engines {

namespace {

constexpr char kRegion[] = "MotionRegion";
constexpr std::size_t kMostPoints = 64;
constexpr std::int64_t kOnDelay = 0; // the tracker has already waited until the object is certain
constexpr std::int64_t kOffDelay = kNanosecondsPerSecond / 2;

constexpr EventForm kMotionEvent = {kMotionTopic, "VideoSource", nullptr, "RuleName", "State"};

const char* localName(const pugi::xml_node& node)
{
    const char* colon = std::strchr(node.name(), ':');
    return colon == nullptr ? node.name() : colon + 1;
}

std::vector<kit::PicturePoint> wholePicture()
{
    return {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
}

std::vector<kit::PicturePoint> readPolygon(const pugi::xml_node& polygon)
{
    allowOnly(kRegion, polygon, {"tt:Point"}, {});
    std::vector<kit::PicturePoint> points;
    for (const pugi::xml_node& point : polygon.children()) {
        allowOnly(kRegion, point, {}, {"x", "y"});
        points.push_back({(1 + parseReal(kRegion, point.attribute("x").value(), -1, 1)) / 2,
                          (1 - parseReal(kRegion, point.attribute("y").value(), -1, 1)) / 2});
    }
    if (points.size() < 3 || points.size() > kMostPoints) {
        throw Refusal(kRegion, std::to_string(points.size()) + " points",
                      "a polygon takes 3 to " + std::to_string(kMostPoints));
    }
    return points;
}

/// The region as it is stored: the same values, absent ones filled in, and the usual prefix.
std::string printRegion(const MotionRegionRule& rule)
{
    std::string text = std::string("<axt:MotionRegionConfig Armed=\"") + (rule.armed ? "true" : "false") +
                       "\" Sensitivity=\"" + printReal(rule.sensitivity) + "\"><tt:Polygon>";
    for (const kit::PicturePoint& point : rule.polygon) {
        text += "<tt:Point x=\"" + printReal(2 * point.x - 1) + "\" y=\"" + printReal(1 - 2 * point.y) + "\"/>";
    }
    return text + "</tt:Polygon></axt:MotionRegionConfig>";
}

} // namespace

MotionModule MotionModule::read(ParameterList& parameters)
{
    MotionModule module;
    module.sensitivity = parameters.integer("Sensitivity", module.sensitivity, 0, 100);
    module.minSizePercent = parameters.real("MinSize", module.minSizePercent, 0, 100);
    return module;
}

MotionRegionRule MotionRegionRule::read(ParameterList& parameters)
{
    MotionRegionRule rule;
    rule.polygon = wholePicture();
    if (const pugi::xml_node region = parameters.element(kRegion)) {
        if (std::string(localName(region)) != "MotionRegionConfig") {
            throw Refusal(kRegion, region.name(), "it takes an axt:MotionRegionConfig");
        }
        allowOnly(kRegion, region, {"tt:Polygon"}, {"Armed", "Sensitivity"});
        if (const pugi::xml_attribute armed = region.attribute("Armed")) {
            rule.armed = parseBoolean(kRegion, armed.value());
        }
        if (const pugi::xml_attribute sensitivity = region.attribute("Sensitivity")) {
            rule.sensitivity = parseReal(kRegion, sensitivity.value(), 0, 1);
        }
        const pugi::xml_node polygon = region.child("tt:Polygon");
        if (polygon.next_sibling()) {
            throw Refusal(kRegion, "2 polygons", "a region has one");
        }
        if (polygon) {
            rule.polygon = readPolygon(polygon);
        }
    }
    parameters.setElement(kRegion, printRegion(rule));
    return rule;
}

const ComponentTypes kMotionRegionTypes = {
    kMotionEngine, kMotionModule, kMotionRule, [](ParameterList& parameters) { MotionModule::read(parameters); },
    [](ParameterList& parameters, const Component* /*module*/) { MotionRegionRule::read(parameters); }};

MotionRegionProgram::MotionRegionProgram(const Components& components, Tracker& tracker)
    : _tracker(tracker), _source(kMotionEngine)
{
    for (const Component& component : components) {
        const bool active = readParameters(component.parameters, readCommonParameters);
        if (!component.isRule) {
            _module = readParameters(component.parameters, MotionModule::read);
            _moduleActive = active;
            _source = component.name;
        } else if (active) {
            MotionRegionRule settings = readParameters(component.parameters, MotionRegionRule::read);
            add(_rules.emplace_back(
                RegionRule{{Alarm(kMotionEvent, component.name), kOnDelay, kOffDelay, settings.armed}, settings}));
        }
    }
}

void MotionRegionProgram::analyse(const Foreground& foreground)
{
    if (_moduleActive) {
        _tracker.update(foreground, _module.minSizePercent);
    } else {
        _tracker.forget();
    }
    const bool resized = foreground.mask.size() != _picture;
    _picture = foreground.mask.size();
    for (RegionRule& rule : _rules) {
        if (resized) {
            drawPolygon(rule, _picture);
        }
        rule.motion = rule.armed && movesInside(rule, foreground.mask);
    }
}

void MotionRegionProgram::drawPolygon(RegionRule& rule, const cv::Size& picture) const
{
    std::vector<cv::Point> points;
    for (const kit::PicturePoint& point : rule.settings.polygon) {
        points.emplace_back(static_cast<int>(std::lround(point.x * picture.width)),
                            static_cast<int>(std::lround(point.y * picture.height)));
    }
    rule.inside = cv::Mat::zeros(picture, CV_8UC1);
    cv::fillPoly(rule.inside, std::vector<std::vector<cv::Point>>{points}, cv::Scalar(255));
    rule.pixels = cv::countNonZero(rule.inside);
}

bool MotionRegionProgram::movesInside(const RegionRule& rule, const cv::Mat& mask) const
{
    int moving = 0;
    cv::Mat both;
    for (const TrackedObject& object : _tracker.objects()) {
        cv::bitwise_and(mask(object.box), rule.inside(object.box), both);
        moving += cv::countNonZero(both);
    }
    return moving > 0 && moving >= rule.settings.neededShare() * rule.pixels;
}

kit::BoxRecord MotionRegionProgram::boxOf(const TrackedObject& object) const
{
    const auto point = [&](const cv::Point& pixel) {
        return kit::PicturePoint{static_cast<double>(pixel.x) / _picture.width,
                                 static_cast<double>(pixel.y) / _picture.height};
    };
    return {object.id, kit::BoxKind::kMoving, point(object.box.tl()), point(object.box.br())};
}

void MotionRegionProgram::report(const UtcTime& time, MetadataBuffers& outputs)
{
    const kit::FrameRecord start{time.seconds, time.nanoseconds, kMotionEngine};
    MetadataWriter metadata(time, _source);
    for (const TrackedObject& object : _tracker.objects()) {
        metadata.addObject(object, _picture);
    }
    metadata.insertInto(outputs.metadataXml);

    writeMotion(outputs, [&](kit::DrawingWriter& writer) {
        writer.add(start);
        for (const TrackedObject& object : _tracker.objects()) {
            writer.add(boxOf(object));
        }
    });
    writeDrawing(outputs, [&](kit::DrawingWriter& writer) {
        writer.add(start);
        for (const RegionRule& rule : _rules) {
            writer.add(kit::RuleRecord{rule.shown, rule.alarm.rule(), rule.settings.polygon});
        }
        for (const TrackedObject& object : _tracker.objects()) {
            writer.add(boxOf(object));
        }
    });
}

} // namespace camera::engines
