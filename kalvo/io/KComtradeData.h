#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include <kalvo/io/KSampleAllocator.h>

// The samples of a data file (.dat, or the last section of a .cff): the time stamps, one column
// per analog channel and the status bits. Analog samples are kept as raw values in the width the
// file gives them (16-bit or 32-bit integers, 32-bit floats, or doubles for text files and for
// samples made in memory), so that a large binary file takes no more memory than its own size;
// the missing-value code of an integer type stays in the column and reads back as NaN. Status
// bits are kept in 16-bit words as binary files pack them: channel c is bit c % 16 of word
// c / 16. Sample numbers are not kept; the reader checks them and the writer numbers samples
// from 1.
class KComtradeData {
public:
    using Values = std::vector<double, KSampleAllocator<double>>;
    enum SampleType { DOUBLE, INT16, INT32, FLOAT32 };

    Values timeStamps;  // raw, in time stamp units; NaN where missing

    int64_t getSampleCount() const { return static_cast<int64_t>(timeStamps.size()); }
    int getAnalogCount() const { return static_cast<int>(analogs_.size()); }
    int getDigitalCount() const { return digitalCount_; }
    SampleType getSampleType() const { return type_; }

    // Sizes every array for n samples of the given channel counts, with analog samples of the
    // given type (a change of type starts the columns over). New samples are 0, or left unset
    // when fill is false (for decoders that write every one of them).
    void resize(int64_t n, int analogCount, int digitalCount, SampleType type = DOUBLE,
                bool fill = true);

    // Appends the samples of block, which must have the same channels; an empty data takes
    // the block's sample type.
    void append(const KComtradeData& block);

    // Raw value of analog channel c at sample i: NaN where it is missing.
    double getAnalog(int c, int64_t i) const;
    // The column of analog channel c, as the type it is held in; T must be that type.
    template <class T>
    T* getAnalogs(int c);
    template <class T>
    const T* getAnalogs(int c) const;
    // Calls f with the column of analog channel c as a pointer to its own type.
    template <class F>
    void visitAnalogs(int c, F&& f) const;

    bool getDigital(int c, int64_t i) const {
        return (words_[static_cast<size_t>(c >> 4)][static_cast<size_t>(i)] >> (c & 15)) & 1u;
    }
    void setDigital(int c, int64_t i, bool on);
    int getWordCount() const { return static_cast<int>(words_.size()); }
    // Status word k of every sample: channels 16k to 16k + 15.
    uint16_t* getWords(int k) { return words_[static_cast<size_t>(k)].data(); }
    const uint16_t* getWords(int k) const { return words_[static_cast<size_t>(k)].data(); }

    // A raw sample as a double; the integer types' missing-value codes give NaN.
    static double toDouble(int16_t v) {
        return v == INT16_MIN ? std::numeric_limits<double>::quiet_NaN() : v;
    }
    static double toDouble(int32_t v) {
        return v == INT32_MIN ? std::numeric_limits<double>::quiet_NaN() : v;
    }
    static double toDouble(float v) { return v; }
    static double toDouble(double v) { return v; }

private:
    using Column = std::vector<unsigned char, KSampleAllocator<unsigned char>>;
    using Words = std::vector<uint16_t, KSampleAllocator<uint16_t>>;

    template <class T>
    static constexpr SampleType typeOf();
    static size_t widthOf(SampleType type);
    void checkType(SampleType type) const;

    SampleType type_ = DOUBLE;
    std::vector<Column> analogs_;
    std::vector<Words> words_;
    int digitalCount_ = 0;
};

template <class T>
constexpr KComtradeData::SampleType KComtradeData::typeOf() {
    if constexpr (std::is_same_v<T, int16_t>)
        return INT16;
    else if constexpr (std::is_same_v<T, int32_t>)
        return INT32;
    else if constexpr (std::is_same_v<T, float>)
        return FLOAT32;
    else {
        static_assert(std::is_same_v<T, double>, "no such sample type");
        return DOUBLE;
    }
}

template <class T>
T* KComtradeData::getAnalogs(int c) {
    checkType(typeOf<T>());
    return reinterpret_cast<T*>(analogs_[static_cast<size_t>(c)].data());
}

template <class T>
const T* KComtradeData::getAnalogs(int c) const {
    checkType(typeOf<T>());
    return reinterpret_cast<const T*>(analogs_[static_cast<size_t>(c)].data());
}

template <class F>
void KComtradeData::visitAnalogs(int c, F&& f) const {
    switch (type_) {
        case INT16:
            f(getAnalogs<int16_t>(c));
            break;
        case INT32:
            f(getAnalogs<int32_t>(c));
            break;
        case FLOAT32:
            f(getAnalogs<float>(c));
            break;
        default:
            f(getAnalogs<double>(c));
            break;
    }
}
