// RX10MOSAStreamParser: reads packed 10-bit 4:2:0 pictures in the MOSA layout,
// as formats::kRX10Mosa says.
#pragma once
#include "uncompressed/NV12MOSAStreamParser.h"
namespace tessaro {
class RX10MOSAStreamParser : public NV12MOSAStreamParser {
public:
    RX10MOSAStreamParser() : NV12MOSAStreamParser(formats::kRX10Mosa) {}
};
}  // namespace tessaro
