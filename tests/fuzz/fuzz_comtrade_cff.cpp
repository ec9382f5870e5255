#include <cstddef>
#include <cstdint>
#include <string_view>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeReader.h>

// A combined file: section markers, then configuration, texts and data of any type.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try {
        KComtradeFile f;
        f.readCombined(bytes, "fuzz.cff", KComtradeFile::Options());
        KRecord record;
        KComtradeReader().build(f, record);
    } catch (const KException&) {
    }
    return 0;
}
