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

/// The first and the last row with ink.
std::pair<int, int> rowsOf(const Glyph& rows)
{
    int top = 0, bottom = 15;
    while (top < 15 && rows[static_cast<size_t>(top)] == 0)
        ++top;
    while (bottom > 0 && rows[static_cast<size_t>(bottom)] == 0)
        --bottom;
    return {top, bottom};
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

// A glyph drawn a row or a column off would stand out of the line of text.
TEST(Font, StandsOnOneLineAndLeavesAColumnBetweenCharacters)
{
    for (const char* code = "0123456789ABCDEFGHIJKLMNOPRSTUVWXYZ"; *code; ++code)
        EXPECT_EQ(rowsOf(glyph(*code)), std::pair(2, 11)) << *code;
    for (const char* code = "acemnorsuvwxz"; *code; ++code)
        EXPECT_EQ(rowsOf(glyph(*code)), std::pair(5, 11)) << *code;
    for (const char* code = "gpqy"; *code; ++code)
        EXPECT_EQ(rowsOf(glyph(*code)), std::pair(5, 14)) << *code;
    for (int code = 32; code < 128; ++code) {
        unsigned ink = 0;
        for (const unsigned row : glyph(code))
            ink |= row;
        EXPECT_EQ(ink & 1, code == '*' || code == '_') << "code " << code;
    }
}
