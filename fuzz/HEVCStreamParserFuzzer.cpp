// Fuzz target: arbitrary bytes through HEVCStreamParser (indexing and delivery).
#include "compressed/HEVCStreamParser.h"
#include "ScannerFuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return tessaro::fuzz::RunScanner<tessaro::HEVCStreamParser>(data, size, ".265");
}
