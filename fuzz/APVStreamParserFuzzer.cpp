// Fuzz target: arbitrary bytes through APVStreamParser (indexing and delivery).
#include "ScannerFuzzer.h"
#include "compressed/APVStreamParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return tessaro::fuzz::RunScanner<tessaro::APVStreamParser>(data, size, ".apv");
}
