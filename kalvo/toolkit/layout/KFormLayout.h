#pragma once

#include <kalvo/toolkit/layout/KLayout.h>

// Rows of label and field: the visible children pair up in list order, the first of each
// pair being the label and the second its field. Labels stand in a column as wide as the
// widest label's preferred width, fields fill the rest of the width after the horizontal
// gap; each row is as tall as the taller of its two, rows apart by the vertical gap. A
// last label without a field keeps to the label column.
class KFormLayout : public KLayout {
    K_DECLARE_CLASS(KFormLayout);

public:
    KFormLayout(int hgap = 0, int vgap = 0);

    CSize minimumLayoutSize(KContainer* container) override;
    CSize preferredLayoutSize(KContainer* container) override;
    void layoutContainer(KContainer* container) override;

private:
    CSize layoutSize(KContainer* container, bool preferred);
};
