#include "HarmonicsCommand.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <kalvo/analysis/KFftTransform.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/io/KComtradeReader.h>

#include "AnalysisStretch.h"
#include "ChannelSelection.h"
#include "DisplayText.h"
#include "RecordSource.h"

const char* const HarmonicsCommand::HELP =
    "usage: kalvo harmonics [FILE] [--channels LIST] [--from T] [--to T] [--max H] [--wide]\n"
    "                       [--percent] [--primary] [--encoding NAME] [--quiet]\n"
    "\n"
    "The harmonic content of the stretch of samples from --from up to --to (seconds from the\n"
    "trigger; by default the cycle of the line frequency that starts at the trigger): for\n"
    "each analog channel a block of one row per harmonic with its frequency, RMS magnitude,\n"
    "share of the fundamental and phase (of a cosine, at the start of the stretch), headed by\n"
    "the channel's total harmonic distortion relative to its fundamental (n/a when the\n"
    "fundamental is 0). Over several whole cycles, harmonic h is h times the line frequency;\n"
    "over a stretch that is not whole cycles, harmonics are of the stretch's own frequency.\n"
    "Works on the embedded sample when no FILE is given.\n"
    "\n"
    "  --channels LIST  numbers from 1, ranges (1-4), names and patterns (I*, V?),\n"
    "                   separated by commas; all analog channels by default\n"
    "  --from T, --to T the stretch, in seconds from the trigger\n"
    "  --max H          the highest harmonic shown (50 by default; never more than half the\n"
    "                   samples of the stretch)\n"
    "  --wide           one table with every channel side by side\n"
    "  --percent        in the wide table, magnitudes in percent of each fundamental\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n"
    "  --quiet          no progress line while a large file is read\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or makes no sense, 2 a usage error.\n";

namespace {

struct Harmonic {
    double rms;
    double degrees;
};

// "+ 35°": the sign, the whole degrees and the degree sign.
std::string phaseText(double degrees) {
    char text[32];
    const double whole = std::round(degrees);
    snprintf(text, sizeof text, "%c %.0f\xC2\xB0", whole < 0 ? '-' : '+', std::fabs(whole));
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

// "4.47 %", or "n/a" when there is no fundamental to relate to.
std::string thdText(double thd) {
    if (!std::isfinite(thd)) return "n/a";
    char text[32];
    snprintf(text, sizeof text, "%.4g %%", thd);
    return text;
}

}  // namespace

int HarmonicsCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    KRecord r;
    source.read(r);
    const std::vector<int> traces = ChannelSelection(source.getReader().getConfig(), source.getName())
                                        .select(options.channels, ChannelSelection::ANALOG);
    if (traces.empty())
        KException::raise("Harmonics", "%s has no analog channels", source.getName().c_str());
    const AnalysisStretch window = AnalysisStretch::choose(r, options, source.getName(), "Harmonics");
    const int first = window.first;
    const int n = window.end - first;
    const double* x = r.getXData() + first;
    const double lineFrequency = window.lineFrequency;
    const double length = window.to - window.from;
    // Harmonic h sits in bin h * cycles when the stretch is whole cycles of the line.
    const bool whole = window.cycles >= 1;
    const int cycles = whole ? window.cycles : 1;
    const int top = std::min(options.maxHarmonic, n / 2 / cycles);
    const double base = whole ? lineFrequency : 1.0 / length;

    KFftTransform fft;
    std::vector<std::vector<Harmonic>> spectra;
    std::vector<double> thd;
    for (int k : traces) {
        const double* values = r.getTrace(k)->getData() + first;
        for (int i = 0; i < n; ++i)
            if (std::isnan(values[i]))
                KException::raise("Harmonics", "%s has a missing sample at %s s, inside the stretch",
                                  DisplayText::escape(r.getTrace(k)->getName().c_str()).c_str(),
                                  RecordSource::seconds(x[i]).c_str());
        spectra.push_back(spectrum(fft, values, n));
        double sum = 0.0;
        for (int h = 2; h <= top; ++h)
            sum += std::pow(spectra.back()[static_cast<size_t>(h * cycles)].rms, 2);
        const double fundamental = spectra.back()[static_cast<size_t>(cycles)].rms;
        thd.push_back(fundamental > 0 ? 100.0 * std::sqrt(sum) / fundamental : NAN);
    }

