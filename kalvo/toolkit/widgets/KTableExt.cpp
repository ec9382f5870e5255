#include <kalvo/toolkit/widgets/KTableExt.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/platform/CFont.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/SysColor.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KLabel.h>
#include <kalvo/toolkit/widgets/KSlider.h>

K_IMPLEMENT_CLASS(KTableExt, KContainer, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr int PAD = 8;           // room around a cell's text, both sides together
constexpr int LEAST_COLUMN = 4;  // a squeezed column keeps this much
constexpr int WHEEL_ROWS = 3;
constexpr COLORREF GRID_COLOR = RGB(200, 200, 200);
constexpr COLORREF HEADER_COLOR = RGB(232, 236, 244);

int swatchSize() {
    return KComponent::getUnitSize() / 2;
}

int clampAlignment(int alignment) {
    return alignment < 0 || alignment > 2 ? 2 : alignment;
}

template <class S>
bool sameSwatch(const S& a, const S& b) {
    return a.shown == b.shown && a.color == b.color && a.hatched == b.hatched &&
           a.hatchStyle == b.hatchStyle;
}

}  // namespace

KTableExt::KTableExt(const char* name) : KContainer(name) {
    setBackground(0xFFFFFF);
    setMenu("KTableExt");
    ensureParts();
}

KTableExt::~KTableExt() = default;

const CFont& KTableExt::getTableFont() {
    return KLabel::getLabelFont();
}

void KTableExt::ensureParts() {
    KSlider* slider = getScrollBar();
    if (slider == nullptr) {
        slider = new KSlider("vscroll", true);
        slider->setVisible(false);
        add(slider);
    }
    slider->addListener(this);
}

KSlider* KTableExt::getScrollBar() const {
    return k_dynamic_cast<KSlider>(findComponent("vscroll"));
}

// Shape.

void KTableExt::setColumnCount(int columns) {
    columns = std::max(0, columns);
    if (columns == getColumnCount()) return;
    columns_.resize(static_cast<size_t>(columns));
    for (Row& row : rows_) row.cells.resize(static_cast<size_t>(columns));
    changed();
}

void KTableExt::setRowCount(int rows) {
    rows = std::max(0, rows);
    if (rows == getRowCount()) return;
    const size_t before = rows_.size();
    rows_.resize(static_cast<size_t>(rows));
    for (size_t r = before; r < rows_.size(); ++r) rows_[r].cells.resize(columns_.size());
    firstRow_ = std::min(firstRow_, std::max(0, rows - 1));
    changed();
}

void KTableExt::clear() {
    columns_.clear();
    rows_.clear();
    firstRow_ = 0;
    changed();
}

void KTableExt::changed() {
    settled_ = false;
    repaint();
}

// Headers.

void KTableExt::setColumnTitle(int column, const char* title) {
    if (column < 0 || column >= getColumnCount()) return;
    if (std::strcmp(columns_[column].title.c_str(), title != nullptr ? title : "") == 0) return;
    columns_[column].title = title;
    changed();
}

KString KTableExt::getColumnTitle(int column) const {
    return column >= 0 && column < getColumnCount() ? columns_[column].title : KString();
}

void KTableExt::setColumnSwatch(int column, COLORREF color, bool hatched, int hatchStyle) {
    if (column < 0 || column >= getColumnCount()) return;
    const Swatch swatch{true, color, hatched, std::clamp(hatchStyle, 0, 5)};
    if (sameSwatch(columns_[column].swatch, swatch)) return;
    columns_[column].swatch = swatch;
    changed();
}

void KTableExt::clearColumnSwatch(int column) {
    if (column < 0 || column >= getColumnCount()) return;
    columns_[column].swatch = Swatch{};
    changed();
}

bool KTableExt::hasColumnSwatch(int column) const {
    return column >= 0 && column < getColumnCount() && columns_[column].swatch.shown;
}

