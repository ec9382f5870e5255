#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The extremes of a sample array kept in a pyramid, so that the smallest and largest value
// of any stretch are found in time that grows with the logarithm of its length. Level 0
// holds the minimum and maximum of every block of 64 samples, each further level those of
// 8 blocks of the level below; non-finite samples are left out of the extremes, and every
// block remembers whether it had any. The pyramid costs about 3.6 % of the samples'
// memory. It does not keep the samples: queries are given the same array again.
//
// The summary also notes whether the domain the samples belong to runs forward (finite and
// never decreasing), which is what lets a display find the samples of a pixel column by
// bisection.
class KTraceSummary {
public:
    // The extremes of a stretch: min > max when it holds no finite sample; gap when it
    // holds a non-finite one.
    struct Extremes {
        double min;
        double max;
        bool gap;
    };

    static constexpr int BLOCK = 64;
    static constexpr int FANOUT = 8;

    // Summarises n samples of y; x is their domain (null: taken as running forward).
    void build(const double* x, const double* y, int n);
    void clear();
    bool isEmpty() const { return count_ == 0; }
    int getCount() const { return count_; }
    bool isDomainOrdered() const { return ordered_; }
    // The extremes of y[from..to-1], from..to cut to the summarised samples; y must be the
    // array the summary was built from.
    Extremes find(const double* y, int from, int to) const;
    // Bytes held by the pyramid.
    std::size_t getMemorySize() const;

private:
    // The extremes of a block side by side (one memory line for both), and a bit per block
    // for its gaps.
    struct Node {
        double min;
        double max;
    };
    struct Level {
        std::vector<Node> nodes;
        std::vector<std::uint64_t> gaps;
        bool gap(std::size_t i) const { return (gaps[i / 64] >> (i % 64)) & 1u; }
        void setGap(std::size_t i) { gaps[i / 64] |= std::uint64_t{1} << (i % 64); }
    };

    void scan(const double* y, int level, int from, int to, Extremes& e) const;
    void query(const double* y, int level, int from, int to, Extremes& e) const;

    int count_ = 0;
    bool ordered_ = true;
    std::vector<Level> levels_;
};
