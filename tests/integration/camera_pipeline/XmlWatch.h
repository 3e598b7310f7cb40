#pragma once

#include <functional>

/// This program stands in front of the XML library: calls of the module end up here.
struct XmlWatch {
    static XmlWatch& instance();
    std::function<void()> onCleanup; ///< called inside the clean-up
    int cleanups = 0;
    int uses = 0; ///< calls that would set the library's state up
};
