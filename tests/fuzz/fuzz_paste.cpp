// Feeds arbitrary bytes to KRecord::pasteRawData. The text is an exactly sized heap copy
// with no terminator, so AddressSanitizer reports any read past the given length. What a
// paste builds must also be a consistent record that survives being stored and loaded.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/record/KRecord.h>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    if (size > 1u << 20) return 0;
    std::unique_ptr<char[]> text(new char[size]);
    if (size > 0) std::memcpy(text.get(), data, size);

    KRecord record;
    if (!record.pasteRawData(text.get(), static_cast<int>(size))) {
        require(record.getTraceCount() == 0 && record.isEmpty());
        return 0;
    }
    const int rows = record.getDomainSize();
    for (int i = 0; i < rows; ++i) require(record.getDomainValue(i) == i);
    for (int t = 0; t < record.getTraceCount(); ++t) {
        require(record.getTrace(t)->getCount() == rows);
        record.selectTrace(t);
        record.getMinValue(0, 0);
        record.getMaxValue(0, 0);
        record.getTrace(t)->getRMSValue(0, rows);
    }

    KArchive out;
    record.Serialize(out);
    KArchive in(out.getBuffer());
    KRecord loaded;
    loaded.Serialize(in);
    require(in.remaining() == 0);
    require(loaded.getTraceCount() == record.getTraceCount() && loaded.getDomainSize() == rows);
    for (int t = 0; t < record.getTraceCount() && rows > 0; ++t) {
        require(std::memcmp(loaded.getTrace(t)->getData(), record.getTrace(t)->getData(),
                            static_cast<size_t>(rows) * sizeof(double)) == 0);
    }
    return 0;
}
