#include <cstddef>
#include <cstdint>
#include <string_view>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeConfigParser.h>
#include <kalvo/io/KComtradeWriter.h>
#include <kalvo/io/KTextEncoding.h>

// The configuration parser on any text, after the encoding guess; whatever it accepts must
// also write out.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::string text = KTextEncoding::toUtf8(bytes, KTextEncoding::AUTO);
    KStringArray warnings;
    try {
        const KComtradeConfig config = KComtradeConfigParser("fuzz.cfg").parse(text, warnings);
        KComtradeWriter::writeConfig(config);
    } catch (const KException&) {
    }
    return 0;
}
