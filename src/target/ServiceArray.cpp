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

namespace {

void release(char** list)
{
    for (char** entry = list; *entry != nullptr; ++entry) {
        std::free(*entry);
    }
    std::free(list);
}

} // namespace

char** toServiceArray(const std::vector<std::string>& strings)
{
    char** const list = static_cast<char**>(std::calloc(strings.size() + 1, sizeof(char*)));
    if (list == nullptr) {
        return nullptr;
    }
    for (std::size_t i = 0; i < strings.size(); ++i) {
        list[i] = strdup(strings[i].c_str());
        if (list[i] == nullptr) {
            // A gap would end the list: the receiver would take it for whole and free nothing behind it.
            release(list);
            return nullptr;
        }
    }
    return list;
}

} // namespace korva::meridan
