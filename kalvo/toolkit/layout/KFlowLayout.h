#pragma once

#include <kalvo/toolkit/layout/KLayout.h>

// Rows of children at their preferred sizes, placed from left to right with the horizontal
// gap between them; a child that does not fit on the row starts the next one, the vertical
// gap below the tallest child of the row. Each row is aligned left, centred or right in the
// client area (its one setting), and its children centred on the row's height. A child
// wider than the client area stands alone on its row, cut to the client width.
class KFlowLayout : public KLayout {
    K_DECLARE_CLASS(KFlowLayout);

public:
    enum Align { LEFT = 0, CENTER = 1, RIGHT = 2 };

    KFlowLayout(int align = CENTER, int hgap = 0, int vgap = 0);

    int getAlignment() const { return align_; }
    // LEFT, CENTER or RIGHT; other values are ignored.
    void setAlignment(int align);
    int getDragMode() const { return dragMode_; }
    // Above 0, children can be dragged to reorder them.
    void setDragMode(int mode) { dragMode_ = mode; }

    CSize minimumLayoutSize(KContainer* container) override;
    CSize preferredLayoutSize(KContainer* container) override;
    void layoutContainer(KContainer* container) override;
    int getDragConstraint() const override { return dragMode_ > 0 ? DRAG_ORDER : DRAG_NONE; }

    // After the gaps: alignment, drag mode.
    void Serialize(KArchive& archive) override;
    void copy(const KObject& other) override;

private:
    // All visible children in one row.
    CSize oneRow(KContainer* container, bool preferred) const;

    int align_ = CENTER;
    int dragMode_ = 0;
};
