#include <kalvo/plot/KCharacteristic.h>

#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>

K_IMPLEMENT_ABSTRACT(KCharacteristic, KObject)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
}

KCharacteristic::KCharacteristic() : name_("Zone") {}

int KCharacteristic::findEntry(const double* t, const double* r, const double* x, int first,
                               int last) const {
    if (t == nullptr || r == nullptr || x == nullptr) return -1;
    bool outside = true;
    for (int i = first; i <= last; ++i) {
        if (!std::isfinite(r[i]) || !std::isfinite(x[i])) continue;
        const bool in = contains(r[i], x[i]);
        if (in && outside) return i;
        outside = !in;
    }
    return -1;
}

void KCharacteristic::copy(const KObject& other) {
    if (const auto* c = k_dynamic_cast<KCharacteristic>(const_cast<KObject*>(&other))) {
        name_ = c->name_;
        color_ = c->color_;
    }
}

void KCharacteristic::Serialize(KArchive& ar) {
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        ar.writeString(name_);
        ar << static_cast<std::uint32_t>(color_);
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0)
        KException::raise("Archive Error", "Invalid characteristic version %d", version);
    if (version < 1) return;
    name_ = ar.readString();
    std::uint32_t color = 0;
    ar >> color;
    color_ = color;
}
