// Prints engineering labels, ranges and grid steps for a few spans and values: what an
// axis would show for them.
#include <cstdio>

#include <kalvo/kalvo.h>

int main() {
    const double values[] = {0.0, 2e-16, 4.7e-12, 3.3e-9, 0.000125, 0.001, 0.0011, 0.25,
                             12.5, 999.0, 1000.0, 1500.0, 2.2e6, 7.5e9, 1.2e13, 3e15, -0.047};
    std::printf("%-14s %-12s %-12s %-18s\n", "value", "toLabel(,2)", "fixed(,2)", "toString");
    for (double v : values) {
        std::printf("%-14g %-12s %-12s %-18s\n", v, KDouble::toLabel(v, 2).c_str(),
                    KDouble::toLabelFixed(v, 2).c_str(), KDouble::toString(v).c_str());
    }

    struct Span {
        double minimum, maximum;
        bool unitized;
    };
    const Span spans[] = {{0, 7, false},       {0, 1.5, false},    {1.3, 36.2, false},
                          {5, 5, false},        {-0.0021, 0.0187, false}, {0, 1e-13, false},
                          {0, 2.5e7, false},    {0, 7200, true},    {0, 86400 * 3, true},
                          {0, 86400 * 400, true}, {-0.1, 0.35, false}};
    std::printf("\n%-26s %-26s %-12s %-9s %s\n", "range", "snapped", "grid", "decimals", "ticks");
    for (const Span& s : spans) {
        KRange range(s.minimum, s.maximum);
        range.setUnitized(s.unitized);
        range.computeGrid(true);
        KString limits, snapped;
        limits.format("%g .. %g%s", s.minimum, s.maximum, s.unitized ? " s" : "");
        snapped.format("%g .. %g", range.getMinimum(), range.getMaximum());
        const int decimals = range.getPrecision();
        std::printf("%-26s %-26s %-12g %-9d", limits.c_str(), snapped.c_str(), range.getGrid(), decimals);
        const double step = range.getGrid();
        int shown = 0;
        for (double t = range.getMinimum(); t <= range.getMaximum() + step / 2 && shown < 8;
             t += step, ++shown) {
            const double tick = KRange::snapZero(t, 15);
            std::printf(" %s", KDouble::toLabel(tick, decimals, range.getMinimum(),
                                                range.getMaximum()).c_str());
        }
        std::printf("\n");
    }
    return 0;
}
