#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include <kalvo/platform/CPixelRow.h>

namespace {

// One byte as pixman multiplies: t = x * a + 128, (t + t / 256) / 256.
unsigned times(unsigned x, unsigned a) {
    const unsigned t = x * a + 128;
    return (t + (t >> 8)) >> 8;
}

}  // namespace

// Every coverage over every kind of pixel, at every place in a run (the lanes taken four at
// a time and the ones left over), gives each byte c * a + d * (255 - a) over 255.
TEST(CPixelRowTest, BlendGivesEachByteItsShareOfColourAndPixel) {
    std::mt19937 random(7);
    const std::uint32_t colors[] = {0xFF000000, 0xFFFFFFFF, 0xFF2050C8, 0xFF808080};
    for (const std::uint32_t color : colors) {
        for (const int count : {1, 3, 4, 7, 64, 257}) {
            std::vector<std::uint32_t> row(static_cast<size_t>(count));
            std::vector<std::uint8_t> coverage(static_cast<size_t>(count));
            for (int round = 0; round < 40; ++round) {
                for (int i = 0; i < count; ++i) {
                    row[i] = random();
                    // Whole runs of 0 and 255 as well as anything between.
                    coverage[i] = round % 4 == 0   ? 0
                                  : round % 4 == 1 ? 255
                                                   : static_cast<std::uint8_t>(random());
                }
                if (round % 4 == 3) coverage[count / 2] = 0;
                std::vector<std::uint32_t> out = row;
                CPixelRow::blend(out.data(), coverage.data(), count, color);
                for (int i = 0; i < count; ++i) {
                    const unsigned a = coverage[i];
                    for (int shift = 0; shift < 32; shift += 8) {
                        const unsigned expected = times((color >> shift) & 0xFF, a) +
                                                  times((row[i] >> shift) & 0xFF, 255 - a);
                        ASSERT_EQ((out[i] >> shift) & 0xFF, expected)
                            << "coverage " << a << " pixel " << i << " of " << count;
                    }
                }
            }
        }
    }
}
