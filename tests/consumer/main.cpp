// Builds a record, analyses it and prints the fundamental: what a program using Kalvo does.
#include <cmath>
#include <cstdio>

#include <kalvo/kalvo.h>

int main() {
    KRecord record;
    record.create(1, 64, 64);
    for (int i = 0; i < 64; ++i) {
        record.setDomainValue(i / 3840.0);
        record.setTraceValue(0, 10.0 * std::sin(2 * M_PI * 60 * i / 3840.0));
        record.commit();
    }
    record.selectTrace(0);
    KFftTransform fft;
    KRecord spectrum;
    if (!fft.transform(&record, spectrum, 0, 64, false, false)) return 1;
    spectrum.selectTrace(0);
    printf("%.0f Hz: %.2f\n", spectrum.getXData()[1], spectrum.getYData()[1]);
    return 0;
}
