#include "Font.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

namespace {

using Glyph = std::array<unsigned char, 16>;

Glyph glyph(int code)
{
    Glyph rows{};
    for (int row = 0; row < 16; ++row)
        rows[static_cast<size_t>(row)] = libobribase::getFontSymbol8x16(static_cast<unsigned char>(code), row);
    return rows;
}

} // namespace

TEST(Font, HasAGlyphOfItsOwnForEveryCode)
{
    std::set<Glyph> glyphs;
    for (int code = 32; code <= 155; ++code)
        EXPECT_TRUE(glyphs.insert(glyph(code)).second) << "code " << code;
    EXPECT_EQ(glyph(' '), Glyph{});
    EXPECT_EQ(glyph('A'), (Glyph{0, 0, 0x10, 0x38, 0x6C, 0xC6, 0xC6, 0xFE, 0xC6, 0xC6, 0xC6, 0xC6}));
    EXPECT_EQ(glyph(128)[0], 0x80); // the bars begin with one column
    EXPECT_EQ(glyph(155), (Glyph{255, 129, 129, 129, 129, 129, 129, 129, 129, 129, 129, 129, 129, 129, 129, 255}));
    for (const int unknown : {0, 31, 156, 200, 255})
        EXPECT_EQ(glyph(unknown), glyph('?')) << unknown;
}
