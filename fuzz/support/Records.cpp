#include "support/Records.h"

#include <string_view>

namespace fuzz {

std::vector<std::string> splitRecords(const std::uint8_t* data, std::size_t size)
{
    constexpr std::string_view kSeparator = "\n%";
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    if (!rest.empty() && rest.front() == '%') {
        rest.remove_prefix(1);
    }
    std::vector<std::string> records;
    std::size_t end = 0;
    while (records.size() + 1 < kMostRecords && (end = rest.find(kSeparator)) != std::string_view::npos) {
        records.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end + kSeparator.size());
    }
    records.emplace_back(rest);
    return records;
}

} // namespace fuzz
