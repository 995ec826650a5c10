#include "Font.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

static std::string glyph(int code)
{
    std::string rows;
    for (int row = 0; row < 16; ++row)
        rows += static_cast<char>(libobribase::getFontSymbol8x16(static_cast<unsigned char>(code), row));
    return rows;
}

TEST(Font, HasAGlyphOfItsOwnForEveryCode)
{
    std::set<std::string> glyphs;
    for (int code = 32; code <= 155; ++code)
        EXPECT_TRUE(glyphs.insert(glyph(code)).second) << "code " << code;
    EXPECT_EQ(glyph('A'), std::string("\0\0\x10\x38\x6C\xC6\xC6\xFE\xC6\xC6\xC6\xC6\0\0\0\0", 16));
    for (const int unknown : {0, 31, 156, 200, 255})
        EXPECT_EQ(glyph(unknown), glyph('?')) << unknown;
}
