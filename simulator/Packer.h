#pragma once
#include <cstdint>

namespace obrisim {

/// Packs 12-bit samples as the camera sends its wide lines: 8 samples in 12 bytes.
/// @param samples  count values of 0..4095
/// @param count    a multiple of 8
/// @param bytes    receives count * 3 / 2 bytes, any alignment
void packSamples(const uint16_t* samples, int count, uint8_t* bytes);

/// Writes 12-bit samples one in a little-endian word, as the camera sends its narrow lines:
/// the upper eight bits in the low byte, the lower four in the low nibble of the high byte.
/// @param bytes  receives count * 2 bytes, any alignment
void spreadSamples(const uint16_t* samples, int count, uint8_t* bytes);

constexpr uint64_t sFnvBasis = 0xcbf29ce484222325;

/// Goes on with a 64-bit FNV-1a hash over the little-endian bytes of 16-bit pixels, each sample
/// standing in the upper twelve bits of its pixel.
uint64_t hashPixels(uint64_t hash, const uint16_t* samples, int count);

} // namespace obrisim
