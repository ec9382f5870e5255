#include <kalvo/record/KPhaseChannels.h>

#include <cmath>
#include <cstring>
#include <string>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/record/KRecord.h>

namespace {

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// The phase and family of one character: A B C, R S T, 1 2 3.
int phaseOfChar(char c, int& family) {
    static const char* const families[3] = {"ABC", "RST", "123"};
    for (int f = 0; f < 3; ++f) {
        if (const char* at = std::strchr(families[f], upper(c)); at != nullptr && c != '\0') {
            family = f;
            return static_cast<int>(at - families[f]);
        }
    }
    return -1;
}

}  // namespace

namespace {

// The kind of a unit and its factor to volts or amperes: a symbol with an SI prefix ("kV",
// "mA"), or the name written out ("volt", "Amperes").
int parseUnits(const char* units, double& factor) {
    factor = KDouble::NaN;
    if (units == nullptr) return KPhaseChannels::NONE;
    std::string u(units);
    while (!u.empty() && u.back() == ' ') u.pop_back();
    while (!u.empty() && u.front() == ' ') u.erase(u.begin());
    std::string lower;
    for (char c : u) lower += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    for (const char* word : {"volt", "volts"}) {
        if (lower == word) return factor = 1.0, KPhaseChannels::VOLTAGE;
    }
    for (const char* word : {"ampere", "amperes", "amp", "amps"}) {
        if (lower == word) return factor = 1.0, KPhaseChannels::CURRENT;
    }
    if (u.empty() || (u.back() != 'V' && u.back() != 'A')) return KPhaseChannels::NONE;
    const int kind = u.back() == 'V' ? KPhaseChannels::VOLTAGE : KPhaseChannels::CURRENT;
    const std::string prefix = u.substr(0, u.size() - 1);
    if (prefix.empty()) {
        factor = 1.0;
    } else if (prefix == "k" || prefix == "K") {
        factor = 1e3;
    } else if (prefix == "M") {
        factor = 1e6;
    } else if (prefix == "m") {
        factor = 1e-3;
    } else if (prefix == "u" || prefix == "\xC2\xB5") {
        factor = 1e-6;
    } else {
        return KPhaseChannels::NONE;
    }
    return kind;
}

}  // namespace

double KPhaseChannels::toBaseUnits(const char* units) {
    double factor;
    return parseUnits(units, factor) != NONE ? factor : KDouble::NaN;
}

int KPhaseChannels::kindOf(const char* units) {
    double factor;
    return parseUnits(units, factor);
}

int KPhaseChannels::phaseOfName(const char* name, int kind, int& family) {
    if (name == nullptr || kind == NONE) return -1;
    const size_t n = std::strlen(name);
    for (size_t i = 0; i < n; ++i) {
        const char q = upper(name[i]);
        const bool quantity = kind == VOLTAGE ? (q == 'V' || q == 'U') : q == 'I';
        // The quantity's letter starts a word: "F2-IB", "HV IR", not "SDIA".
        if (!quantity || (i > 0 && isLetter(name[i - 1]))) continue;
        size_t p = i + 1;
        if (p < n && upper(name[p]) == 'L' && p + 1 < n) ++p;
        if (p >= n) continue;
        int f = 0;
        const int phase = phaseOfChar(name[p], f);
        if (phase < 0) continue;
        // The phase ends the word: "Ia1" and "VA(kV)" are phase A, "IARMS" and "U21" are
        // not.
        const char next = p + 1 < n ? name[p + 1] : '\0';
        if (isLetter(next) || (f == 2 && isDigit(next))) continue;
        family = f;
        return phase;
    }
    return -1;
}

int KPhaseChannels::phaseOfField(const char* phase, int& family) {
    if (phase == nullptr) return -1;
    std::string p(phase);
    while (!p.empty() && p.back() == ' ') p.pop_back();
    while (!p.empty() && p.front() == ' ') p.erase(p.begin());
    if (p.size() == 2 && upper(p[0]) == 'L') p.erase(p.begin());
    if (p.size() != 1) return -1;
    return phaseOfChar(p[0], family);
}

bool KPhaseChannels::find(const KRecord& record, int voltages[3], int currents[3]) {
    // The first channel of each phase, by kind and family.
    int found[3][3][3];
    for (auto& kind : found) {
        for (auto& fam : kind) fam[0] = fam[1] = fam[2] = -1;
    }
    int* sets[3] = {nullptr, voltages, currents};
    for (int k = 1; k <= 2; ++k) sets[k][0] = sets[k][1] = sets[k][2] = -1;
    bool complete[3] = {true, false, false};
    for (int t = 0; t < record.getTraceCount(); ++t) {
        const KRecord::Trace* trace = record.getTrace(t);
        if (trace->isDigital()) continue;
        const int kind = kindOf(trace->getUnits().c_str());
        if (kind == NONE || complete[kind]) continue;
        int family = 0;
        int phase = phaseOfName(trace->getName().c_str(), kind, family);
        if (phase < 0) phase = phaseOfField(trace->getPhase().c_str(), family);
        if (phase < 0 || found[kind][family][phase] >= 0) continue;
        found[kind][family][phase] = t;
        const int* set = found[kind][family];
        if (set[0] >= 0 && set[1] >= 0 && set[2] >= 0) {
            for (int p = 0; p < 3; ++p) sets[kind][p] = set[p];
            complete[kind] = true;
        }
    }
    return complete[VOLTAGE] && complete[CURRENT];
}