COLORREF KTableExt::getColumnSwatchColor(int column) const {
    return hasColumnSwatch(column) ? columns_[column].swatch.color : 0;
}

bool KTableExt::isColumnHatched(int column) const {
    return hasColumnSwatch(column) && columns_[column].swatch.hatched;
}

int KTableExt::getColumnHatchStyle(int column) const {
    return hasColumnSwatch(column) ? columns_[column].swatch.hatchStyle : 0;
}

void KTableExt::setColumnAlignment(int column, int alignment) {
    if (column < 0 || column >= getColumnCount()) return;
    columns_[column].alignment = clampAlignment(alignment);
    repaint();
}

int KTableExt::getColumnAlignment(int column) const {
    return column >= 0 && column < getColumnCount() ? columns_[column].alignment : 2;
}

void KTableExt::setColumnWidth(int column, int width) {
    if (column < 0 || column >= getColumnCount()) return;
    columns_[column].width = std::max(0, width);
    changed();
}

void KTableExt::setHeaderVisible(bool visible) {
    headerVisible_ = visible;
    changed();
}

void KTableExt::setRowHeaderVisible(bool visible) {
    rowHeaderVisible_ = visible;
    changed();
}

void KTableExt::setCornerTitle(const char* title) {
    cornerTitle_ = title;
    changed();
}

void KTableExt::setRowTitle(int row, const char* title) {
    if (row < 0 || row >= getRowCount()) return;
    if (std::strcmp(rows_[row].title.c_str(), title != nullptr ? title : "") == 0) return;
    rows_[row].title = title;
    changed();
}

KString KTableExt::getRowTitle(int row) const {
    return row >= 0 && row < getRowCount() ? rows_[row].title : KString();
}

void KTableExt::setRowSwatch(int row, COLORREF color, bool hatched, int hatchStyle) {
    if (row < 0 || row >= getRowCount()) return;
    const Swatch swatch{true, color, hatched, std::clamp(hatchStyle, 0, 5)};
    if (sameSwatch(rows_[row].swatch, swatch)) return;
    rows_[row].swatch = swatch;
    changed();
}

void KTableExt::clearRowSwatch(int row) {
    if (row < 0 || row >= getRowCount()) return;
    rows_[row].swatch = Swatch{};
    changed();
}

bool KTableExt::hasRowSwatch(int row) const {
    return row >= 0 && row < getRowCount() && rows_[row].swatch.shown;
}

// Cells.

void KTableExt::setCellText(int row, int column, const char* text) {
    if (row < 0 || row >= getRowCount() || column < 0 || column >= getColumnCount()) return;
    KString& cell = rows_[row].cells[column].text;
    if (std::strcmp(cell.c_str(), text != nullptr ? text : "") == 0) return;
    // Only a longer text can widen its column.
    if (text != nullptr && std::strlen(text) > cell.length()) settled_ = false;
    cell = text;
    repaint();
}

KString KTableExt::getCellText(int row, int column) const {
    if (row < 0 || row >= getRowCount() || column < 0 || column >= getColumnCount())
        return KString();
    return rows_[row].cells[column].text;
}

void KTableExt::setCellColor(int row, int column, COLORREF color) {
    if (row < 0 || row >= getRowCount() || column < 0 || column >= getColumnCount()) return;
    if (rows_[row].cells[column].color == color) return;
    rows_[row].cells[column].color = color;
    repaint();
}

COLORREF KTableExt::getCellColor(int row, int column) const {
    if (row < 0 || row >= getRowCount() || column < 0 || column >= getColumnCount()) return 0;
    return rows_[row].cells[column].color;
}

// Geometry.

int KTableExt::getRowHeight() {
    return getUnitSize() * 4 / 5 + 6;
}

int KTableExt::getHeaderHeight() const {
    return headerVisible_ ? getRowHeight() + 2 : 0;
}

int KTableExt::getVisibleRowCount() const {
    const int room = getClientRect().Height() - getHeaderHeight();
    return std::max(0, room / getRowHeight());
}

