#include "ImpedanceCommand.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <kalvo/foundation/KException.h>
#include <kalvo/plot/KCharacteristic.h>
#include <kalvo/record/KImpedanceTransform.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/record/KSlidingPhasorTransform.h>

#include "DisplayText.h"
#include "ImpedanceOptions.h"
#include "RecordSource.h"

const char* const ImpedanceCommand::HELP =
    "usage: kalvo impedance [FILE] --loop L[,L...] [--k0 MAG,ANGLE] [--mho "
    "REACH,ANGLE[,OFFSET]]...\n"
    "                       [--quad X,R,ANGLE]... [--channels VA,VB,VC,IA,IB,IC] [--from T] [--to "
    "T]\n"
    "                       [--primary] [--encoding NAME] [--quiet]\n"
    "\n"
    "The apparent impedance that a distance relay measures on each fault loop, from one-cycle\n"
    "phasors (the full-cycle DFT at the line frequency) of the phase voltages and currents:\n"
    "phase to ground V / (I + k0 3I0), phase to phase (Va - Vb) / (Ia - Ib). A row per cycle of\n"
    "the line frequency from the trigger (or --from) to the end of the record (or --to), each\n"
    "for the cycle that ends then: R, X, |Z| and its angle, in primary ohms with --primary and\n"
    "secondary ohms otherwise, and the zones it lies in. After the rows, each zone's first\n"
    "entry, sample by sample. Works on the embedded sample when no FILE is given.\n"
    "\n"
    "  --loop L         the loop(s), separated by commas: AG, BG, CG, AB, BC, CA\n"
    "  --k0 MAG,ANGLE   the residual compensation factor k0 = (Z0 - Z1) / 3 Z1, magnitude and\n"
    "                   angle in degrees (0 by default: no compensation)\n"
    "  --mho R,A[,O]    a mho zone: reach R ohms at A degrees, offset O ohms back; repeatable\n"
    "  --quad X,R,A     a quadrilateral zone: reactive reach X and resistive reach R ohms, line\n"
    "                   angle A degrees; repeatable\n"
    "  --channels LIST  the phase voltages and currents, in the order VA,VB,VC,IA,IB,IC (names\n"
    "                   or numbers from 1); found by their names and units by default\n"
    "  --from T, --to T the rows' first and last time, in seconds from the trigger\n"
    "  --primary        values, and so ohms, on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of the texts: auto (default), utf-8, latin1, cp1251, gbk\n"
    "  --quiet          no progress line while a large file is read\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or makes no sense, 2 a usage error (among\n"
    "them a record without three phase voltages and currents, or without a line frequency).\n";

namespace {

constexpr double PI = 3.14159265358979323846;

// A number of ohms in a column of 10.
std::string ohms(double v) {
    char text[32];
    if (!std::isfinite(v)) return "         -";
    snprintf(text, sizeof text, "%10.4g", v);
    return text;
}

}  // namespace

int ImpedanceCommand::run(const CommandLine& options, FILE* out) {
    RecordSource source(options);
    KRecord record;
    source.read(record);
    const ImpedanceOptions wanted(options, source, record);
    const std::string name = DisplayText::escape(source.getName());
    const int n = record.getSampleCount();
    if (n < 2)
        KException::raise("Impedance", "%s holds %s", name.c_str(),
                          RecordSource::count(n, "sample").c_str());
    KSlidingPhasorTransform phasors;
    const double hz = phasors.frequencyFor(record);
    if (hz <= 0)
        KException::raise("Usage", "%s has no line frequency to take phasors at", name.c_str());
    const double cycle = 1.0 / hz;
    const double* x = record.getXData();
    const double trigger =
        std::isfinite(record.getTriggerValue()) ? record.getTriggerValue() : x[0];
    const double from = options.hasFrom ? options.from : trigger;
    const double to = options.hasTo ? options.to : x[n - 1];
    std::vector<std::unique_ptr<KCharacteristic>> zones;
    for (KCharacteristic* z : wanted.getSettings().makeZones()) zones.emplace_back(z);

    fprintf(out, "%s",
            DisplayText::wrap("Apparent impedance of " + name + ", " +
                                  std::string(record.getProperty("Values").c_str()) + " ohms",
                              100)
                .c_str());
    fprintf(out, "Channels: %s; %s\n", wanted.describeChannels(record).c_str(),
            wanted.getSettings().describeK0().c_str());
    for (size_t z = 0; z < zones.size(); ++z)
        fprintf(out, "Zone %d: %s\n", static_cast<int>(z) + 1, zones[z]->describe().c_str());
    for (int loop : wanted.loops) {
        KImpedanceTransform transform;
        wanted.setUp(transform, loop);
        KRecord z;
        if (!transform.transform(&record, z, 0, n, false, false))
            KException::raise("Usage", "%s", transform.getError().c_str());
        const double* r = z.getTrace(0)->getData();
        const double* xs = z.getTrace(1)->getData();
        fprintf(out, "\nLoop %s: one-cycle phasors at %g Hz, %s a cycle\n",
                KImpedanceTransform::getLoopName(loop), hz,
                RecordSource::count(transform.getWindow(), "sample").c_str());
        fprintf(out, "%6s  %12s  %10s  %10s  %10s  %7s", "cycle", "time (s)", "R (\xCE\xA9)",
                "X (\xCE\xA9)", "|Z| (\xCE\xA9)", "angle");
        if (!zones.empty()) fprintf(out, "  zones");
        fprintf(out, "\n");
        // The sample that ends each cycle: the last at or before its time.
        int i = 0, k = 0;
        for (double t = from; t <= to + 1e-9; t = from + (++k) * cycle) {
            while (i + 1 < n && x[i + 1] <= t + 1e-9) ++i;
            if (x[i] > t + 1e-9) continue;
            char angle[32] = "      -";
            if (std::isfinite(r[i]) && std::isfinite(xs[i]))
                snprintf(angle, sizeof angle, "%6.1f\xC2\xB0", std::atan2(xs[i], r[i]) * 180 / PI);
            fprintf(out, "%6d  %12s  %s  %s  %s  %s", k, RecordSource::seconds(x[i]).c_str(),
                    ohms(r[i]).c_str(), ohms(xs[i]).c_str(), ohms(std::hypot(r[i], xs[i])).c_str(),
                    angle);
            std::string in;
            for (size_t zi = 0; zi < zones.size(); ++zi) {
                if (std::isfinite(r[i]) && zones[zi]->contains(r[i], xs[i]))
                    in += (in.empty() ? "" : ",") + std::to_string(zi + 1);
            }
            if (!zones.empty()) fprintf(out, "  %s", in.empty() ? "-" : in.c_str());
            fprintf(out, "\n");
        }
        int first = 0;
        while (first < n && x[first] < from - 1e-9) ++first;
        int last = n - 1;
        while (last > first && x[last] > to + 1e-9) --last;
        for (size_t zi = 0; zi < zones.size(); ++zi) {
            const int at = zones[zi]->findEntry(x, r, xs, first, last);
            if (at < 0) {
                fprintf(out, "Zone %d: not entered\n", static_cast<int>(zi) + 1);
            } else {
                fprintf(out, "Zone %d: entered at %s s, %.4g %c j%.4g \xCE\xA9\n",
                        static_cast<int>(zi) + 1, RecordSource::seconds(x[at]).c_str(), r[at],
                        xs[at] < 0 ? '-' : '+', std::fabs(xs[at]));
            }
        }
    }
    fprintf(out,
            "\n- : no phasor yet (the first cycle, or a gap in the samples), or a loop current "
            "under 2 %% of its largest\n");
    return 0;
}
