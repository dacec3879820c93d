// NV12MOSAInterlaceStreamParser: reads NV12 MOSA pictures stored as two fields,
// as formats::kNV12MosaInterlace says.
#pragma once
#include "uncompressed/NV12MOSAStreamParser.h"
namespace tessaro {
class NV12MOSAInterlaceStreamParser : public NV12MOSAStreamParser {
public:
    NV12MOSAInterlaceStreamParser() : NV12MOSAStreamParser(formats::kNV12MosaInterlace) {}
};
}  // namespace tessaro
