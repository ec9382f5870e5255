#pragma once

// A pair of ints that clamps integers.
class KLimits {
public:
    KLimits(int minimum = 0, int maximum = 0) : minimum_(minimum), maximum_(maximum) {}

    void set(int minimum, int maximum) {
        minimum_ = minimum;
        maximum_ = maximum;
    }
    int getMinimum() const { return minimum_; }
    int getMaximum() const { return maximum_; }
    bool contains(int v) const { return minimum_ <= v && v <= maximum_; }
    // Raised to the minimum, then lowered to the maximum (which wins when they cross).
    int constrain(int v) const {
        if (v < minimum_) v = minimum_;
        if (v > maximum_) v = maximum_;
        return v;
    }

private:
    int minimum_;
    int maximum_;
};
