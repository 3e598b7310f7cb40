#include "target/ServiceArray.h"

#include <cstdlib>
#include <cstring>

namespace korva::meridan {

std::vector<std::string> fromServiceArray(const char* const* list)
{
    std::vector<std::string> strings;
    for (; list != nullptr && *list != nullptr; ++list) {
        strings.emplace_back(*list);
    }
    return strings;
}

char** toServiceArray(const std::vector<std::string>& strings)
{
    char** const list = static_cast<char**>(std::calloc(strings.size() + 1, sizeof(char*)));
    if (list == nullptr) {
        return nullptr;
    }
    for (std::size_t i = 0; i < strings.size(); ++i) {
        list[i] = strdup(strings[i].c_str());
    }
    return list;
}

} // namespace korva::meridan
