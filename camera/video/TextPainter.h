#pragma once

#include "camera/video/RgbPicture.h"

#include <opencv2/core.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace camera::video {

/**
 * Draws lines of text in the fonts of this system.
 *
 * Each character comes from the first font that has it, in the order in which the system would show a sans-serif text;
 * one that no font has is an empty box. Characters stand from left to right as they come: there are no ligatures, and
 * no order of their own for scripts that are written from right to left. Thread-bound.
 */
class TextPainter {
public:
    /// Finds the fonts. Without any every character is a box. @throws std::bad_alloc
    TextPainter();
    ~TextPainter();
    TextPainter(const TextPainter&) = delete;
    TextPainter& operator=(const TextPainter&) = delete;

    /// @param pixels the height of the letters' body
    int width(const std::u32string& text, int pixels);

    /// The text, with an ellipsis in place of what does not fit into so many pixels.
    std::u32string cut(const std::u32string& text, int pixels, int widthPixels);

    /// @param base where the first letter stands, on the line under it; what lies outside of the picture is left out.
    void draw(RgbPicture& picture, const std::u32string& text, int pixels, cv::Point base, const cv::Scalar& colour);

private:
    struct Library;

    /// Coverage of a character, row by row, 0 to 255.
    struct Glyph {
        int left = 0; ///< from the pen to the first column
        int top = 0;  ///< from the line up to the first row
        int width = 0;
        int height = 0;
        int advance = 0;
        std::vector<std::uint8_t> coverage{};
    };

    const Glyph& glyph(char32_t character, int pixels);
    Glyph rendered(char32_t character, int pixels);

    std::unique_ptr<Library> _library;
    std::map<std::pair<char32_t, int>, Glyph> _glyphs;
};

} // namespace camera::video
