#include <kalvo/io/KComtradeData.h>

#include <kalvo/foundation/KAssertion.h>

void KComtradeData::resize(int64_t n, int analogCount, int digitalCount, SampleType type,
                           bool fill) {
    const size_t count = static_cast<size_t>(n);
    if (type != type_) analogs_.clear();
    type_ = type;
    const size_t width = widthOf(type);
    auto size = [fill](auto& values, size_t length) {
        if (fill)
            values.resize(length, 0);
        else
            values.resize(length);
    };
    size(timeStamps, count);
    analogs_.resize(static_cast<size_t>(analogCount));
    for (auto& column : analogs_) size(column, count * width);
    digitalCount_ = digitalCount;
    words_.resize(static_cast<size_t>((digitalCount + 15) / 16));
    for (auto& words : words_) size(words, count);
}

void KComtradeData::append(const KComtradeData& block) {
    if (getSampleCount() == 0)
        resize(0, block.getAnalogCount(), block.getDigitalCount(), block.type_, false);
    checkType(block.type_);
    if (block.getAnalogCount() != getAnalogCount() || block.getDigitalCount() != digitalCount_)
        KAssertion("Appending samples")
            .fail("%d analog and %d status channels, not %d and %d", block.getAnalogCount(),
                  block.getDigitalCount(), getAnalogCount(), digitalCount_);
    timeStamps.insert(timeStamps.end(), block.timeStamps.begin(), block.timeStamps.end());
    for (size_t c = 0; c < analogs_.size(); ++c)
        analogs_[c].insert(analogs_[c].end(), block.analogs_[c].begin(), block.analogs_[c].end());
    for (size_t k = 0; k < words_.size(); ++k)
        words_[k].insert(words_[k].end(), block.words_[k].begin(), block.words_[k].end());
}

double KComtradeData::getAnalog(int c, int64_t i) const {
    double v = 0.0;
    visitAnalogs(c, [&](const auto* column) { v = toDouble(column[i]); });
    return v;
}

void KComtradeData::setDigital(int c, int64_t i, bool on) {
    uint16_t& word = words_[static_cast<size_t>(c >> 4)][static_cast<size_t>(i)];
    const auto bit = static_cast<uint16_t>(1u << (c & 15));
    word = on ? static_cast<uint16_t>(word | bit) : static_cast<uint16_t>(word & ~bit);
}

size_t KComtradeData::widthOf(SampleType type) {
    switch (type) {
        case INT16:
            return sizeof(int16_t);
        case INT32:
            return sizeof(int32_t);
        case FLOAT32:
            return sizeof(float);
        default:
            return sizeof(double);
    }
}

void KComtradeData::checkType(SampleType type) const {
    static const char* const names[] = {"double", "int16", "int32", "float"};
    if (type != type_)
        KAssertion("Reading analog samples")
            .fail("they are held as %s, not %s", names[type_], names[type]);
}
