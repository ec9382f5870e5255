#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/ColorRef.h>
#include <kalvo/toolkit/KContainer.h>

class CFont;
class KSlider;

// A table of text: rows and columns of cells under a row of column headers, with an optional
// column of row headers on the left. A header cell can carry a colour swatch beside its
// title, plain or hatched, so that a column (or a row) names the curve it belongs to. When
// the rows do not fit, a vertical slider "vscroll" appears at the right and the rows scroll
// under the fixed header: by the slider, the wheel, and the Up, Down, Page Up, Page Down,
// Home and End keys. Ctrl+C, or the menu's "Copy Table", puts the whole table on the
// clipboard as tab-separated text.
//
// Columns are as wide as their widest text; spare width is shared out among them, and a
// table too narrow for its texts narrows every column alike, cutting texts with an ellipsis.
class KTableExt : public KContainer {
    K_DECLARE_CLASS(KTableExt);

public:
    explicit KTableExt(const char* name = nullptr);
    ~KTableExt() override;

    // Shape. Growing keeps what is there and adds empty cells; shrinking drops the cells
    // beyond. Negative counts are taken as 0.
    void setColumnCount(int columns);
    int getColumnCount() const { return static_cast<int>(columns_.size()); }
    void setRowCount(int rows);
    int getRowCount() const { return static_cast<int>(rows_.size()); }
    // No rows and no columns.
    void clear();

    // Column headers. Indexes outside the table are ignored (getters give empty or 0).
    void setColumnTitle(int column, const char* title);
    KString getColumnTitle(int column) const;
    // A swatch of the colour beside the title; hatched in the hatch style (HS_*) over white.
    void setColumnSwatch(int column, COLORREF color, bool hatched = false, int hatchStyle = 3);
    void clearColumnSwatch(int column);
    bool hasColumnSwatch(int column) const;
    COLORREF getColumnSwatchColor(int column) const;
    bool isColumnHatched(int column) const;
    int getColumnHatchStyle(int column) const;
    // KLabel's LEFT, CENTER or RIGHT (the default) for the column's cells.
    void setColumnAlignment(int column, int alignment);
    int getColumnAlignment(int column) const;
    // A fixed width in pixels; 0 (the default) sizes the column by its texts.
    void setColumnWidth(int column, int width);
    void setHeaderVisible(bool visible);
    bool isHeaderVisible() const { return headerVisible_; }

    // Row headers: a first column of titles, with the corner title above it.
    void setRowHeaderVisible(bool visible);
    bool isRowHeaderVisible() const { return rowHeaderVisible_; }
    void setCornerTitle(const char* title);
    const KString& getCornerTitle() const { return cornerTitle_; }
    void setRowTitle(int row, const char* title);
    KString getRowTitle(int row) const;
    void setRowSwatch(int row, COLORREF color, bool hatched = false, int hatchStyle = 3);
    void clearRowSwatch(int row);
    bool hasRowSwatch(int row) const;

    // Cells. Setting outside the table is ignored; getting gives empty text.
    void setCellText(int row, int column, const char* text);
    KString getCellText(int row, int column) const;
    // The colour of a cell's text (black by default).
    void setCellColor(int row, int column, COLORREF color);
    COLORREF getCellColor(int row, int column) const;

    // Scrolling: the first row shown, kept between 0 and the last row that still fills the
    // view.
    void scrollToRow(int row);
    int getFirstRow() const { return firstRow_; }
    // Whole rows that fit under the header.
    int getVisibleRowCount() const;
    bool isScrolling() const;
    KSlider* getScrollBar() const;
    static int getRowHeight();
    int getHeaderHeight() const;
    // The laid-out width of a column (-1: the row headers), and the text rectangle of a cell
    // (row -1: the header), in own coordinates; empty when not shown.
    int getColumnWidth(int column) const;
    CRect getCellRect(int row, int column) const;

    // Tab-separated text of the whole table: the header line (the corner title first when
    // row headers show), then a line per row, each ended by a line feed.
    KString getText() const;
    // Puts getText on the clipboard; false when the clipboard takes nothing.
    bool copyTable();

    static const CFont& getTableFont();

    void doLayout() override;
    CSize getPreferredSize() const override;
    CSize getMinimumSize() const override;
    void paint(KGraphics& graphics) override;
    void mousePressed(KEvent& event) override;
    void mouseWheel(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;
    void actionPerformed(KEvent& event) override;
    // "TABLE.COPY" copies the table.
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the container part: version 1; header switches, corner title, the columns
    // (title, swatch, alignment, width), the rows (title, swatch, cells with their colours),
    // the first row shown.
    void Serialize(KArchive& archive) override;

private:
    struct Swatch {
        bool shown = false;
        COLORREF color = 0;
        bool hatched = false;
        std::int32_t hatchStyle = 3;
    };
    struct Column {
        KString title;
        Swatch swatch;
        std::int32_t alignment = 2;
        std::int32_t width = 0;
    };
    struct Cell {
        KString text;
        COLORREF color = 0;
    };
    struct Row {
        KString title;
        Swatch swatch;
        std::vector<Cell> cells;
    };

    void ensureParts();
    // Recomputes the column widths and the slider when the texts or the size changed.
    void settle() const;
    void changed();
    // The widest text of a column by its header and longest cell; -1 for the row headers.
    int naturalWidth(int column) const;
    void updateSlider() const;
    // The text in the box by the alignment (KLabel's), centred vertically; cut with an
    // ellipsis only when it does not fit.
    void drawCellText(CDC* dc, const KString& text, CRect box, int alignment, int textHeight) const;
    // The width of a text in the table's font, remembered: most texts come again.
    int textWidth(const KString& text) const;
    void drawSwatch(KGraphics& graphics, const Swatch& swatch, CRect box) const;
    void drawHeaderCell(KGraphics& graphics, CRect box, const KString& title,
                        const Swatch& swatch) const;
    int rowHeaderWidth() const;
    CRect dataRect() const;

    std::vector<Column> columns_;
    std::vector<Row> rows_;
    bool headerVisible_ = true;
    bool rowHeaderVisible_ = false;
    KString cornerTitle_;
    int firstRow_ = 0;

    // Layout, worked out on demand.
    mutable bool settled_ = false;
    mutable CSize settledFor_;
    mutable std::vector<int> widths_;
    mutable int rowHeaderWidth_ = 0;
    mutable std::unordered_map<std::string, int> textWidths_;
};
