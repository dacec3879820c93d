// NV12MOSAInterlaceStreamParser: reads NV12 MOSA pictures stored as two fields
// and sized for the full frame height, as NV12MOSAStreamParser does, under its tag.
#pragma once

#include "uncompressed/NV12MOSAStreamParser.h"

namespace tessaro {

class NV12MOSAInterlaceStreamParser : public NV12MOSAStreamParser {
public:
    NV12MOSAInterlaceStreamParser() : NV12MOSAStreamParser(formats::kNV12MosaInterlace) {}
};

}  // namespace tessaro
