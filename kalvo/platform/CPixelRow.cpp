#include <kalvo/platform/CPixelRow.h>

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Each byte of the pixel times a / 255: t = c * a + 128, then (t + t / 256) / 256, two bytes
// at a time.
inline std::uint32_t times(std::uint32_t pixel, unsigned a) {
    std::uint32_t rb = (pixel & 0x00FF00FF) * a + 0x00800080;
    rb = ((rb + ((rb >> 8) & 0x00FF00FF)) >> 8) & 0x00FF00FF;
    std::uint32_t ag = ((pixel >> 8) & 0x00FF00FF) * a + 0x00800080;
    ag = (ag + ((ag >> 8) & 0x00FF00FF)) & 0xFF00FF00;
    return rb | ag;
}

inline std::uint32_t blendOne(std::uint32_t pixel, unsigned a, std::uint32_t color) {
    if (a == 0) return pixel;
    if (a == 255) return color;
    // No byte overflows: c * a / 255 + d * (255 - a) / 255 stays within 255.
    return times(color, a) + times(pixel, 255 - a);
}

#if defined(__SSE2__)
// The same in 16-bit lanes.
inline __m128i times(__m128i x, __m128i a) {
    __m128i t = _mm_add_epi16(_mm_mullo_epi16(x, a), _mm_set1_epi16(0x80));
    t = _mm_add_epi16(t, _mm_srli_epi16(t, 8));
    return _mm_srli_epi16(t, 8);
}
#endif

}  // namespace

void CPixelRow::fill(std::uint32_t* row, int count, std::uint32_t value) {
    int i = 0;
#if defined(__SSE2__)
    const __m128i v = _mm_set1_epi32(static_cast<int>(value));
    for (; i + 4 <= count; i += 4) _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i), v);
#endif
    for (; i < count; ++i) row[i] = value;
}

void CPixelRow::blend(std::uint32_t* row, const std::uint8_t* coverage, int count,
                      std::uint32_t color) {
    int i = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128(), full = _mm_set1_epi16(255);
    const __m128i c4 = _mm_set1_epi32(static_cast<int>(color));
    const __m128i cLo = _mm_unpacklo_epi8(c4, zero), cHi = _mm_unpackhi_epi8(c4, zero);
    for (; i + 4 <= count; i += 4) {
        std::uint32_t four;
        std::memcpy(&four, coverage + i, 4);
        if (four == 0) continue;
        auto* at = reinterpret_cast<__m128i*>(row + i);
        if (four == 0xFFFFFFFF) {
            _mm_storeu_si128(at, c4);
            continue;
        }
        // Each pixel's coverage in the four lanes of its channels.
        const __m128i a16 = _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(four)), zero);
        const __m128i pairs = _mm_unpacklo_epi16(a16, a16);
        const __m128i aLo = _mm_unpacklo_epi32(pairs, pairs),
                      aHi = _mm_unpackhi_epi32(pairs, pairs);
        const __m128i d = _mm_loadu_si128(at);
        const __m128i lo = _mm_add_epi16(
            times(cLo, aLo), times(_mm_unpacklo_epi8(d, zero), _mm_sub_epi16(full, aLo)));
        const __m128i hi = _mm_add_epi16(
            times(cHi, aHi), times(_mm_unpackhi_epi8(d, zero), _mm_sub_epi16(full, aHi)));
        _mm_storeu_si128(at, _mm_packus_epi16(lo, hi));
    }
#endif
    for (; i < count; ++i) row[i] = blendOne(row[i], coverage[i], color);
}