bool KTableExt::isScrolling() const {
    return getRowCount() > getVisibleRowCount();
}

void KTableExt::scrollToRow(int row) {
    const int last = std::max(0, getRowCount() - std::max(1, getVisibleRowCount()));
    row = std::clamp(row, 0, last);
    if (row == firstRow_) return;
    firstRow_ = row;
    updateSlider();
    repaint();
}

int KTableExt::naturalWidth(int column) const {
    const CFont& font = getTableFont();
    auto measure = [&font](const KString& text) {
        return text.isEmpty() ? 0 : static_cast<int>(KGraphics::measureText(font, text.c_str()).cx);
    };
    // The longest text stands for the widest, with half a digit to spare for narrower
    // characters elsewhere: measuring every cell would cost a text layout per cell.
    const int spare = measure(KString("0")) / 2;
    const KString* longest = nullptr;
    int header;
    if (column < 0) {
        header = measure(cornerTitle_);
        for (const Row& row : rows_) {
            if (longest == nullptr || row.title.length() > longest->length()) longest = &row.title;
        }
        bool swatches = false;
        for (const Row& row : rows_) swatches = swatches || row.swatch.shown;
        const int cells = (longest != nullptr ? measure(*longest) + spare : 0) +
                          (swatches ? swatchSize() + 4 : 0);
        return std::max(header, cells) + PAD;
    }
    const Column& c = columns_[column];
    if (c.width > 0) return c.width;
    header = measure(c.title) + (c.swatch.shown ? swatchSize() + 4 : 0);
    for (const Row& row : rows_) {
        const KString& text = row.cells[column].text;
        if (longest == nullptr || text.length() > longest->length()) longest = &text;
    }
    return std::max(header,
                    longest != nullptr && !longest->isEmpty() ? measure(*longest) + spare : 0) +
           PAD;
}

void KTableExt::settle() const {
    const CRect client = getClientRect();
    if (settled_ && settledFor_ == client.Size()) return;
    settled_ = true;
    settledFor_ = client.Size();
    const int n = getColumnCount();
    widths_.assign(static_cast<size_t>(n), 0);
    rowHeaderWidth_ = rowHeaderVisible_ ? naturalWidth(-1) : 0;
    long total = rowHeaderWidth_;
    for (int c = 0; c < n; ++c) {
        widths_[c] = naturalWidth(c);
        total += widths_[c];
    }
    const int room = client.Width() - (isScrolling() ? getUnitSize() : 0);
    if (n > 0 && total < room) {
        // Spare width goes to the columns sized by their texts, a pixel more to the first.
        int flexible = 0;
        for (const Column& c : columns_) flexible += c.width == 0;
        if (flexible > 0) {
            const long spare = room - total;
            int k = 0;
            for (int c = 0; c < n; ++c) {
                if (columns_[c].width != 0) continue;
                widths_[c] += static_cast<int>(spare / flexible + (k < spare % flexible ? 1 : 0));
                ++k;
            }
        }
    } else if (total > room && total > 0) {
        const double share = std::max(0, room) / static_cast<double>(total);
        rowHeaderWidth_ = rowHeaderVisible_
                              ? std::max(LEAST_COLUMN, static_cast<int>(rowHeaderWidth_ * share))
                              : 0;
        for (int& w : widths_) w = std::max(LEAST_COLUMN, static_cast<int>(w * share));
    }
    updateSlider();
}

int KTableExt::rowHeaderWidth() const {
    settle();
    return rowHeaderWidth_;
}

int KTableExt::getColumnWidth(int column) const {
    settle();
    if (column == -1) return rowHeaderWidth_;
    return column >= 0 && column < getColumnCount() ? widths_[column] : 0;
}

CRect KTableExt::dataRect() const {
    CRect r = getClientRect();
    r.top += getHeaderHeight();
    if (isScrolling()) r.right -= getUnitSize();
    if (r.right < r.left) r.right = r.left;
    if (r.bottom < r.top) r.bottom = r.top;
    return r;
}

