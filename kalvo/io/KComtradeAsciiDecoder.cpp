#include <kalvo/io/KComtradeAsciiDecoder.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <kalvo/foundation/KException.h>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

inline bool isEndOfLine(const char* p, const char* end) {
    return p == end || *p == '\n' || *p == '\r' || *p == '\x1A';
}

inline const char* skipBlanks(const char* p, const char* end) {
    while (p < end && (*p == ' ' || *p == '\t')) ++p;
    return p;
}

// Reads one field's number at p. Returns false when the field holds something that is not a
// number; an empty field gives NaN and sets empty.
inline bool readNumber(const char*& p, const char* end, double& value, bool& empty) {
    p = skipBlanks(p, end);
    empty = false;
    if (p == end || *p == ',' || isEndOfLine(p, end)) {
        empty = true;
        value = NaN;
        return true;
    }
    const char* start = p;
    bool negative = false;
    if (*p == '-' || *p == '+') {
        negative = *p == '-';
        ++p;
    }
    const char* digits = p;
    int64_t whole = 0;
    while (p < end && static_cast<unsigned>(*p - '0') < 10 && p - digits < 18)
        whole = whole * 10 + (*p++ - '0');
    if (p == digits || (p < end && (static_cast<unsigned>(*p - '0') < 10 || *p == '.' ||
                                    *p == 'e' || *p == 'E'))) {
        // Not a plain short integer: let the library read it as a double.
        const auto result = std::from_chars(digits, end, value);
        if (result.ec != std::errc() || result.ptr == start) return false;
        if (negative) value = -value;
        p = result.ptr;
    } else {
        value = static_cast<double>(negative ? -whole : whole);
    }
    p = skipBlanks(p, end);
    return true;
}

}  // namespace

