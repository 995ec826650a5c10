#pragma once

#include <cstdint>

// The fixed values of an ADV file, version 2, as this program writes it. Integers are little-endian, a text is its
// length in bytes (u16) and its bytes, a tag is two texts. docs/file-formats.md shows the whole file.

namespace libobrifile {

// File header: bytes from the start of the file.
//    0  u32  magic, "FSTF" as stored
//    4  u8   format version
//    5  u32  reserved, 0
//    9  u64  start of the index table; 0 while recording
//   17  u64  start of the system metadata table
//   25  u64  start of the user metadata table; 0 while recording
//   33  u8   number of streams, then their definitions
constexpr uint32_t sAdvMagic = 0x46545346;
constexpr uint8_t sAdvVersion = 2;
constexpr uint64_t sAdvIndexTableAt = 4 + 1 + 4;
constexpr uint64_t sAdvSystemMetadataAt = sAdvIndexTableAt + 8;
constexpr uint64_t sAdvUserMetadataAt = sAdvSystemMetadataAt + 8;

constexpr uint64_t sAdvTicksPerSecond = 1000000000; // frame times are in nanoseconds
constexpr uint32_t sAdvStreamAccuracy = 1000000;
constexpr uint8_t sAdvImageSectionVersion = 2, sAdvStatusSectionVersion = 2, sAdvIndexVersion = 2;
constexpr uint64_t sAdvStatusAccuracy = 1000000;

constexpr uint8_t sAdvFullLayout = 1; // id and version of the layout
constexpr uint8_t sAdvZoneLayout = 2;

enum EAdvType : uint8_t { ADV_UINT8 = 0, ADV_UINT32 = 2, ADV_UINT64 = 3, ADV_FLOAT = 4, ADV_TEXT = 5 };

// Status entries of a frame; the number is also the place in the status section's list of definitions.
enum EAdvStatus : uint8_t {
    ADV_GAIN,
    ADV_SYSTEM_TIME,
    ADV_CAMERA_FRAME_ID,
    ADV_TRACKED_SATELLITES,
    ADV_FIX_STATUS,
    ADV_TEMPERATURE,
    ADV_DOP_TIME,
    ADV_GDOP, // then PDOP, TDOP, VDOP, HDOP
    ADV_STATUS_COUNT = ADV_GDOP + 5,
};

// Frame record: bytes from its start.
//    0  u32  magic
//    4  u8   stream, 0
//    5  u64  exposure start, ns since 2010-01-01
//   13  u64  exposure end
//   21  u32  N, bytes of the image section from its layout id on
//   25  u8   layout id
//   26  u8   0
//   27       N - 2 bytes of pixels, then the status section
constexpr uint32_t sAdvFrameMagic = 0xEE0122FF;
constexpr uint32_t sAdvImageSectionHead = 1 + 1;
// Status section, after its own length: mid-exposure, exposure length, number of entries, then each entry's
// place in the list and its value. The gain's text adds its bytes.
constexpr uint32_t sAdvStatusLengthWithoutGain =
    (8 + 4 + 1) + (1 + 2) + (1 + 8) + (1 + 4) + (1 + 1) + (1 + 1) + (1 + 4) + (1 + 4) + 5 * (1 + 4);
static_assert(sAdvStatusLengthWithoutGain == 69);

// 100 ns ticks from 0001-01-01 to 2010-01-01.
constexpr uint64_t sTicksOfAdvEpoch = 633979008000000000;
constexpr uint64_t sNanosecondsPerTick = 100;

} // namespace libobrifile
