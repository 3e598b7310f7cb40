#include "camera/video/TextPainter.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <new>

namespace camera::video {

namespace {

constexpr std::size_t kMostGlyphs = 4096; ///< names come from outside: the store of drawn characters is bounded
constexpr char32_t kEllipsis = 0x2026;

bool isOutline(FcPattern* font)
{
    FcBool scalable = FcFalse;
    FcBool colour = FcFalse;
    FcPatternGetBool(font, FC_SCALABLE, 0, &scalable);
    FcPatternGetBool(font, FC_COLOR, 0, &colour);
    return scalable == FcTrue && colour == FcFalse;
}

// A frame as high as a capital letter.
template <class Glyph>
Glyph emptyBox(int pixels)
{
    Glyph box;
    box.width = std::max(pixels / 2, 3);
    box.height = std::max(pixels * 7 / 10, 4);
    box.left = 1;
    box.top = box.height;
    box.advance = box.width + 2;
    for (int y = 0; y < box.height; ++y) {
        for (int x = 0; x < box.width; ++x) {
            const bool edge = x == 0 || y == 0 || x == box.width - 1 || y == box.height - 1;
            box.coverage.push_back(edge ? 255 : 0);
        }
    }
    return box;
}

} // namespace

/// The fonts in the order in which they are asked for a character; a file is opened when it is needed first.
struct TextPainter::Library {
    struct Deleter {
        void operator()(FcConfig* settings) const { FcConfigDestroy(settings); }
        void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
        void operator()(FcFontSet* found) const { FcFontSetDestroy(found); }
    };

    Library()
    {
        config.reset(FcInitLoadConfigAndFonts());
        const std::unique_ptr<FcPattern, Deleter> wanted(FcPatternCreate());
        if (FT_Init_FreeType(&freetype) != 0 || !wanted) {
            throw std::bad_alloc();
        }
        FcPatternAddString(wanted.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>("sans-serif"));
        FcConfigSubstitute(config.get(), wanted.get(), FcMatchPattern);
        FcDefaultSubstitute(wanted.get());
        FcResult result{};
        fonts.reset(FcFontSort(config.get(), wanted.get(), FcTrue, nullptr, &result));
        faces.resize(fonts ? static_cast<std::size_t>(fonts->nfont) : 0, nullptr);
    }

    ~Library() { FT_Done_FreeType(freetype); } // closes the faces too

    /// Null when no font has the character.
    FT_Face faceWith(char32_t character)
    {
        for (std::size_t i = 0; i < faces.size(); ++i) {
            FcPattern* const font = fonts->fonts[i];
            FcCharSet* characters = nullptr;
            if (isOutline(font) && FcPatternGetCharSet(font, FC_CHARSET, 0, &characters) == FcResultMatch &&
                FcCharSetHasChar(characters, character) == FcTrue && open(i)) {
                return faces[i];
            }
        }
        return nullptr;
    }

    bool open(std::size_t i)
    {
        FcChar8* file = nullptr;
        int index = 0;
        FcPatternGetInteger(fonts->fonts[i], FC_INDEX, 0, &index);
        return faces[i] != nullptr ||
               (FcPatternGetString(fonts->fonts[i], FC_FILE, 0, &file) == FcResultMatch &&
                FT_New_Face(freetype, reinterpret_cast<const char*>(file), index, &faces[i]) == 0);
    }

    std::unique_ptr<FcConfig, Deleter> config;
    std::unique_ptr<FcFontSet, Deleter> fonts;
    FT_Library freetype = nullptr;
    std::vector<FT_Face> faces;
};

TextPainter::TextPainter() : _library(std::make_unique<Library>())
{
}

TextPainter::~TextPainter() = default;

int TextPainter::width(const std::u32string& text, int pixels)
{
    int sum = 0;
    for (const char32_t character : text) {
        sum += glyph(character, pixels).advance;
    }
    return sum;
}

std::u32string TextPainter::cut(const std::u32string& text, int pixels, int widthPixels)
{
    if (width(text, pixels) <= widthPixels) {
        return text;
    }
    int used = glyph(kEllipsis, pixels).advance;
    std::u32string kept;
    for (const char32_t character : text) {
        used += glyph(character, pixels).advance;
        if (used > widthPixels) {
            break;
        }
        kept += character;
    }
    return kept + kEllipsis;
}

void TextPainter::draw(RgbPicture& picture, const std::u32string& text, int pixels, cv::Point base,
                       const cv::Scalar& colour)
{
    for (const char32_t character : text) {
        const Glyph& drawn = glyph(character, pixels);
        const cv::Rect area(base.x + drawn.left, base.y - drawn.top, drawn.width, drawn.height);
        const cv::Rect visible = area & cv::Rect(0, 0, picture.width, picture.height);
        for (int y = visible.y; y < visible.br().y; ++y) {
            const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(y) * picture.strideBytes();
            for (int x = visible.x; x < visible.br().x; ++x) {
                const int at = (y - area.y) * area.width + x - area.x;
                const int share = drawn.coverage[static_cast<std::size_t>(at)];
                std::uint8_t* const pixel = picture.pixels.data() + row + static_cast<std::ptrdiff_t>(3) * x;
                for (int channel = 0; channel < 3; ++channel) {
                    const int value = static_cast<int>(colour[channel]) * share + pixel[channel] * (255 - share);
                    pixel[channel] = static_cast<std::uint8_t>(value / 255);
                }
            }
        }
        base.x += drawn.advance;
    }
}

const TextPainter::Glyph& TextPainter::glyph(char32_t character, int pixels)
{
    const auto key = std::make_pair(character, pixels);
    const auto known = _glyphs.find(key);
    if (known != _glyphs.end()) {
        return known->second;
    }
    if (_glyphs.size() >= kMostGlyphs) {
        _glyphs.clear();
    }
    return _glyphs.emplace(key, rendered(character, pixels)).first->second;
}

TextPainter::Glyph TextPainter::rendered(char32_t character, int pixels)
{
    const FT_Face face = _library->faceWith(character);
    if (face == nullptr || FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixels)) != 0 ||
        FT_Load_Char(face, character, FT_LOAD_RENDER) != 0 || face->glyph->bitmap.pixel_mode != FT_PIXEL_MODE_GRAY) {
        return emptyBox<Glyph>(pixels);
    }
    const FT_GlyphSlot slot = face->glyph;
    Glyph glyph;
    glyph.left = slot->bitmap_left;
    glyph.top = slot->bitmap_top;
    glyph.width = static_cast<int>(slot->bitmap.width);
    glyph.height = static_cast<int>(slot->bitmap.rows);
    glyph.advance = static_cast<int>(slot->advance.x >> 6); // in 64ths of a pixel
    for (int y = 0; y < glyph.height; ++y) {
        const unsigned char* const row = slot->bitmap.buffer + static_cast<std::ptrdiff_t>(y) * slot->bitmap.pitch;
        glyph.coverage.insert(glyph.coverage.end(), row, row + glyph.width);
    }
    return glyph;
}

} // namespace camera::video
