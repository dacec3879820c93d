// Fuzz target: arbitrary bytes through VPXStreamParser (indexing and delivery).
#include "ScannerFuzzer.h"
#include "compressed/VPXStreamParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return tessaro::fuzz::RunScanner<tessaro::VPXStreamParser>(data, size, ".ivf");
}