CRect KTableExt::getCellRect(int row, int column) const {
    settle();
    if (column < -1 || column >= getColumnCount() || (column == -1 && !rowHeaderVisible_))
        return CRect();
    const CRect data = dataRect();
    int left = data.left;
    if (column >= 0) {
        left += rowHeaderWidth_;
        for (int c = 0; c < column; ++c) left += widths_[c];
    }
    const int width = column < 0 ? rowHeaderWidth_ : widths_[column];
    if (row < 0) {
        if (!headerVisible_) return CRect();
        const int top = getClientRect().top;
        return CRect(left, top, left + width, top + getHeaderHeight());
    }
    if (row < firstRow_ || row >= getRowCount()) return CRect();
    const int top = data.top + (row - firstRow_) * getRowHeight();
    if (top >= data.bottom) return CRect();
    return CRect(left, top, left + width,
                 std::min(static_cast<int>(data.bottom), top + getRowHeight()));
}

void KTableExt::updateSlider() const {
    KSlider* slider = getScrollBar();
    if (slider == nullptr) return;
    const bool scrolling = isScrolling();
    const CRect client = getClientRect();
    slider->setVisible(scrolling);
    slider->setBounds(CRect(client.right - getUnitSize(), client.top + getHeaderHeight(),
                            client.right, client.bottom));
    slider->setLimits(0, getRowCount());
    slider->setAperture(firstRow_, firstRow_ + getVisibleRowCount());
}

void KTableExt::doLayout() {
    settled_ = false;
    // Rows that the new size leaves below the view scroll back up.
    const int last = std::max(0, getRowCount() - std::max(1, getVisibleRowCount()));
    firstRow_ = std::clamp(firstRow_, 0, last);
    settle();
}

CSize KTableExt::getPreferredSize() const {
    int width = rowHeaderVisible_ ? naturalWidth(-1) : 0;
    for (int c = 0; c < getColumnCount(); ++c) width += naturalWidth(c);
    const CRect insets = getInsets();
    return CSize(width + insets.left + insets.right,
                 getHeaderHeight() + getRowCount() * getRowHeight() + insets.top + insets.bottom);
}

CSize KTableExt::getMinimumSize() const {
    const CRect insets = getInsets();
    return CSize(4 * getUnitSize() + insets.left + insets.right,
                 getHeaderHeight() + std::min(2, getRowCount()) * getRowHeight() + insets.top +
                     insets.bottom);
}

// Painting.

void KTableExt::drawSwatch(KGraphics& graphics, const Swatch& swatch, CRect box) const {
    if (swatch.hatched) {
        graphics.fillHatchedRect(box, swatch.color, 0xFFFFFF, swatch.hatchStyle);
        graphics.setColor(swatch.color);
        graphics.drawRect(box);
    } else {
        graphics.setColor(swatch.color);
        graphics.fillRect(box);
    }
}

int KTableExt::textWidth(const KString& text) const {
    if (text.isEmpty()) return 0;
    const std::string key(text.c_str());
    if (const auto it = textWidths_.find(key); it != textWidths_.end()) return it->second;
    // A bound on what is kept: numbers that change with every update come and go.
    if (textWidths_.size() >= 4096) textWidths_.clear();
    const int width = KGraphics::measureText(getTableFont(), text.c_str()).cx;
    textWidths_.emplace(key, width);
    return width;
}

