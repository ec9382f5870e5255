#include "ComtradeFuzzRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzComtradeData(data, size, "ASCII");
    return 0;
}