void KComtradeAsciiDecoder::decode(const char* bytes, size_t size, const KComtradeConfig& config,
                                   KComtradeData& data, KStringArray& warnings) {
    const size_t analogCount = config.analogs.size();
    const size_t digitalCount = config.digitals.size();
    const size_t fieldCount = 2 + analogCount + digitalCount;
    const bool missingCode = config.revision != KComtradeConfig::REV_1991;

    // A first guess at the number of samples, bounded by what the bytes can hold.
    size_t capacity = static_cast<size_t>(std::max<int64_t>(config.getSampleCount(), 16));
    capacity = std::min(capacity, size / (2 * fieldCount) + 1);
    auto setLength = [&](size_t n, bool fill) {
        data.resize(static_cast<int64_t>(n), static_cast<int>(analogCount),
                    static_cast<int>(digitalCount), KComtradeData::DOUBLE, fill);
    };
    setLength(capacity, false);
    std::vector<double*> analogs(analogCount);
    std::vector<uint16_t*> words(static_cast<size_t>(data.getWordCount()));
    auto bind = [&] {
        for (size_t c = 0; c < analogCount; ++c)
            analogs[c] = data.getAnalogs<double>(static_cast<int>(c));
        for (size_t k = 0; k < words.size(); ++k) words[k] = data.getWords(static_cast<int>(k));
    };
    bind();

    const char* p = bytes;
    const char* end = bytes + size;
    size_t count = 0;
    long long line = 1;
    long long extraFieldsLine = 0, emptyStampCount = 0, otherStatusLine = 0;
    long long emptyStatusLine = 0;
    bool cutLast = false;
    NumberCheck numbers;
    const char* lastProgress = p;

    auto fail = [&](const char* at, const char* expected) {
        const char* lineStart = at;
        while (lineStart > bytes && lineStart[-1] != '\n') --lineStart;
        const char* stop = at;
        while (stop < end && stop - at < 20 && *stop != ',' && !isEndOfLine(stop, end)) ++stop;
        KException::raise("COMTRADE Error", "%s, line %lld, column %d: expected %s, found '%.*s'",
                          fileName_.c_str(), line, static_cast<int>(at - lineStart + 1), expected,
                          static_cast<int>(stop - at), at);
    };

    while (p < end) {
        // Line ends, blank lines and end-of-file padding between samples.
        if (*p == '\n') {
            ++line;
            ++p;
            continue;
        }
        if (*p == '\r' || *p == '\x1A' || *p == ' ' || *p == '\t' || *p == '\0') {
            ++p;
            continue;
        }
        if (count == capacity) {
            capacity *= 2;
            setLength(capacity, false);
            bind();
        }
        for (uint16_t* w : words) w[count] = 0;
        size_t field = 0;
        double value;
        bool empty;
        // Sample number.
        if (!readNumber(p, end, value, empty) || empty) fail(p, "a sample number");
        numbers.check(std::fabs(value) < 1e15 ? static_cast<long long>(value) : -1,
                      static_cast<long long>(count));
        for (field = 1; field < fieldCount; ++field) {
            if (p == end || *p != ',') break;
            ++p;
            const char* at = p;
            if (!readNumber(p, end, value, empty)) {
                fail(at, field == 1 ? "a time stamp" : "a number");
            }
            if (p < end && *p != ',' && !isEndOfLine(p, end)) fail(at, "a number");
            if (field == 1) {
                data.timeStamps[count] = value;
                emptyStampCount += empty;
            } else if (field < 2 + analogCount) {
                analogs[field - 2][count] = (missingCode && value == 99999.0) ? NaN : value;
            } else {
                unsigned bit = 0;
                if (empty) {
                    if (!emptyStatusLine) emptyStatusLine = line;
                } else if (value == 1.0) {
                    bit = 1;
                } else if (value != 0.0) {
                    bit = 1;
                    if (!otherStatusLine) otherStatusLine = line;
                }
                const size_t c = field - 2 - analogCount;
                words[c >> 4][count] |= static_cast<uint16_t>(bit << (c & 15));
            }
        }
        if (field != fieldCount) {
            // A short line is the cut-off end of a file, or a broken file.
            const char* q = p;
            while (q < end && *q != '\n') ++q;
            bool last = true;
            for (const char* r = q; r < end; ++r)
                if (*r != '\n' && *r != '\r' && *r != '\x1A' && *r != ' ' && *r != '\t' &&
                    *r != '\0')
                    last = false;
            if (!last) {
                KString expected;
                expected.format(
                    "%zu fields (sample number, time stamp, %zu analog and %zu "
                    "status values) but the line ends after %zu",
                    fieldCount, analogCount, digitalCount, field);
                fail(p, expected.c_str());
            }
            cutLast = true;
            p = q;
            break;
        }
        if (p < end && *p == ',') {
            if (!extraFieldsLine) extraFieldsLine = line;
            while (p < end && *p != '\n') ++p;
        }
        if (p < end && !isEndOfLine(p, end)) fail(p, "a comma or the end of the line");
        ++count;
        if (p - lastProgress > (8 << 20)) {
            lastProgress = p;
            reportProgress(static_cast<size_t>(p - bytes), size);
        }
    }
    setLength(count, true);
    reportProgress(size, size);

    numbers.report(warnings);
    KString w;
    if (cutLast) {
        w.format("line %lld is cut short; the incomplete sample was dropped", line);
        warnings.add(w.c_str());
    }
    if (extraFieldsLine) {
        w.format("line %lld (and maybe others) has more than %zu fields; the rest ignored",
                 extraFieldsLine, fieldCount);
        warnings.add(w.c_str());
    }
    if (emptyStampCount > 0 && emptyStampCount < static_cast<long long>(count)) {
        w.format("%lld samples have an empty time stamp", emptyStampCount);
        warnings.add(w.c_str());
    }
    if (emptyStatusLine) {
        w.format("line %lld (and maybe others): empty status value taken as 0", emptyStatusLine);
        warnings.add(w.c_str());
    }
    if (otherStatusLine) {
        w.format("line %lld (and maybe others): status value other than 0 or 1 taken as 1",
                 otherStatusLine);
        warnings.add(w.c_str());
    }
}
