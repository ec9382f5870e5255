#pragma once

#include <string>
#include <vector>

#include <kalvo/record/KRecord.h>

#include "CommandLine.h"

class KImpedanceTransform;
class RecordSource;

// What an impedance command or view is asked for: the three phase voltages and currents
// (--channels VA,VB,VC,IA,IB,IC, or found by their names and units), the loops (--loop), the
// residual factor (--k0) and the zones (--mho, --quad). Raises KException titled "Usage" for
// what the record cannot give.
class ImpedanceOptions {
public:
    ImpedanceOptions(const CommandLine& options, const RecordSource& source, const KRecord& record);

    int channels[6];         // VA, VB, VC, IA, IB, IC
    std::vector<int> loops;  // KImpedanceTransform::Loop, in the order given

    // The transform of a loop, with the channels and the settings' k0.
    void setUp(KImpedanceTransform& transform, int loop) const;
    // The k0 and the zones given.
    const KImpedanceSettings& getSettings() const { return options_.impedance; }
    // "VA, VB, VC (kV); IA, IB, IC (A)".
    std::string describeChannels(const KRecord& record) const;

private:
    const CommandLine& options_;
};
