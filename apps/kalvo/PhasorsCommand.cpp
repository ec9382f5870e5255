#include "PhasorsCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include <kalvo/analysis/KFftTransform.h>
#include <kalvo/analysis/KPhasorFrame.h>
#include <kalvo/analysis/KSymmetricalComponents.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeReader.h>
#include <kalvo/record/KPhaseChannels.h>
#include <kalvo/record/KRecord.h>

#include "AnalysisStretch.h"
#include "ChannelSelection.h"
#include "DisplayText.h"
#include "RecordSource.h"

const char* const PhasorsCommand::HELP =
    "usage: kalvo phasors [FILE] [--channels A,B,C] [--from T] [--to T] [--rotation ABC|ACB]\n"
    "                     [--primary] [--encoding NAME] [--quiet]\n"
    "\n"
    "Three channels as phasors, and their symmetrical components: for each channel the RMS\n"
    "magnitude (in its units) and the angle in degrees of its component at the base frequency\n"
    "of the stretch from --from up to --to (seconds from the trigger; by default the cycle of\n"
    "the line frequency that starts at the trigger, so the fundamental), angles of a cosine at\n"
    "the start of the stretch; then the positive-, negative- and zero-sequence components of\n"
    "phase A. Works on the embedded sample when no FILE is given.\n"
    "\n"
    "  --channels A,B,C  the channels of phases A, B and C: names, numbers from 1 or patterns;\n"
    "                    by default the first set of phase voltages or currents (found by\n"
    "                    their names, phases and units), else the first three analog channels\n"
    "  --from T, --to T  the stretch, in seconds from the trigger\n"
    "  --rotation R      the phase rotation, ABC (default) or ACB: with ACB the sequence that\n"
    "                    turns A, C, B is the positive one\n"
    "  --primary         values on the primary side of the instrument transformers\n"
    "  --encoding NAME   character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n"
    "  --quiet           no progress line while a large file is read\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or makes no sense, 2 a usage error.\n";

namespace {


std::string angleText(double degrees) {
    if (!std::isfinite(degrees)) return "---";
    char text[32];
    // No "-0.0".
    snprintf(text, sizeof text, "%.1f\xC2\xB0", std::fabs(degrees) < 0.05 ? 0.0 : degrees);
    return text;
}

std::string magnitudeText(double value) {
    if (!std::isfinite(value)) return "---";
    char text[32];
    snprintf(text, sizeof text, "%.6g", value);
    return text;
}

}  // namespace

std::vector<int> PhasorsCommand::defaultChannels(const KRecord& record, int analogCount) {
    int sets[2][3];
    KPhaseChannels::find(record, sets[0], sets[1]);
    // The complete set (voltages or currents) that starts first in channel order.
    const std::vector<int>* first = nullptr;
    std::vector<int> complete[2];
    for (int k = 0; k < 2; ++k) {
        if (sets[k][0] < 0 || sets[k][1] < 0 || sets[k][2] < 0) continue;
        complete[k].assign(sets[k], sets[k] + 3);
        const int start = *std::min_element(sets[k], sets[k] + 3);
        if (first == nullptr || start < *std::min_element(first->begin(), first->end())) first = &complete[k];
    }
    if (first != nullptr) return *first;
    std::vector<int> leading;
    for (int k = 0; k < std::min(analogCount, record.getTraceCount()) && k < 3; ++k) leading.push_back(k);
    return leading;
}

int PhasorsCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    KRecord r;
    source.read(r);
    const KComtradeConfig& config = source.getReader().getConfig();
    const int analogs = static_cast<int>(config.analogs.size());
    std::vector<int> traces = options.channels.empty()
                                  ? defaultChannels(r, analogs)
                                  : ChannelSelection(config, source.getName())
                                        .select(options.channels, ChannelSelection::ANALOG);
    if (traces.size() != 3) {
        if (options.channels.empty()) {
            KException::raise("Usage", "%s has %d analog channels; phasors need three",
                              source.getName().c_str(), analogs);
        }
        KException::raise("Usage",
                          "--channels needs three channels, the phases A, B and C; %d given",
                          static_cast<int>(traces.size()));
    }
    KSymmetricalComponents::Rotation rotation = KSymmetricalComponents::ABC;
    KSymmetricalComponents::parseRotation(options.rotation.c_str(), rotation);
    const AnalysisStretch s = AnalysisStretch::choose(r, options, source.getName(), "Phasors");
    const int n = s.end - s.first;

    KFftTransform fft;
    KSymmetricalComponents::Phasor abc[3];
    for (int p = 0; p < 3; ++p) {
        const KRecord::Trace& t = *r.getTrace(traces[p]);
        const double* values = t.getData() + s.first;
        for (int i = 0; i < n; ++i) {
            if (std::isnan(values[i])) {
                KException::raise("Phasors", "%s has a missing sample at %s s, inside the stretch",
                                  DisplayText::escape(t.getName().c_str()).c_str(),
                                  RecordSource::seconds(r.getXData()[s.first + i]).c_str());
            }
        }
        double rms, degrees;
        if (!KPhasorFrame::computePhasor(fft, values, n, rms, degrees)) {
            KException::raise("Phasors", "the FFT of %d samples failed", n);
        }
        abc[p] = KSymmetricalComponents::fromPolar(rms, degrees);
    }
    KSymmetricalComponents::Phasor sequences[3];
    KSymmetricalComponents::compute(abc, rotation, sequences);

    std::string heading = "Phasors of " + DisplayText::escape(source.getName()) + ", " +
                          r.getProperty(KComtradeReader::VALUES).c_str() + " values";
    fputs(DisplayText::wrap(heading, 100).c_str(), out);
    char frequency[32];
    snprintf(frequency, sizeof frequency, "%.6g", 1.0 / (s.to - s.from));
    std::string stretch = "Stretch: " + RecordSource::seconds(s.from) + " s to " +
                          RecordSource::seconds(s.to) + " s from the trigger, " +
                          RecordSource::count(n, "sample");
    if (s.cycles == 1) {
        stretch += ", 1 cycle of " + std::string(frequency) + " Hz";
    } else {
        stretch += "; base frequency " + std::string(frequency) + " Hz";
        if (s.cycles > 1)
            stretch += " (" + RecordSource::count(s.cycles, "cycle") + " of the line)";
    }
    fputs(DisplayText::wrap(stretch, 100, "", "         ").c_str(), out);
    fprintf(out, "Phase rotation: %s\n", KSymmetricalComponents::getRotationName(rotation));

    auto name = [&](int k) { return DisplayText::escape(r.getTrace(k)->getName().c_str()); };
    auto units = [&](int k) { return DisplayText::escape(r.getTrace(k)->getUnits().c_str()); };
    fprintf(out, "\n  %-6s  %s  %14s  %9s\n", "phase", DisplayText::fit("channel", 24).c_str(),
            "RMS", "angle");
    for (int p = 0; p < 3; ++p) {
        std::string channel = name(traces[p]);
        if (!units(traces[p]).empty()) channel += " (" + units(traces[p]) + ")";
        fprintf(out, "  %-6c  %s  %14s  %s\n", 'A' + p, DisplayText::fit(channel, 24).c_str(),
                magnitudeText(std::abs(abc[p])).c_str(),
                DisplayText::fit(angleText(KSymmetricalComponents::degreesOf(abc[p])), 9, true)
                    .c_str());
    }
    const bool sameUnits =
        units(traces[0]) == units(traces[1]) && units(traces[0]) == units(traces[2]);
    const std::string rmsHeading =
        sameUnits && !units(traces[0]).empty() ? "RMS (" + units(traces[0]) + ")" : "RMS";
    fprintf(out, "\n  %-8s  %14s  %9s\n", "sequence", rmsHeading.c_str(), "angle");
    static const char* const names[3] = {"zero", "positive", "negative"};
    const double largest = std::max({std::abs(abc[0]), std::abs(abc[1]), std::abs(abc[2])});
    for (int k : {KSymmetricalComponents::POSITIVE, KSymmetricalComponents::NEGATIVE,
                  KSymmetricalComponents::ZERO}) {
        // A component that is nothing but rounding has no angle to speak of.
        const double size = std::abs(sequences[k]);
        const bool nothing = size <= 1e-9 * largest;
        fprintf(out, "  %-8s  %14s  %s\n", names[k], magnitudeText(nothing ? 0.0 : size).c_str(),
                DisplayText::fit(
                    nothing ? "---" : angleText(KSymmetricalComponents::degreesOf(sequences[k])), 9,
                    true)
                    .c_str());
    }
    if (!sameUnits) fprintf(out, "\nThe channels' units differ: the sequences mix them.\n");
    return 0;
}
