#include "ImpedanceOptions.h"

#include <kalvo/foundation/KException.h>
#include <kalvo/record/KImpedanceTransform.h>
#include <kalvo/record/KPhaseChannels.h>

#include "ChannelSelection.h"
#include "DisplayText.h"
#include "RecordSource.h"

ImpedanceOptions::ImpedanceOptions(const CommandLine& options, const RecordSource& source,
                                   const KRecord& record)
    : options_(options) {
    const char* name = source.getName().c_str();
    if (!options.channels.empty()) {
        const std::vector<int> chosen =
            ChannelSelection(source.getReader().getConfig(), source.getName())
                .select(options.channels, ChannelSelection::ANALOG);
        if (chosen.size() != 6)
            KException::raise(
                "Usage",
                "--channels names %s; the impedance needs six, in the order VA,VB,VC,IA,IB,IC",
                RecordSource::count(static_cast<long long>(chosen.size()), "channel").c_str());
        for (int c = 0; c < 6; ++c) channels[c] = chosen[static_cast<size_t>(c)];
    } else if (!KPhaseChannels::find(record, channels, channels + 3)) {
        KException::raise(
            "Usage",
            "%s has no three phase voltages and three phase currents that kalvo recognises by "
            "their names and units; give them with --channels VA,VB,VC,IA,IB,IC",
            name);
    }
    for (int c = 0; c < 6; ++c) {
        const KRecord::Trace* t = record.getTrace(channels[c]);
        const int kind = c < 3 ? KPhaseChannels::VOLTAGE : KPhaseChannels::CURRENT;
        if (KPhaseChannels::kindOf(t->getUnits().c_str()) != kind)
            KException::raise(
                "Usage",
                "%s is in '%s', not in %s (--channels takes VA,VB,VC,IA,IB,IC in that order)",
                DisplayText::escape(t->getName().c_str()).c_str(),
                DisplayText::escape(t->getUnits().c_str()).c_str(),
                kind == KPhaseChannels::VOLTAGE ? "volts" : "amperes");
    }
    if (options.loops.empty())
        KException::raise("Usage", "which loop? --loop AG, BG, CG, AB, BC or CA");
    for (const std::string& l : options.loops) {
        const int loop = KImpedanceTransform::findLoop(l.c_str());
        if (loop < 0)
            KException::raise("Usage", "unknown loop '%s' (AG, BG, CG, AB, BC, CA)",
                              DisplayText::escape(l).c_str());
        loops.push_back(loop);
    }
}

void ImpedanceOptions::setUp(KImpedanceTransform& transform, int loop) const {
    transform.setLoop(loop);
    transform.setChannels(channels);
    options_.impedance.apply(transform);
}

std::string ImpedanceOptions::describeChannels(const KRecord& record) const {
    std::string text;
    for (int c = 0; c < 6; ++c) {
        const KRecord::Trace* t = record.getTrace(channels[c]);
        text += DisplayText::escape(t->getName().c_str());
        if (c == 2 || c == 5) {
            text += " (" + DisplayText::escape(t->getUnits().c_str()) + ")";
            if (c == 2) text += "; ";
        } else {
            text += ", ";
        }
    }
    return text;
}
