// Fuzz target: arbitrary bytes through HEVCStreamParser (indexing and delivery).
#include "ScannerFuzzer.h"
#include "compressed/HEVCStreamParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return tessaro::fuzz::RunScanner<tessaro::HEVCStreamParser>(data, size, ".265");
}
