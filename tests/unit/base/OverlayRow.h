#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A camera's last row as a test wants it: words around an overlay at some base.
///
/// 160 words lie before the overlay's row and 160 from its start, so that every base is inside.
class OverlayRow {
public:
    static constexpr int sBefore = 160, sFrom = 160;

    explicit OverlayRow(int base = 0, int layoutVersion = 6) : m_words(sBefore + sFrom), m_base(base)
    {
        byte(2, 'T');
        byte(3, 'S');
        u16(4, static_cast<uint16_t>(layoutVersion));
        u16(6, 321);
        byte(19, 1);
        for (const int start : {8, 20})
            for (int i = 0; const int value : {24, 3, 5, 6, 7, 8}) // 5 March 2024, 06:07:08
                byte(start + i++, value);
        u32(14, 250000000);
        u32(26, 289999999);
        u32(36, 0x01020304);
    }

    const uint16_t* row() const { return m_words.data() + sBefore; }
    uint16_t& word(int i) { return m_words[static_cast<size_t>(sBefore + m_base + i)]; }

    void byte(int at, int value) { word(at) = static_cast<uint16_t>((word(at) & 0xFF) | value << 8); }
    void u16(int at, uint16_t value)
    {
        byte(at, value >> 8);
        byte(at + 1, value & 0xFF);
    }
    void u32(int at, uint32_t value)
    {
        u16(at, static_cast<uint16_t>(value >> 16));
        u16(at + 2, static_cast<uint16_t>(value));
    }
    void low(int at, unsigned value) { word(at) = static_cast<uint16_t>((word(at) & 0xFF00) | value); }

    /// Fills the low bytes with a pattern and the checksum over it, by the definition of the sum.
    void seal()
    {
        unsigned a = 0, b = 0;
        for (int i = 2; i < 126; ++i) {
            low(i, static_cast<unsigned>(i * 37 + 11) % 256);
            a = (a + (word(i) & 0xFF)) % 255;
            b = (b + a) % 255;
        }
        low(126, b);
        low(127, a);
    }

private:
    std::vector<uint16_t> m_words;
    int m_base;
};
