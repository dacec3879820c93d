// Fuzz target: arbitrary bytes through AV1StreamParser (indexing and delivery).
#include "compressed/AV1StreamParser.h"
#include "ScannerFuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return tessaro::fuzz::RunScanner<tessaro::AV1StreamParser>(data, size, ".obu");
}
