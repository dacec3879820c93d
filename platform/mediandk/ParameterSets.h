// H.264 / H.265 framing helpers of the extractor: codec-specific data as a
// device fills it, and length-prefixed samples turned into Annex-B.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mediandk {

using Bytes = std::vector<uint8_t>;

enum class NalCodec { kAvc, kHevc };

// What the track's configuration record yields.
struct NalTrackConfig {
    // 0 when samples are already Annex-B; else 1..4, the size of the length
    // field in front of each NAL unit of a sample.
    unsigned lengthSize = 0;
    // H.264: csd-0 holds the SPSs and csd-1 the PPSs; H.265: csd-0 holds the
    // VPS, SPS, PPS (and any SEI) units in record order. Each unit is behind
    // a 4-byte start code.
    Bytes csd0;
    Bytes csd1;
};

// Reads an avcC / hvcC record, or Annex-B parameter sets as carried by
// streams that are Annex-B already. False if a record is cut short.
bool ParseNalTrackConfig(NalCodec codec, const uint8_t* data, size_t size, NalTrackConfig* config);

// Replaces every length field of a sample by a 4-byte start code and appends
// the result to out. False (out unspecified) if a length runs past the end.
bool LengthPrefixedToAnnexB(const uint8_t* data, size_t size, unsigned lengthSize, Bytes* out);

}  // namespace mediandk
