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

// Control characters other than tab and the line ends.
inline bool isControl(char c) {
    const auto u = static_cast<unsigned char>(c);
    return (u < 0x20 && c != '\t' && c != '\n' && c != '\r') || u == 0x7F;
}

// What may follow the last sample: blanks, line ends, end-of-file characters and NUL bytes.
inline bool isPadding(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\x1A' || c == '\0';
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

void KComtradeAsciiDecoder::start(const KComtradeConfig& config) {
    KComtradeDecoder::start(config);
    line_ = 1;
    extraFieldsLine_ = emptyStampCount_ = otherStatusLine_ = emptyStatusLine_ = cutLine_ = 0;
}

size_t KComtradeAsciiDecoder::decodePiece(const char* bytes, size_t size, bool last,
                                          KComtradeData& block) {
    const KComtradeConfig& config = *config_;
    const size_t analogCount = config.analogs.size();
    const size_t digitalCount = config.digitals.size();
    const size_t fieldCount = 2 + analogCount + digitalCount;
    const bool missingCode = config.revision != KComtradeConfig::REV_1991;

    // Only whole lines, unless nothing follows.
    const char* end = bytes + size;
    if (!last) {
        while (end > bytes && end[-1] != '\n') --end;
        if (end == bytes) return 0;
    }

    // A first guess at the number of samples, bounded by what the bytes can hold.
    const int64_t announced = std::max<int64_t>(config.getSampleCount() - count_, 16);
    size_t capacity = std::min(static_cast<size_t>(announced),
                               static_cast<size_t>(end - bytes) / (2 * fieldCount) + 1);
    auto setLength = [&](size_t n) {
        block.resize(static_cast<int64_t>(n), static_cast<int>(analogCount),
                     static_cast<int>(digitalCount), KComtradeData::DOUBLE, false);
    };
    setLength(capacity);
    std::vector<double*> analogs(analogCount);
    std::vector<uint16_t*> words(static_cast<size_t>(block.getWordCount()));
    auto bind = [&] {
        for (size_t c = 0; c < analogCount; ++c)
            analogs[c] = block.getAnalogs<double>(static_cast<int>(c));
        for (size_t k = 0; k < words.size(); ++k) words[k] = block.getWords(static_cast<int>(k));
    };
    bind();

    const char* p = bytes;
    size_t count = 0;
    long long line = line_;

    auto columnOf = [&](const char* at) {
        const char* lineStart = at;
        while (lineStart > bytes && lineStart[-1] != '\n') --lineStart;
        return static_cast<int>(at - lineStart + 1);
    };
    auto fail = [&](const char* at, const char* expected) {
        if (at < end && isControl(*at))
            KException::raise("COMTRADE Error",
                              "%s, line %lld, column %d: control character 0x%02X inside the line",
                              fileName_.c_str(), line, columnOf(at),
                              static_cast<unsigned char>(*at));
        const char* stop = at;
        while (stop < end && stop - at < 20 && *stop != ',' && !isEndOfLine(stop, end) &&
               !isControl(*stop))
            ++stop;
        KException::raise("COMTRADE Error", "%s, line %lld, column %d: expected %s, found '%.*s'",
                          fileName_.c_str(), line, columnOf(at), expected,
                          static_cast<int>(stop - at), at);
    };
    // Whether only padding (blanks, line ends, end-of-file characters, NUL) follows q.
    auto onlyPadding = [&](const char* q) {
        for (; q < end; ++q)
            if (!isPadding(*q)) return false;
        return true;
    };

    while (p < end) {
        const char* lineStart = p;
        // Line ends and blank lines between samples.
        if (*p == '\n') {
            ++line;
            ++p;
            continue;
        }
        if (*p == '\r' || *p == ' ' || *p == '\t') {
            ++p;
            continue;
        }
        if (isControl(*p)) {
            // Padding at the end of the file; anywhere else, a fault.
            if (!onlyPadding(p)) fail(p, "a sample number");
            if (!last) {
                p = lineStart;
                break;
            }
            p = end;
            break;
        }
        if (count == capacity) {
            capacity *= 2;
            setLength(capacity);
            bind();
        }
        for (uint16_t* w : words) w[count] = 0;
        size_t field = 0;
        double value;
        bool empty;
        const long long index = count_ + static_cast<long long>(count);
        // Sample number.
        if (!readNumber(p, end, value, empty) || empty) fail(p, "a sample number");
        numbers_.check(std::fabs(value) < 1e15 ? static_cast<long long>(value) : -1, index);
        for (field = 1; field < fieldCount; ++field) {
            if (p == end || *p != ',') break;
            ++p;
            const char* at = p;
            if (!readNumber(p, end, value, empty)) {
                fail(at, field == 1 ? "a time stamp" : "a number");
            }
            if (p < end && *p != ',' && !isEndOfLine(p, end)) fail(p, "a number");
            if (field == 1) {
                block.timeStamps[count] = value;
                emptyStampCount_ += empty;
            } else if (field < 2 + analogCount) {
                analogs[field - 2][count] = (missingCode && value == 99999.0) ? NaN : value;
            } else {
                unsigned bit = 0;
                if (empty) {
                    if (!emptyStatusLine_) emptyStatusLine_ = line;
                } else if (value == 1.0) {
                    bit = 1;
                } else if (value != 0.0) {
                    bit = 1;
                    if (!otherStatusLine_) otherStatusLine_ = line;
                }
                const size_t c = field - 2 - analogCount;
                words[c >> 4][count] |= static_cast<uint16_t>(bit << (c & 15));
            }
        }
        if (field != fieldCount) {
            // A short line is the cut-off end of a file, or a broken file.
            if (p < end && *p != '\n' && *p != '\r' && isControl(*p) && !onlyPadding(p))
                fail(p, "a comma");
            const char* q = p;
            while (q < end && *q != '\n') ++q;
            if (!onlyPadding(q)) {
                KString expected;
                expected.format(
                    "%zu fields (sample number, time stamp, %zu analog and %zu "
                    "status values) but the line ends after %zu",
                    fieldCount, analogCount, digitalCount, field);
                fail(p, expected.c_str());
            }
            if (!last) {
                // Whether it is the last line shows only with what comes next.
                p = lineStart;
                break;
            }
            cutLine_ = line;
            p = end;
            break;
        }
        if (p < end && *p == ',') {
            if (!extraFieldsLine_) extraFieldsLine_ = line;
            while (p < end && *p != '\n') ++p;
        }
        if (p < end && !isEndOfLine(p, end)) fail(p, "a comma or the end of the line");
        if (p < end && *p == '\x1A' && !onlyPadding(p)) fail(p, "the end of the line");
        ++count;
    }
    setLength(count);
    count_ += static_cast<int64_t>(count);
    line_ = line;
    const size_t used = last ? size : static_cast<size_t>(p - bytes);
    offset_ += used;
    return used;
}

void KComtradeAsciiDecoder::finish(KStringArray& warnings) {
    KComtradeDecoder::finish(warnings);
    KString w;
    if (cutLine_) {
        w.format("line %lld is cut short; the incomplete sample was dropped", cutLine_);
        warnings.add(w.c_str());
    }
    if (extraFieldsLine_) {
        w.format("line %lld (and maybe others) has more than %zu fields; the rest ignored",
                 extraFieldsLine_, 2 + config_->analogs.size() + config_->digitals.size());
        warnings.add(w.c_str());
    }
    if (emptyStampCount_ > 0 && emptyStampCount_ < count_) {
        w.format("%lld samples have an empty time stamp", emptyStampCount_);
        warnings.add(w.c_str());
    }
    if (emptyStatusLine_) {
        w.format("line %lld (and maybe others): empty status value taken as 0", emptyStatusLine_);
        warnings.add(w.c_str());
    }
    if (otherStatusLine_) {
        w.format("line %lld (and maybe others): status value other than 0 or 1 taken as 1",
                 otherStatusLine_);
        warnings.add(w.c_str());
    }
}
