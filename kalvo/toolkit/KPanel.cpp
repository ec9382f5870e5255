#include <kalvo/toolkit/KPanel.h>

#include <cstdint>

#include <kalvo/foundation/KArchive.h>

K_IMPLEMENT_CLASS(KPanel, KContainer, 1)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
}

KPanel::KPanel(const char* name) : KContainer(name) {}

void KPanel::copy(const KObject& other) {
    KContainer::copy(other);
    if (const KPanel* p = k_dynamic_cast<KPanel>(const_cast<KObject*>(&other))) {
        properties_ = p->properties_;
    }
}

void KPanel::Serialize(KArchive& ar) {
    KContainer::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        properties_.writeObject(ar);
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version >= 1) properties_.readObject(ar);
}
