#include "camera/engines/MetadataWriter.h"

#include "camera/engines/CellMask.h"
#include "camera/engines/XmlText.h"

namespace camera::engines {

namespace {

constexpr std::string_view kStreamStart = "<tt:MetadataStream xmlns:tt=\"http://www.onvif.org/ver10/schema\">";
constexpr std::string_view kStreamEnd = "</tt:MetadataStream>";
constexpr std::string_view kAnalyticsStart = "<tt:VideoAnalytics>";
constexpr std::string_view kAnalyticsEnd = "</tt:VideoAnalytics>";

double normalX(double x, const cv::Size& picture)
{
    return 2 * x / picture.width - 1;
}

double normalY(double y, const cv::Size& picture)
{
    return 1 - 2 * y / picture.height;
}

} // namespace

MetadataWriter::MetadataWriter(const UtcTime& time, const std::string& source)
{
    _frame.reserve(1024);
    _frame += "<tt:Frame UtcTime=\"";
    _frame += time.text();
    _frame += "\" Source=\"";
    _frame += escaped(source);
    _frame += "\">";
}

void MetadataWriter::addObject(const TrackedObject& object, const cv::Size& picture)
{
    _frame += "<tt:Object ObjectId=\"";
    _frame += std::to_string(object.id);
    _frame += "\"><tt:Appearance><tt:Shape><tt:BoundingBox";
    appendNumber(_frame, "left", normalX(object.box.x, picture));
    appendNumber(_frame, "top", normalY(object.box.y, picture));
    appendNumber(_frame, "right", normalX(object.box.br().x, picture));
    appendNumber(_frame, "bottom", normalY(object.box.br().y, picture));
    _frame += "/><tt:CenterOfGravity";
    appendNumber(_frame, "x", normalX(object.center.x + 0.5, picture));
    appendNumber(_frame, "y", normalY(object.center.y + 0.5, picture));
    _frame += "/></tt:Shape></tt:Appearance></tt:Object>";
}

void MetadataWriter::addCells(long columns, long rows, const std::vector<std::uint8_t>& bits)
{
    _frame += "<tt:Extension><tt:MotionInCells Columns=\"";
    _frame += std::to_string(columns);
    _frame += "\" Rows=\"";
    _frame += std::to_string(rows);
    _frame += "\" Cells=\"";
    _frame += encodeCells(bits);
    _frame += "\"/></tt:Extension>";
}

void MetadataWriter::insertInto(std::string& document)
{
    _frame += "</tt:Frame>";
    if (document.empty()) {
        document.reserve(_frame.size() + 512);
        document += kStreamStart;
        document += kAnalyticsStart;
        document += _frame;
        document += kAnalyticsEnd;
        document += kStreamEnd;
        return;
    }
    const std::size_t end = document.rfind(kStreamEnd);
    if (end == std::string::npos) {
        return;
    }
    const std::size_t part = end >= kAnalyticsEnd.size() ? end - kAnalyticsEnd.size() : 0;
    if (document.compare(part, kAnalyticsEnd.size(), kAnalyticsEnd) == 0) {
        document.insert(part, _frame);
    } else {
        document.insert(end, std::string(kAnalyticsStart) + _frame + std::string(kAnalyticsEnd));
    }
}

} // namespace camera::engines