void KTableExt::drawCellText(CDC* dc, const KString& text, CRect box, int alignment,
                             int textHeight) const {
    if (text.isEmpty() || box.Width() <= 0) return;
    const int width = textWidth(text);
    if (width > box.Width()) {
        dc->DrawText(text.c_str(), &box,
                     (alignment == 0   ? DT_LEFT
                      : alignment == 1 ? DT_CENTER
                                       : DT_RIGHT) |
                         DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
        return;
    }
    // A text that fits needs no measuring at the device: it is placed by its remembered width.
    const int x = alignment == 0   ? box.left
                  : alignment == 1 ? box.left + (box.Width() - width) / 2
                                   : box.right - width;
    dc->TextOut(x, box.top + (box.Height() - textHeight) / 2, text.c_str());
}

void KTableExt::drawHeaderCell(KGraphics& graphics, CRect box, const KString& title,
                               const Swatch& swatch) const {
    CDC* dc = graphics.getDC();
    TEXTMETRIC tm;
    dc->GetTextMetrics(&tm);
    CRect text = box;
    text.DeflateRect(PAD / 2, 0);
    dc->SetTextColor(0);
    if (swatch.shown) {
        const int s = swatchSize();
        const int top = box.top + (box.Height() - s) / 2;
        // The swatch and the title stand together in the middle of the cell.
        const int width = textWidth(title);
        const int left =
            std::max(static_cast<int>(text.left), box.left + (box.Width() - s - 4 - width) / 2);
        drawSwatch(graphics, swatch, CRect(left, top, left + s, top + s));
        text.left = left + s + 4;
        dc->SetTextColor(0);
        drawCellText(dc, title, text, 0, tm.tmHeight);
        return;
    }
    drawCellText(dc, title, text, 1, tm.tmHeight);
}

void KTableExt::paint(KGraphics& graphics) {
    settle();
    KContainer::paint(graphics);
    const CRect client = getClientRect();
    const CRect data = dataRect();
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&getTableFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    const unsigned align = dc->SetTextAlign(TA_LEFT | TA_TOP);
    TEXTMETRIC tm;
    dc->GetTextMetrics(&tm);
    const int rowHeight = getRowHeight();
    const int n = getColumnCount();
    const int headerWidth = rowHeaderWidth_;
    // Column edges from the left.
    std::vector<int> edges(static_cast<size_t>(n) + 1);
    edges[0] = data.left + headerWidth;
    for (int c = 0; c < n; ++c) edges[c + 1] = edges[c] + widths_[c];
    const int right = std::min(static_cast<int>(data.right), edges[n]);

    if (headerVisible_) {
        const CRect header(client.left, client.top, data.right, client.top + getHeaderHeight());
        graphics.setColor(HEADER_COLOR);
        graphics.fillRect(header);
        if (rowHeaderVisible_) {
            drawHeaderCell(graphics, CRect(data.left, header.top, edges[0], header.bottom),
                           cornerTitle_, Swatch{});
        }
        for (int c = 0; c < n && edges[c] < data.right; ++c) {
            drawHeaderCell(
                graphics, CRect(edges[c], header.top, std::min(edges[c + 1], right), header.bottom),
                columns_[c].title, columns_[c].swatch);
        }
        graphics.setColor(RGB(160, 160, 160));
        graphics.drawLine(header.left, header.bottom - 1, header.right, header.bottom - 1);
    }

    const int last = std::min(getRowCount(), firstRow_ + getVisibleRowCount() + 1);
    KGraphics clipped(graphics);
    clipped.clipRect(data);
    CDC* cdc = clipped.getDC();
    if (rowHeaderVisible_ && headerWidth > 0) {
        clipped.setColor(HEADER_COLOR);
        clipped.fillRect(data.left, data.top, edges[0], data.bottom);
    }
    for (int r = firstRow_; r < last; ++r) {
        const Row& row = rows_[r];
        const int top = data.top + (r - firstRow_) * rowHeight;
        if (rowHeaderVisible_ && headerWidth > 0) {
            drawHeaderCell(clipped, CRect(data.left, top, edges[0], top + rowHeight), row.title,
                           row.swatch);
        }
        for (int c = 0; c < n && edges[c] < data.right; ++c) {
            const Cell& cell = row.cells[c];
            if (cell.text.isEmpty()) continue;
            const CRect box(edges[c] + PAD / 2, top, std::min(edges[c + 1], right) - PAD / 2,
                            top + rowHeight);
            cdc->SetTextColor(cell.color);
            drawCellText(cdc, cell.text, box, columns_[c].alignment, tm.tmHeight);
        }
    }
    // The grid: a line under every row and between the columns.
    clipped.setColor(GRID_COLOR);
    const int bottom =
        std::min(static_cast<int>(data.bottom), data.top + (last - firstRow_) * rowHeight);
    for (int r = firstRow_; r < last; ++r) {
        const int y = data.top + (r - firstRow_ + 1) * rowHeight - 1;
        clipped.drawLine(data.left, y, right, y);
    }
    for (int c = rowHeaderVisible_ ? 0 : 1; c <= n; ++c) {
        if (edges[c] - 1 > right) break;
        clipped.drawLine(edges[c] - 1, data.top, edges[c] - 1, bottom);
    }
    dc->SetTextAlign(align);
    dc->SetBkMode(mode);
}

// Events.

void KTableExt::mousePressed(KEvent& event) {
    if (!isEnabled()) return;
    event.consume();
    setFocus(this);
}

void KTableExt::mouseWheel(KEvent& event) {
    const int notches = event.getWheelNotches();
    if (notches == 0 || !isScrolling()) return;
    event.consume();
    scrollToRow(firstRow_ - notches * WHEEL_ROWS);
}

void KTableExt::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed()) {
        const int key = event.getKeyCode();
        const int page = std::max(1, getVisibleRowCount());
        if (key == 'C' && event.isControlDown()) {
            event.consume();
            copyTable();
            return;
        }
        int to = -1;
        switch (key) {
            case KEvent::VK_UP:
                to = firstRow_ - 1;
                break;
            case KEvent::VK_DOWN:
                to = firstRow_ + 1;
                break;
            case KEvent::VK_PRIOR:
                to = firstRow_ - page;
                break;
            case KEvent::VK_NEXT:
                to = firstRow_ + page;
                break;
            case KEvent::VK_HOME:
                to = 0;
                break;
            case KEvent::VK_END:
                to = getRowCount();
                break;
            default:
                break;
        }
        if (to != -1 || key == KEvent::VK_UP || key == KEvent::VK_PRIOR) {
            event.consume();
            scrollToRow(to);
            return;
        }
    }
    KContainer::processKeyEvent(event);
}

