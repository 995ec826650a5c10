#pragma once

#include "lag1_range_coder.h"
#include <span>

namespace libobrifile {

// The steps from an image's sample counts to its frequency table. In every table here cprobability
// holds a frequency. Nothing is allocated. Any thread.

/// Turns counts (1 or more, `total` together) into frequencies on a scale of 2^20, each at least 1.
void scaleCounts(std::span<DecoderPair> table, int total);

/// Sorts by falling frequency; equals keep their order.
///
/// @param buffer  at least as long as the table; its content is lost.
void sortByFrequency(std::span<DecoderPair> table, std::span<DecoderPair> buffer);

/// Makes the frequencies of a sorted table of 1 to 65536 entries sum to exactly 2^20: what is missing
/// goes to the most frequent values, what is too much is taken from the rarest ones above 1.
void correctSum(std::span<DecoderPair> table);

/// A number of bits that no code of these samples against any table goes below: the entropy of the
/// counts (`total` together), less a little for rounding.
double entropyBits(std::span<const DecoderPair> table, int total);

} // namespace libobrifile
