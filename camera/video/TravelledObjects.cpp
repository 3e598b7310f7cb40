#include "camera/video/TravelledObjects.h"

#include <cmath>
#include <utility>

namespace camera::video {

std::size_t TravelledObjects::count(const Drawing& drawing)
{
    std::map<std::uint32_t, kit::PicturePoint> seen;
    std::size_t travelled = 0;
    for (const kit::BoxRecord& box : drawing.boxes) {
        const kit::PicturePoint centre = {(box.upperLeft.x + box.lowerRight.x) / 2,
                                          (box.upperLeft.y + box.lowerRight.y) / 2};
        const auto known = _firstSeen.find(box.id);
        const kit::PicturePoint first = known == _firstSeen.end() ? centre : known->second;
        seen[box.id] = first;
        const bool away = std::abs(centre.x - first.x) >= (box.lowerRight.x - box.upperLeft.x) / 2 ||
                          std::abs(centre.y - first.y) >= (box.lowerRight.y - box.upperLeft.y) / 2;
        travelled += box.kind == kit::BoxKind::kMoving && away ? 1 : 0;
    }
    _firstSeen = std::move(seen);
    return travelled;
}

} // namespace camera::video
