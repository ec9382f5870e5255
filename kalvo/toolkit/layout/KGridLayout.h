#pragma once

#include <kalvo/toolkit/layout/KLayout.h>

// A grid of equal cells filled row by row, left to right, with the visible children in
// list order. With both counts given the grid is fixed; with one of them 0 that one grows
// to hold every child (rows 0: as many rows of the given columns as needed); with both 0
// the children stand in one row. Cells split the client area less the gaps between them;
// pixels that do not divide evenly go one each to the first cells. Children beyond the cells
// of a fixed grid are not moved.
class KGridLayout : public KLayout {
    K_DECLARE_CLASS(KGridLayout);

public:
    KGridLayout(int rows = 0, int columns = 0, int hgap = 0, int vgap = 0);

    int getRows() const { return rows_; }
    void setRows(int rows) { rows_ = rows < 0 ? 0 : rows; }
    int getColumns() const { return columns_; }
    void setColumns(int columns) { columns_ = columns < 0 ? 0 : columns; }
    int getDragMode() const { return dragMode_; }
    // Above 0, a grid that grows in one direction lets children be dragged to reorder them.
    void setDragMode(int mode) { dragMode_ = mode; }

    CSize minimumLayoutSize(KContainer* container) override;
    CSize preferredLayoutSize(KContainer* container) override;
    void layoutContainer(KContainer* container) override;
    int getDragConstraint() const override;

    // After the gaps: rows, columns, drag mode.
    void Serialize(KArchive& archive) override;
    void copy(const KObject& other) override;

private:
    // The grid's rows and columns for so many children.
    CSize shape(int count) const;
    CSize layoutSize(KContainer* container, bool preferred);

    int rows_;
    int columns_;
    int dragMode_ = 0;
};
