// Writes a large COMTRADE record for measuring the viewer on it: CHANNELS analog channels of
// SAMPLES samples at 10 kHz (16-bit binary), three-phase voltages and currents of 60 Hz with
// noise and a fault a third of the way in, and two status channels that change at the fault.
//
//   kalvo_make_large_record OUT.cfg [CHANNELS] [SAMPLES]     (12 and 10000000 by default)
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeWriter.h>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s OUT.cfg [CHANNELS] [SAMPLES]\n", argv[0]);
        return 2;
    }
    const int channels = argc > 2 ? std::atoi(argv[2]) : 12;
    const long long samples = argc > 3 ? std::atoll(argv[3]) : 10000000;
    if (channels < 1 || channels > 1000 || samples < 2) {
        std::fprintf(stderr, "%s: 1 to 1000 channels and at least 2 samples\n", argv[0]);
        return 2;
    }
    constexpr double RATE = 10000.0, LINE = 60.0;
    KComtradeFile file;
    KComtradeConfig& c = file.config;
    c.station = "KALVO LARGE";
    c.device = "BENCH";
    c.revision = KComtradeConfig::REV_1999;
    c.revisionText = "1999";
    c.fileType = KComtradeConfig::BINARY;
    c.lineFrequency = LINE;
    c.rates = {KComtradeConfig::Rate{RATE, samples}};
    KString reason;
    bool swapped = false;
    c.start.parse("14/03/2024", "09:26:50.000000", false, reason, swapped);
    c.trigger.parse("14/03/2024", "09:26:51.000000", false, reason, swapped);
    const char* phases[] = {"A", "B", "C"};
    for (int k = 0; k < channels; ++k) {
        KComtradeConfig::Analog a;
        a.index = k + 1;
        const bool current = (k / 3) % 2 == 1;
        a.id =
            (std::string(current ? "I" : "V") + phases[k % 3] + std::to_string(k / 6 + 1)).c_str();
        a.phase = phases[k % 3];
        a.units = current ? "A" : "kV";
        a.a = current ? 0.5 : 0.01;
        c.analogs.push_back(a);
    }
    for (int d = 0; d < 2; ++d) {
        KComtradeConfig::Digital s;
        s.index = channels + d + 1;
        s.id = d == 0 ? "TRIP" : "52A";
        c.digitals.push_back(s);
    }
    file.data.resize(samples, channels, 2, KComtradeData::INT16, false);
    const long long fault = samples / 3;
    unsigned noise = 12345;
    for (long long i = 0; i < samples; ++i)
        file.data.timeStamps[static_cast<size_t>(i)] = static_cast<double>(i) * 100;
    for (int k = 0; k < channels; ++k) {
        int16_t* y = file.data.getAnalogs<int16_t>(k);
        const bool current = (k / 3) % 2 == 1;
        const double phase = -2 * M_PI / 3 * (k % 3);
        for (long long i = 0; i < samples; ++i) {
            const double t = static_cast<double>(i) / RATE;
            const bool faulted = i >= fault && i < fault + 2000 && k % 3 == 0;
            const double amplitude = current ? (faulted ? 16000 : 2000) : (faulted ? 4000 : 11000);
            noise = noise * 1103515245u + 12345u;
            const double v = amplitude * std::sin(2 * M_PI * LINE * t + phase) +
                             static_cast<double>((noise >> 16) % 200) - 100;
            y[i] = static_cast<int16_t>(std::lround(v));
        }
    }
    for (long long i = 0; i < samples; ++i) {
        file.data.setDigital(0, i, i >= fault + 300 && i < fault + 1500);
        file.data.setDigital(1, i, i < fault + 900);
    }
    try {
        KComtradeWriter::write(file, argv[1]);
    } catch (const KException& e) {
        std::fprintf(stderr, "%s: %s\n", argv[0], e.getText().c_str());
        return 1;
    }
    return 0;
}
