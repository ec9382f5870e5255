#pragma once

#include <kalvo/foundation/KProperties.h>
#include <kalvo/toolkit/layout/KLayout.h>

// Rectangles on a fixed grid: each child's constraint is "left, top, right, bottom" in grid
// units (fractions allowed), so that on a grid of 100 by 100 they are percentages of the
// container. The constraints are kept by component name, in the order they were added; a
// key may be a dotted path below the container. Children without a constraint stay put.
class KGridBagLayout : public KLayout {
    K_DECLARE_CLASS(KGridBagLayout);

public:
    KGridBagLayout(int columns = 100, int rows = 100);

    int getColumns() const { return columns_; }
    int getRows() const { return rows_; }
    const KProperties& getConstraints() const { return table_; }

    // Raises, titled "<class> Error": "Layout component must have a name", "Duplicate
    // component name -> '%s'", "Invalid constraint -> '%s'" (not four fields).
    void addLayoutComponent(KComponent* component, const char* constraint) override;
    void layoutContainer(KContainer* container) override;

    // After the gaps: version 1, the constraint table. The grid itself is not part of the
    // stored form: a loaded layout has the default grid of 100 by 100.
    void Serialize(KArchive& archive) override;
    void copy(const KObject& other) override;

private:
    int columns_;
    int rows_;
    KProperties table_;
};
