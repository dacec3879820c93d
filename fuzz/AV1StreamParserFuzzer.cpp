// Fuzz target: arbitrary bytes through AV1StreamParser (indexing and delivery).
#include "ScannerFuzzer.h"
#include "compressed/AV1StreamParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return tessaro::fuzz::RunScanner<tessaro::AV1StreamParser>(data, size, ".obu");
}
