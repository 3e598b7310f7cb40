#include "camera/onvif/SenderRate.h"

#include <algorithm>

namespace camera::onvif {

bool SenderRate::takes(const std::string& sender, Clock::time_point now)
{
    forget(now);
    const auto known = _paidUntil.find(sender);
    const auto ofSender = (known == _paidUntil.end() ? now : known->second) + _ofSender.pause;
    const auto ofAll = std::max(_allPaidUntil, now) + _ofAll.pause;
    if (ofSender - now > _ofSender.atOnce * _ofSender.pause || ofAll - now > _ofAll.atOnce * _ofAll.pause) {
        return false;
    }
    _paidUntil[sender] = ofSender;
    _allPaidUntil = ofAll;
    return true;
}

void SenderRate::forget(Clock::time_point now)
{
    for (auto each = _paidUntil.begin(); each != _paidUntil.end();) {
        each = each->second <= now ? _paidUntil.erase(each) : std::next(each);
    }
}

} // namespace camera::onvif