void KTableExt::actionPerformed(KEvent& event) {
    const KSlider* slider = getScrollBar();
    if (slider == nullptr || event.getSource() != slider || !event.isNamed("slider.change")) {
        KContainer::actionPerformed(event);
        return;
    }
    event.consume();
    double low, high;
    slider->getAperture(low, high);
    const int row = static_cast<int>(std::lround(low));
    if (row == firstRow_) return;
    firstRow_ = std::clamp(row, 0, std::max(0, getRowCount() - 1));
    repaint();
}

void KTableExt::onCommand(KEvent& event) {
    if (event.isNamed("TABLE.COPY")) {
        event.consume();
        copyTable();
        return;
    }
    KContainer::onCommand(event);
}

// Text.

KString KTableExt::getText() const {
    KString text;
    size_t size = 64;
    for (const Row& row : rows_) {
        size += row.title.length() + 2;
        for (const Cell& cell : row.cells) size += cell.text.length() + 1;
    }
    text.ensureCapacity(static_cast<unsigned>(size));
    auto line = [&text](const KString* first, auto each, int count) {
        bool separator = false;
        if (first != nullptr) {
            text << *first;
            separator = true;
        }
        for (int i = 0; i < count; ++i) {
            if (separator) text << '\t';
            text << each(i);
            separator = true;
        }
        text << '\n';
    };
    const int n = getColumnCount();
    line(
        rowHeaderVisible_ ? &cornerTitle_ : nullptr,
        [this](int c) -> const KString& { return columns_[c].title; }, n);
    for (const Row& row : rows_) {
        line(
            rowHeaderVisible_ ? &row.title : nullptr,
            [&row](int c) -> const KString& { return row.cells[c].text; }, n);
    }
    return text;
}

