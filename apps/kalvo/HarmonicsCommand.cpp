#include "HarmonicsCommand.h"

#include <langinfo.h>
#include <strings.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <kalvo/analysis/KFftTransform.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/io/KComtradeReader.h>

#include "RecordSource.h"

const char* const HarmonicsCommand::HELP =
    "usage: kalvo harmonics [FILE] [--channels LIST] [--from T] [--to T] [--max H] [--percent]\n"
    "                       [--primary] [--encoding NAME]\n"
    "\n"
    "The harmonic content of the stretch of samples from --from up to --to (seconds from the\n"
    "trigger; by default the cycle of the line frequency that starts at the trigger): one row\n"
    "per harmonic with each channel's RMS magnitude and phase in degrees (of a cosine, at the\n"
    "start of the stretch), then each channel's total harmonic distortion relative to its\n"
    "fundamental. Over several whole cycles, harmonic h is h times the line frequency; over\n"
    "a stretch that is not whole cycles, harmonics are of the stretch's own frequency.\n"
    "Works on the embedded sample when no FILE is given.\n"
    "\n"
    "  --channels LIST  channel names or numbers (from 1), separated by commas; all analog\n"
    "                   channels by default\n"
    "  --from T, --to T the stretch, in seconds from the trigger\n"
    "  --max H          the highest harmonic shown (50 by default; never more than half the\n"
    "                   samples of the stretch)\n"
    "  --percent        magnitudes in percent of each channel's fundamental\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n";

namespace {

struct Harmonic {
    double rms;
    double degrees;
};

// The degree mark of the phase column, as the terminal's character set writes it.
const char* degreeMark() {
    const char* codeset = nl_langinfo(CODESET);
    if (strcasecmp(codeset, "ISO-8859-1") == 0 || strcasecmp(codeset, "ISO-8859-15") == 0 ||
        strcasecmp(codeset, "CP1252") == 0)
        return "\xBA";
    return "\xC2\xBA";
}

// "%c %.0f%c": the sign, the whole degrees and the mark.
std::string phaseText(double degrees, const char* mark) {
    char text[32];
    snprintf(text, sizeof text, "%c %.0f%s", degrees < 0 ? '-' : '+', std::fabs(degrees), mark);
    return text;
}

// Magnitude (RMS) and cosine phase of every bin up to half the samples.
std::vector<Harmonic> spectrum(KFftTransform& fft, const double* values, int n) {
    std::vector<double> zeros(static_cast<size_t>(n), 0.0);
    KVector<double> in, out;
    in.add(const_cast<double*>(values));
    in.add(zeros.data());
    int half = n;
    if (!fft.transform(in, out, half))
        KException::raise("Harmonics", "the FFT of %d samples failed", n);
    const double* re = out.get(1);
    const double* im = out.get(2);
    std::vector<Harmonic> bins;
    for (int k = 0; k <= half; ++k) {
        // The transform's kernel is e^(+i...): the conjugate of the usual one, so the usual
        // phase is that of re - i im. Bin 0 and (for even n) bin n/2 have no mirror image.
        const double scale = (k == 0 || 2 * k == n) ? 1.0 / n : std::sqrt(2.0) / n;
        bins.push_back({scale * std::hypot(re[k], im[k]),
                        std::atan2(-im[k], re[k]) * 180.0 / 3.14159265358979323846});
    }
    KDataTransform::deleteColumns(out);
    return bins;
}

}  // namespace

int HarmonicsCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    const KRecord& r = source.record;
    const std::vector<int> traces = source.selectTraces(options.channels, true);
    if (traces.empty())
        KException::raise("Harmonics", "%s has no analog channels", source.name.c_str());
    const double lineFrequency = atof(r.getProperty(KComtradeReader::LINE_FREQUENCY).c_str());
    const double cycle = lineFrequency > 0 ? 1.0 / lineFrequency : 0.0;
    double from = options.hasFrom ? options.from : r.getTriggerValue();
    double to = options.hasTo ? options.to : from + cycle;
    if (!options.hasFrom && options.hasTo) from = to - cycle;
    if (!(to > from))
        KException::raise("Usage", "the record has no line frequency: give --from and --to");
    int first, end;
    source.findStretch(from, to, false, first, end);
    const int n = end - first;
    if (n < 2)
        KException::raise("Harmonics", "%s has %d samples from %g s to %g s; at least 2 are needed",
                          source.name.c_str(), n, from, to);
    const double* x = r.getXData() + first;
    const double step = x[1] - x[0];
    for (int i = 1; i < n; ++i)
        if (std::fabs((x[i] - x[i - 1]) - step) > 1e-3 * step)
            KException::raise("Harmonics",
                              "the sampling rate changes at %.9g s, inside the stretch; choose "
                              "a stretch of one rate",
                              x[i - 1]);
    // Harmonic h sits in bin h * cycles when the stretch is whole cycles of the line.
    const double length = n * step;
    int cycles = lineFrequency > 0 ? static_cast<int>(std::lround(length * lineFrequency)) : 0;
    const bool whole = cycles >= 1 && std::fabs(length * lineFrequency - cycles) < 0.01;
    if (!whole) cycles = 1;
    const int top = std::min(options.maxHarmonic, n / 2 / cycles);

    KFftTransform fft;
    fft.setSampleRate(1.0 / step);
    std::vector<std::vector<Harmonic>> spectra;
    for (int k : traces) {
        const double* values = r.getTrace(k)->getData() + first;
        for (int i = 0; i < n; ++i)
            if (std::isnan(values[i]))
                KException::raise("Harmonics", "channel %s misses the sample at %.9g s",
                                  r.getTrace(k)->getName().c_str(), x[i]);
        spectra.push_back(spectrum(fft, values, n));
    }

    fprintf(out, "Harmonics of %s, %s values\n", source.name.c_str(),
            r.getProperty(KComtradeReader::VALUES).c_str());
    if (whole)
        fprintf(out,
                "Stretch: %.9g s to %.9g s from the trigger, %d samples, %d cycle%s of %g Hz\n",
                x[0], x[0] + length, n, cycles, cycles > 1 ? "s" : "", lineFrequency);
    else
        fprintf(out,
                "Stretch: %.9g s to %.9g s from the trigger, %d samples; not whole cycles of the "
                "line, so harmonics of %.6g Hz\n",
                x[0], x[0] + length, n, 1.0 / length);
    fprintf(out, "\n%8s", "Harmonic");
    for (int k : traces) {
        const KRecord::Trace& t = *r.getTrace(k);
        std::string head =
            std::string(t.getName().c_str()) +
            (options.percent ? " %" : " RMS (" + std::string(t.getUnits().c_str()) + ")");
        fprintf(out, "  %16s  %8s", head.c_str(), "phase");
    }
    fprintf(out, "\n");
    const char* mark = degreeMark();
    for (int h = 1; h <= top; ++h) {
        fprintf(out, "%8d", h);
        for (const auto& bins : spectra) {
            const Harmonic& b = bins[static_cast<size_t>(h * cycles)];
            const double fundamental = bins[static_cast<size_t>(cycles)].rms;
            const double shown = options.percent ? 100.0 * b.rms / fundamental : b.rms;
            fprintf(out, "  %16.6g  %8s", shown, phaseText(b.degrees, mark).c_str());
        }
        fprintf(out, "\n");
    }
    fprintf(out, "\nTHD (harmonics 2 to %d, relative to the fundamental):\n", top);
    for (size_t c = 0; c < traces.size(); ++c) {
        double sum = 0.0;
        for (int h = 2; h <= top; ++h)
            sum += std::pow(spectra[c][static_cast<size_t>(h * cycles)].rms, 2);
        const double fundamental = spectra[c][static_cast<size_t>(cycles)].rms;
        fprintf(out, "  %-16s  %.4g %%\n", r.getTrace(traces[c])->getName().c_str(),
                100.0 * std::sqrt(sum) / fundamental);
    }
    return 0;
}
