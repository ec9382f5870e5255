#include <gtest/gtest.h>

#include <string>

#include "toolkit/WidgetTestSupport.h"

using namespace ktest;

namespace {

// A table of rows x columns whose cells read "r<row>c<column>".
KTableExt* filled(KCanvas& canvas, int rows, int columns, CRect bounds) {
    auto* table = hosted(canvas, new KTableExt("table"), bounds);
    table->setColumnCount(columns);
    table->setRowCount(rows);
    for (int c = 0; c < columns; ++c) table->setColumnTitle(c, ("col" + std::to_string(c)).c_str());
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            table->setCellText(r, c, ("r" + std::to_string(r) + "c" + std::to_string(c)).c_str());
        }
    }
    canvas.layout();
    return table;
}

// The texts drawn, in order: cells that fit are placed by their width, the others cut.
std::vector<std::string> texts(const CRecordingDC& dc) {
    std::vector<std::string> out;
    for (const auto& e : dc.GetEntries())
        if (e.call == CDC::Call::TextOut || e.call == CDC::Call::DrawText) out.push_back(e.text);
    return out;
}

std::string clipboardText() {
    unsigned long length = 0;
    if (!KClipboard::getDataLength(1, &length, 0)) return "";
    std::string text(length, '\0');
    KClipboard::getData(1, text.data(), static_cast<int>(length), 0);
    return std::string(text.c_str());
}

}  // namespace

TEST(KTableExtTest, CellsFollowTheShape) {
    KTableExt table;
    table.setColumnCount(2);
    table.setRowCount(2);
    table.setCellText(1, 1, "x");
    table.setCellText(2, 0, "outside");
    table.setCellText(0, -1, "outside");
    EXPECT_EQ(table.getCellText(1, 1), KString("x"));
    EXPECT_TRUE(table.getCellText(5, 5).isEmpty());
    // Growing keeps the cells; shrinking drops those beyond.
    table.setColumnCount(3);
    table.setRowCount(4);
    EXPECT_EQ(table.getCellText(1, 1), KString("x"));
    EXPECT_TRUE(table.getCellText(3, 2).isEmpty());
    table.setColumnCount(1);
    EXPECT_TRUE(table.getCellText(1, 1).isEmpty());
    table.setColumnCount(2);
    EXPECT_TRUE(table.getCellText(1, 1).isEmpty());
    table.setRowCount(-3);
    EXPECT_EQ(table.getRowCount(), 0);
    table.clear();
    EXPECT_EQ(table.getColumnCount(), 0);
}

TEST(KTableExtTest, CopiesItselfAsTabSeparatedText) {
    KCanvas canvas(400, 300);
    KTableExt* table = filled(canvas, 2, 2, CRect(0, 0, 400, 300));
    EXPECT_EQ(std::string(table->getText().c_str()), "col0\tcol1\nr0c0\tr0c1\nr1c0\tr1c1\n");
    table->setRowHeaderVisible(true);
    table->setCornerTitle("H");
    table->setRowTitle(0, "1");
    table->setRowTitle(1, "2");
    table->setCellText(1, 0, "");
    EXPECT_EQ(std::string(table->getText().c_str()), "H\tcol0\tcol1\n1\tr0c0\tr0c1\n2\t\tr1c1\n");
    KLocalClipboard clipboard;
    KPlatformClipboard::install(&clipboard);
    KComponent::setFocus(table);
    canvas.keyPress('C', KEvent::CONTROL);
    EXPECT_EQ(clipboardText(), "H\tcol0\tcol1\n1\tr0c0\tr0c1\n2\t\tr1c1\n");
    KPlatformClipboard::install(nullptr);
    const KMenuResource* menu = KMenuResource::find("KTableExt");
    ASSERT_NE(menu, nullptr);
    EXPECT_NE(menu->findCommand("TABLE.COPY"), nullptr);
}

TEST(KTableExtTest, HeaderCellsCarrySwatches) {
    KCanvas canvas(400, 200);
    KTableExt* table = filled(canvas, 2, 3, CRect(0, 0, 400, 200));
    table->setColumnSwatch(0, RGB(0, 0, 128));
    table->setColumnSwatch(1, RGB(0, 128, 0), true, 4);
    table->setColumnSwatch(9, RGB(1, 2, 3));
    EXPECT_TRUE(table->hasColumnSwatch(0));
    EXPECT_TRUE(table->isColumnHatched(1));
    EXPECT_FALSE(table->hasColumnSwatch(2));
    auto dc = recordPaint(*table->getParent(), CSize(400, 200));
    const int header = table->getHeaderHeight();
    int solid = 0, hatched = 0;
    for (const auto* e : calls(*dc, CDC::Call::FillRect)) {
        if (e->rect.bottom > header) continue;
        solid += e->brush.GetKind() == CBrush::SOLID && e->brush.GetColor() == RGB(0, 0, 128);
        if (e->brush.GetKind() == CBrush::HATCH && e->brush.GetColor() == RGB(0, 128, 0)) {
            ++hatched;
            EXPECT_EQ(e->brush.GetHatchStyle(), 4);
        }
    }
    EXPECT_EQ(solid, 1);
    EXPECT_EQ(hatched, 1);
    // Every title and cell is drawn once.
    int titles = 0, cells = 0;
    for (const std::string& text : texts(*dc)) {
        titles += text.rfind("col", 0) == 0;
        cells += text[0] == 'r';
    }
    EXPECT_EQ(titles, 3);
    EXPECT_EQ(cells, 6);
    table->clearColumnSwatch(0);
    EXPECT_FALSE(table->hasColumnSwatch(0));
}

