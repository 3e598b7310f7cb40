#pragma once

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace kit {

/// A null-terminated list as a client gives it: the caller keeps it.
class InputList {
public:
    InputList(std::initializer_list<std::string> texts) : InputList(std::vector<std::string>(texts)) {}

    explicit InputList(std::vector<std::string> texts) : _texts(std::move(texts))
    {
        for (std::string& text : _texts) {
            _pointers.push_back(text.data());
        }
        _pointers.push_back(nullptr);
    }

    InputList(const InputList&) = delete;
    InputList& operator=(const InputList&) = delete;

    operator char**() { return _pointers.data(); } // passed as such

private:
    std::vector<std::string> _texts;
    std::vector<char*> _pointers;
};

/// Takes a list that the target handed out and frees it as a client does. A null list reads as one entry.
inline std::vector<std::string> takeList(char** list)
{
    if (list == nullptr) {
        return {"(no list)"};
    }
    std::vector<std::string> texts;
    for (char** entry = list; *entry != nullptr; ++entry) {
        texts.emplace_back(*entry);
        std::free(*entry);
    }
    std::free(list);
    return texts;
}

/// Takes a text that the target handed out.
inline std::string takeText(char* text)
{
    if (text == nullptr) {
        return "(no text)";
    }
    std::string copy = text;
    std::free(text);
    return copy;
}

} // namespace kit