    std::string heading = "Harmonics of " + DisplayText::escape(source.getName()) + ", " +
                          r.getProperty(KComtradeReader::VALUES).c_str() + " values";
    fputs(DisplayText::wrap(heading, 100).c_str(), out);
    std::string stretch = "Stretch: " + RecordSource::seconds(x[0]) + " s to " +
                          RecordSource::seconds(x[0] + length) + " s from the trigger, " +
                          RecordSource::count(n, "sample");
    char frequency[32];
    snprintf(frequency, sizeof frequency, "%.6g", base);
    if (whole)
        stretch += ", " + RecordSource::count(cycles, "cycle") + " of " + frequency + " Hz";
    else
        stretch += "; not whole cycles of the line, so harmonics of " + std::string(frequency) +
                   " Hz";
    fputs(DisplayText::wrap(stretch, 100, "", "         ").c_str(), out);

    auto name = [&](int k) { return DisplayText::escape(r.getTrace(k)->getName().c_str()); };
    auto units = [&](int k) { return DisplayText::escape(r.getTrace(k)->getUnits().c_str()); };
    if (options.wide) {
        fprintf(out, "\n%8s", "Harmonic");
        for (int k : traces)
            fprintf(out, "  %s  %8s",
                    DisplayText::fit(name(k) + (options.percent ? " %" : " RMS (" + units(k) + ")"),
                                     16, true)
                        .c_str(),
                    "phase");
        fprintf(out, "\n");
        for (int h = 1; h <= top; ++h) {
            fprintf(out, "%8d", h);
            for (const auto& bins : spectra) {
                const Harmonic& b = bins[static_cast<size_t>(h * cycles)];
                const double fundamental = bins[static_cast<size_t>(cycles)].rms;
                const double shown = options.percent ? 100.0 * b.rms / fundamental : b.rms;
                fprintf(out, "  %16.6g  %s", shown,
                        DisplayText::fit(phaseText(b.degrees), 8, true).c_str());
            }
            fprintf(out, "\n");
        }
        fprintf(out, "\nTHD (harmonics 2 to %d, relative to the fundamental):\n", top);
        for (size_t c = 0; c < traces.size(); ++c)
            fprintf(out, "  %s  %s\n", DisplayText::fit(name(traces[c]), 24).c_str(),
                    thdText(thd[c]).c_str());
        return 0;
    }
    for (size_t c = 0; c < traces.size(); ++c) {
        const KRecord::Trace& t = *r.getTrace(traces[c]);
        std::string title = name(traces[c]);
        std::string about;
        if (!t.getPhase().isEmpty()) about = "phase " + DisplayText::escape(t.getPhase().c_str());
        if (!t.getUnits().isEmpty())
            about += (about.empty() ? "" : ", ") + std::string("in ") + units(traces[c]);
        if (!about.empty()) title += " (" + about + ")";
        fprintf(out, "\n%s  THD %s (harmonics 2 to %d)\n", DisplayText::fit(title, 60).c_str(),
                thdText(thd[c]).c_str(), top);
        fprintf(out, "  %8s  %14s  %s  %12s  %8s\n", "harmonic", "frequency (Hz)",
                DisplayText::fit("RMS (" + units(traces[c]) + ")", 14, true).c_str(), "% of fund.",
                "phase");
        const double fundamental = spectra[c][static_cast<size_t>(cycles)].rms;
        for (int h = 1; h <= top; ++h) {
            const Harmonic& b = spectra[c][static_cast<size_t>(h * cycles)];
            char percent[32] = "n/a";
            if (fundamental > 0) snprintf(percent, sizeof percent, "%.4g", 100.0 * b.rms / fundamental);
            fprintf(out, "  %8d  %14.6g  %14.6g  %12s  %s\n", h, h * base, b.rms, percent,
                    DisplayText::fit(phaseText(b.degrees), 8, true).c_str());
        }
    }
    return 0;
}
