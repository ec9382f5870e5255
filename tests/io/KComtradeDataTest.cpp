#include <kalvo/io/KComtradeData.h>

#include <gtest/gtest.h>

#include <cmath>

#include <kalvo/foundation/KException.h>

TEST(KComtradeData, ColumnsKeepTheirTypeAndMissingCodes) {
    KComtradeData d;
    d.resize(3, 2, 0, KComtradeData::INT16);
    int16_t* a = d.getAnalogs<int16_t>(1);
    a[0] = -32767, a[1] = INT16_MIN, a[2] = 32767;
    EXPECT_EQ(d.getAnalog(1, 0), -32767);
    EXPECT_TRUE(std::isnan(d.getAnalog(1, 1)));
    EXPECT_EQ(d.getAnalog(1, 2), 32767);
    try {
        d.getAnalogs<double>(0);
        FAIL() << "an int16 column read as doubles";
    } catch (const KException& e) {
        EXPECT_STREQ(e.getText().c_str(),
                     "Reading analog samples: they are held as int16, not double");
    }
    // Growing keeps the samples; a new type starts the columns over, filled with 0.
    d.resize(4, 2, 0, KComtradeData::INT16);
    EXPECT_EQ(d.getAnalog(1, 2), 32767);
    d.resize(4, 2, 0, KComtradeData::INT32);
    d.getAnalogs<int32_t>(0)[3] = INT32_MIN;
    EXPECT_EQ(d.getAnalog(1, 2), 0);
    EXPECT_TRUE(std::isnan(d.getAnalog(0, 3)));
    d.resize(4, 1, 0, KComtradeData::FLOAT32);
    d.getAnalogs<float>(0)[0] = 0.5f;
    EXPECT_EQ(d.getAnalog(0, 0), 0.5);
}

TEST(KComtradeData, StatusBitsInWords) {
    KComtradeData d;
    d.resize(2, 0, 17);
    ASSERT_EQ(d.getWordCount(), 2);
    d.setDigital(16, 1, true);
    d.setDigital(15, 1, true);
    d.setDigital(0, 0, true);
    EXPECT_EQ(d.getWords(0)[1], 0x8000);
    EXPECT_EQ(d.getWords(1)[1], 1);
    EXPECT_TRUE(d.getDigital(16, 1));
    EXPECT_FALSE(d.getDigital(16, 0));
    d.setDigital(15, 1, false);
    EXPECT_EQ(d.getWords(0)[1], 0);
    EXPECT_TRUE(d.getDigital(0, 0));
}
