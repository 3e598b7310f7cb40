#include "camera/base/ErrorLines.h"

namespace camera::base {

namespace {

thread_local ErrorLines* innermost = nullptr;

} // namespace

ErrorLines::ErrorLines() : _outer(innermost)
{
    innermost = this;
}

ErrorLines::~ErrorLines()
{
    innermost = _outer;
}

bool ErrorLines::wanted()
{
    return innermost != nullptr;
}

void ErrorLines::add(const std::string& text)
{
    for (ErrorLines* lines = innermost; lines != nullptr; lines = lines->_outer) {
        if (lines->_texts.size() < kMost) {
            lines->_texts.push_back(text);
        }
    }
}

} // namespace camera::base