TEST(KTableExtTest, ColumnsShareTheWidthOrNarrowTogether) {
    KCanvas canvas(600, 200);
    KTableExt* table = filled(canvas, 3, 3, CRect(0, 0, 600, 200));
    int total = 0;
    for (int c = 0; c < 3; ++c) total += table->getColumnWidth(c);
    EXPECT_EQ(total, 600);
    // A fixed width is kept; the others take what is left.
    table->setColumnWidth(0, 50);
    EXPECT_EQ(table->getColumnWidth(0), 50);
    EXPECT_EQ(table->getColumnWidth(1) + table->getColumnWidth(2), 550);
    // Too narrow: every column gives, and texts are cut rather than spilling over.
    table->setColumnWidth(0, 0);
    table->setBounds(CRect(0, 0, 60, 200));
    table->doLayout();
    total = 0;
    for (int c = 0; c < 3; ++c) total += table->getColumnWidth(c);
    EXPECT_LE(total, 60);
    EXPECT_EQ(table->getCellRect(0, 1).left, table->getCellRect(0, 0).right);
    auto dc = recordPaint(*table->getParent(), CSize(600, 200));
    int cut = 0;
    for (const auto* e : calls(*dc, CDC::Call::DrawText))
        cut += e->format & DT_END_ELLIPSIS ? 1 : 0;
    EXPECT_GE(cut, 9);
}

TEST(KTableExtTest, ScrollsRowsThatDoNotFit) {
    KCanvas canvas(300, 200);
    KTableExt* table = filled(canvas, 40, 2, CRect(0, 0, 300, 200));
    const int visible = table->getVisibleRowCount();
    EXPECT_EQ(visible, (200 - table->getHeaderHeight()) / KTableExt::getRowHeight());
    ASSERT_TRUE(table->isScrolling());
    canvas.paint();
    EXPECT_TRUE(table->getScrollBar()->isVisible());
    // The wheel, the keys and the slider move the rows; the header stays.
    canvas.mouseWheel(CPoint(100, 100), -120);
    EXPECT_EQ(table->getFirstRow(), 3);
    KComponent::setFocus(table);
    canvas.keyPress(KEvent::VK_END);
    EXPECT_EQ(table->getFirstRow(), 40 - visible);
    canvas.keyPress(KEvent::VK_UP);
    EXPECT_EQ(table->getFirstRow(), 39 - visible);
    canvas.keyPress(KEvent::VK_HOME);
    EXPECT_EQ(table->getFirstRow(), 0);
    canvas.keyPress(KEvent::VK_NEXT);
    EXPECT_EQ(table->getFirstRow(), visible);
    table->scrollToRow(1000);
    EXPECT_EQ(table->getFirstRow(), 40 - visible);
    EXPECT_EQ(table->getCellRect(40 - visible, 0).top, table->getHeaderHeight());
    EXPECT_TRUE(table->getCellRect(0, 0).IsRectEmpty());
    table->getScrollBar()->step(-1);
    EXPECT_LT(table->getFirstRow(), 40 - visible);
    // The rows drawn are the ones in view.
    auto dc = recordPaint(*table->getParent(), CSize(300, 200));
    bool first = false, hidden = false;
    for (const std::string& text : texts(*dc)) {
        first = first || text == "r" + std::to_string(table->getFirstRow()) + "c0";
        hidden = hidden || text == "r0c0";
    }
    EXPECT_TRUE(first);
    EXPECT_FALSE(hidden);
    // Few rows: no slider, no scrolling.
    table->setRowCount(2);
    canvas.layout();
    EXPECT_FALSE(table->isScrolling());
    EXPECT_FALSE(table->getScrollBar()->isVisible());
    EXPECT_EQ(table->getFirstRow(), 0);
}

TEST(KTableExtTest, AStoredTableLoadsBackEqual) {
    KCanvas canvas(300, 200);
    KTableExt* table = filled(canvas, 3, 2, CRect(0, 0, 300, 200));
    table->setRowHeaderVisible(true);
    table->setCornerTitle("H");
    table->setRowTitle(2, "3");
    table->setRowSwatch(1, RGB(128, 0, 0), true, 5);
    table->setColumnSwatch(1, RGB(0, 0, 128));
    table->setColumnAlignment(0, KLabel::LEFT);
    table->setCellColor(2, 1, RGB(255, 0, 0));
    table->setCellText(0, 0, "+ 35\xBA");
    auto back = roundTrip<KTableExt>(*table);
    EXPECT_EQ(std::string(back->getText().c_str()), std::string(table->getText().c_str()));
    EXPECT_TRUE(back->hasRowSwatch(1));
    EXPECT_EQ(back->getColumnSwatchColor(1), RGB(0, 0, 128));
    EXPECT_EQ(back->getColumnAlignment(0), KLabel::LEFT);
    EXPECT_EQ(back->getCellColor(2, 1), RGB(255, 0, 0));
    EXPECT_NE(back->getScrollBar(), nullptr);
    EXPECT_EQ(back->getComponentCount(), 1);
    const auto bytes = stored(*table);
    for (size_t n : {bytes.size() - 1, bytes.size() - 10, bytes.size() / 2})
        expectCutRaises(bytes, n);
}
