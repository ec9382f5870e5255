#include "ComtradeFuzzRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzComtradeData(data, size, "BINARY");
    return 0;
}
