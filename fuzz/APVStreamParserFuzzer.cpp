// Fuzz target: arbitrary bytes through APVStreamParser (indexing and delivery).
#include "compressed/APVStreamParser.h"
#include "ScannerFuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return tessaro::fuzz::RunScanner<tessaro::APVStreamParser>(data, size, ".apv");
}
