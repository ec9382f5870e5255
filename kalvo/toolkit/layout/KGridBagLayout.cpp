#include <kalvo/toolkit/layout/KGridBagLayout.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/toolkit/KContainer.h>

K_IMPLEMENT_CLASS(KGridBagLayout, KLayout, 1)

namespace {

// The four fields of a constraint, read with strtod after splitting at the commas; false
// unless there are exactly three commas.
bool parseConstraint(const char* text, double field[4]) {
    if (text == nullptr) return false;
    int commas = 0;
    for (const char* p = text; *p != '\0'; ++p) commas += *p == ',';
    if (commas != 3) return false;
    const char* p = text;
    for (int i = 0; i < 4; ++i) {
        field[i] = std::strtod(p, nullptr);
        while (*p != '\0' && *p != ',') ++p;
        if (*p == ',') ++p;
    }
    return true;
}

}  // namespace

KGridBagLayout::KGridBagLayout(int columns, int rows)
    : KLayout(0, 0), columns_(columns), rows_(rows) {}

void KGridBagLayout::addLayoutComponent(KComponent* component, const char* constraint) {
    if (component == nullptr) return;
    const KString& name = component->getName();
    if (name.isEmpty()) component->throwError(nullptr, "Layout component must have a name");
    if (table_.contains(name.c_str())) {
        component->throwError(nullptr, "Duplicate component name -> '%s'", name.c_str());
    }
    double field[4];
    if (!parseConstraint(constraint, field)) {
        component->throwError(nullptr, "Invalid constraint -> '%s'",
                              constraint != nullptr ? constraint : "");
    }
    table_.setProperty(name.c_str(), constraint);
}

void KGridBagLayout::layoutContainer(KContainer* container) {
    if (container == nullptr || columns_ == 0 || rows_ == 0) return;
    const CRect extents = container->getExtents();
    const double cellWidth = static_cast<double>(extents.Width()) / columns_;
    const double cellHeight = static_cast<double>(extents.Height()) / rows_;
    for (int i = 0; i < table_.getCount(); ++i) {
        KComponent* child = container->findComponent(table_.getKey(i).c_str());
        const KString constraint = table_.getValue(i);
        double field[4];
        if (child == nullptr || constraint.isEmpty() ||
            !parseConstraint(constraint.c_str(), field)) {
            continue;
        }
        CRect r(static_cast<int>(field[0] * cellWidth + 0.5),
                static_cast<int>(field[1] * cellHeight + 0.5),
                static_cast<int>(field[2] * cellWidth + 0.5),
                static_cast<int>(field[3] * cellHeight + 0.5));
        r.NormalizeRect();
        child->setBounds(r);
    }
}

void KGridBagLayout::Serialize(KArchive& archive) {
    KLayout::Serialize(archive);
    if (archive.isStoring()) {
        archive << static_cast<std::int32_t>(1);
        table_.writeObject(archive);
    } else {
        std::int32_t version = 0;
        archive >> version;  // only one version so far
        table_.readObject(archive);
    }
}

void KGridBagLayout::copy(const KObject& other) {
    KLayout::copy(other);
    if (const KGridBagLayout* bag = k_dynamic_cast<KGridBagLayout>(const_cast<KObject*>(&other))) {
        columns_ = bag->columns_;
        rows_ = bag->rows_;
        table_ = bag->table_;
    }
}