bool KTableExt::copyTable() {
    const KString text = getText();
    KHost* host = getCanvas();
    return KClipboard::setData(text.c_str(), host != nullptr ? host->getWindow() : 0) != 0;
}

// Object services.

void KTableExt::copy(const KObject& other) {
    KContainer::copy(other);
    if (const auto* t = k_dynamic_cast<KTableExt>(const_cast<KObject*>(&other))) {
        columns_ = t->columns_;
        rows_ = t->rows_;
        headerVisible_ = t->headerVisible_;
        rowHeaderVisible_ = t->rowHeaderVisible_;
        cornerTitle_ = t->cornerTitle_;
        firstRow_ = t->firstRow_;
        settled_ = false;
    }
    ensureParts();
}

namespace {

void storeSwatch(KArchive& ar, bool shown, COLORREF color, bool hatched, std::int32_t style) {
    ar << shown << static_cast<std::uint32_t>(color) << hatched << style;
}

}  // namespace

void KTableExt::Serialize(KArchive& ar) {
    if (ar.isStoring()) {
        KContainer::Serialize(ar);
        ar << STORED_VERSION << headerVisible_ << rowHeaderVisible_;
        ar.writeString(cornerTitle_);
        ar.writeCount(static_cast<std::uint32_t>(columns_.size()));
        for (const Column& c : columns_) {
            ar.writeString(c.title);
            storeSwatch(ar, c.swatch.shown, c.swatch.color, c.swatch.hatched, c.swatch.hatchStyle);
            ar << c.alignment << c.width;
        }
        ar.writeCount(static_cast<std::uint32_t>(rows_.size()));
        for (const Row& r : rows_) {
            ar.writeString(r.title);
            storeSwatch(ar, r.swatch.shown, r.swatch.color, r.swatch.hatched, r.swatch.hatchStyle);
            for (const Cell& cell : r.cells) {
                ar.writeString(cell.text);
                ar << static_cast<std::uint32_t>(cell.color);
            }
        }
        ar << static_cast<std::int32_t>(firstRow_);
        return;
    }
    // The stored slider replaces the one the constructor made.
    while (getComponentCount() > 0) delete getComponent(getComponentCount() - 1);
    KContainer::Serialize(ar);
    const std::int32_t version = ar.readVersion(STORED_VERSION, "table");
    if (version >= 1) {
        auto readSwatch = [&ar](Swatch& s) {
            std::uint32_t color;
            ar >> s.shown >> color >> s.hatched >> s.hatchStyle;
            s.color = color;
            s.hatchStyle = std::clamp(s.hatchStyle, 0, 5);
        };
        ar >> headerVisible_ >> rowHeaderVisible_;
        cornerTitle_ = ar.readString();
        // Every column and row takes a few bytes at least: a larger count is corrupt.
        const std::uint32_t columns = ar.readCount();
        ar.require(columns);
        columns_.resize(columns);
        for (Column& c : columns_) {
            c.title = ar.readString();
            readSwatch(c.swatch);
            ar >> c.alignment >> c.width;
            c.alignment = clampAlignment(c.alignment);
            c.width = std::max(0, c.width);
        }
        const std::uint32_t rows = ar.readCount();
        ar.require(rows);
        rows_.clear();
        for (std::uint32_t i = 0; i < rows; ++i) {
            Row r;
            r.title = ar.readString();
            readSwatch(r.swatch);
            r.cells.resize(columns_.size());
            for (Cell& cell : r.cells) {
                cell.text = ar.readString();
                std::uint32_t color;
                ar >> color;
                cell.color = color;
            }
            rows_.push_back(std::move(r));
        }
        std::int32_t first;
        ar >> first;
        firstRow_ = std::clamp(first, 0, std::max(0, getRowCount() - 1));
    }
    settled_ = false;
    ensureParts();
}
