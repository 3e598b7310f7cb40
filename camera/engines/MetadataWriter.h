#pragma once

#include "camera/engines/Alarm.h"
#include "camera/engines/Tracker.h"

#include <string>
#include <vector>

namespace camera::engines {

/**
 * Builds one engine's tt:Frame and puts it into the document that all engines share.
 * Positions in documents are normalised: -1 to 1, the middle of the picture is 0, y points up.
 */
class MetadataWriter {
public:
    MetadataWriter(const UtcTime& time, const std::string& source);

    void addObject(const TrackedObject& object, const cv::Size& picture);

    /// @param bits see CellMask.h. At most once, after the objects.
    void addCells(long columns, long rows, const std::vector<std::uint8_t>& bits);

    /// Ends the frame and inserts it into the document: a new one when there is none, else the last
    /// tt:VideoAnalytics of the existing one. A text that is no tt:MetadataStream is left as it is.
    void insertInto(std::string& document);

private:
    std::string _frame;
};

} // namespace camera::engines
