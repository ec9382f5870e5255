#include <kalvo/analysis/KPhasorPanel.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include <kalvo/analysis/KAnalysisText.h>
#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KStringArray.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/layout/KBorderLayout.h>
#include <kalvo/toolkit/widgets/KLabel.h>
#include <kalvo/toolkit/widgets/KTableExt.h>

K_IMPLEMENT_CLASS(KPhasorPanel, KPanel, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr double PI = 3.14159265358979323846;
const char* const COLUMN_TITLES[2] = {"Mag (RMS)", "Phase"};
constexpr COLORREF RIM_COLOR = RGB(128, 128, 128);
constexpr COLORREF GRID_COLOR = RGB(200, 200, 200);

int headerHeight() {
    return KComponent::getUnitSize() + 6;
}

// The table's header and its three rows.
int footerHeight() {
    return (KPhasorPanel::PHASORS + 1) * KTableExt::getRowHeight() + 4;
}

bool valid(int index) {
    return index >= 0 && index < KPhasorPanel::PHASORS;
}

}  // namespace

KPhasorPanel::KPhasorPanel() : KPanel("phasor") {
    setMenu("KPhasorPanel");
    setBackground(0xFFFFFF);
    const char* names[PHASORS] = {"A", "B", "C"};
    for (int i = 0; i < PHASORS; ++i) {
        magnitude_[i] = KDouble::NaN;
        phase_[i] = KDouble::NaN;
        color_[i] = KCurve::cColors1[i];
        label_[i] = names[i];
    }
}

void KPhasorPanel::create() {
    setLayout(new KBorderLayout(0, headerHeight(), 0, footerHeight()));
    if (findComponent("header") == nullptr) {
        auto* header = new KLabel("header");
        header->setText("Phasors");
        header->setEnabled(false);
        header->setStretch(0);
        header->setBackground(RGB(232, 236, 244));
        add(header, "North");
    }
    if (findComponent("footer") == nullptr) {
        auto* footer = new KPanel("footer");
        footer->setLayout(new KBorderLayout());
        auto* table = new KTableExt("table");
        table->setRowHeaderVisible(true);
        table->setColumnCount(2);
        for (int c = 0; c < 2; ++c) table->setColumnTitle(c, COLUMN_TITLES[c]);
        table->setRowCount(PHASORS);
        footer->add(table, "Center");
        add(footer, "South");
    }
    updatePhasorLabels();
}

// Phasors.

double KPhasorPanel::getMagnitude(int index) const {
    return valid(index) ? magnitude_[index] : KDouble::NaN;
}

void KPhasorPanel::setMagnitude(double magnitude, int index) {
    if (valid(index)) magnitude_[index] = magnitude;
}

void KPhasorPanel::getMagnitude(double& a, double& b, double& c) const {
    a = magnitude_[0];
    b = magnitude_[1];
    c = magnitude_[2];
}

void KPhasorPanel::setMagnitude(double a, double b, double c) {
    magnitude_[0] = a;
    magnitude_[1] = b;
    magnitude_[2] = c;
}

double KPhasorPanel::getPhase(int index) const {
    return valid(index) ? phase_[index] : KDouble::NaN;
}

void KPhasorPanel::setPhase(double degrees, int index) {
    if (valid(index)) phase_[index] = degrees;
}

void KPhasorPanel::getPhase(double& a, double& b, double& c) const {
    a = phase_[0];
    b = phase_[1];
    c = phase_[2];
}

void KPhasorPanel::setPhase(double a, double b, double c) {
    phase_[0] = a;
    phase_[1] = b;
    phase_[2] = c;
}

COLORREF KPhasorPanel::getColor(int index) const {
    return valid(index) ? color_[index] : 0;
}

void KPhasorPanel::setColor(COLORREF color, int index) {
    if (valid(index)) color_[index] = color;
}

void KPhasorPanel::getColor(COLORREF& a, COLORREF& b, COLORREF& c) const {
    a = color_[0];
    b = color_[1];
    c = color_[2];
}

void KPhasorPanel::setColor(COLORREF a, COLORREF b, COLORREF c) {
    color_[0] = a;
    color_[1] = b;
    color_[2] = c;
}

KString KPhasorPanel::getTraceLabel(int index) const {
    return valid(index) ? label_[index] : KString();
}

void KPhasorPanel::setTraceLabel(const KString& label, int index) {
    if (valid(index)) label_[index] = label;
}

void KPhasorPanel::getTraceLabel(KString& a, KString& b, KString& c) const {
    a = label_[0];
    b = label_[1];
    c = label_[2];
}

void KPhasorPanel::setTraceLabel(const KString& a, const KString& b, const KString& c) {
    label_[0] = a;
    label_[1] = b;
    label_[2] = c;
}

void KPhasorPanel::setRange(double range) {
    if (!KDouble::isFinite(range)) return;
    range_ = range == 0.0 ? 1.0 : range;
}

void KPhasorPanel::setManualPrecision(int digits) {
    if (digits >= 0 && digits <= 15) precision_ = digits;
}

// Title and table.

KString KPhasorPanel::getTitle() const {
    const auto* header = k_dynamic_cast<KLabel>(findComponent("header"));
    return header != nullptr ? header->getText() : KString();
}

void KPhasorPanel::setTitle(const char* title) {
    if (auto* header = k_dynamic_cast<KLabel>(findComponent("header"));
        header != nullptr && !header->getText().equals(title)) {
        header->setText(title);
        header->repaint();
    }
}

KTableExt* KPhasorPanel::getTable() const {
    return k_dynamic_cast<KTableExt>(findComponent("footer.table"));
}

void KPhasorPanel::getTableColumnTitles(KStringArray& titles) const {
    if (const KTableExt* table = getTable()) {
        for (int c = 0; c < table->getColumnCount(); ++c)
            titles.add(table->getColumnTitle(c).c_str());
        return;
    }
    for (const char* title : COLUMN_TITLES) titles.add(title);
}

void KPhasorPanel::updatePhasorLabels() {
    if (KTableExt* table = getTable()) {
        for (int i = 0; i < PHASORS; ++i) {
            table->setRowTitle(i, label_[i].c_str());
            table->setRowSwatch(i, color_[i]);
            const bool shown = KDouble::isFinite(magnitude_[i]);
            table->setCellText(
                i, 0,
                shown
                    ? KAnalysisText::magnitude(magnitude_[i], manualPrecision_, precision_).c_str()
                    : "---");
            table->setCellText(i, 1, shown ? KAnalysisText::angle(phase_[i]).c_str() : "---");
        }
    }
    repaint();
}

// Geometry.

bool KPhasorPanel::isShown(int index) const {
    return KDouble::isFinite(magnitude_[index]) && KDouble::isFinite(phase_[index]) &&
           magnitude_[index] > 0;
}

CRect KPhasorPanel::diagramRect() const {
    CRect r = getClientRect();
    if (const KComponent* header = findComponent("header");
        header != nullptr && header->isVisible()) {
        r.top = std::max(r.top, header->getBounds().bottom);
    }
    if (const KComponent* footer = findComponent("footer");
        footer != nullptr && footer->isVisible()) {
        r.bottom = std::min(r.bottom, footer->getBounds().top);
    }
    if (r.bottom < r.top) r.bottom = r.top;
    return r;
}

CRect KPhasorPanel::getCircleRect() const {
    const CRect area = diagramRect();
    // Room around the rim for the angle labels and the phasors' names.
    const int margin = getUnitSize() * 3 / 2;
    const int side = std::max(0, std::min(area.Width(), area.Height()) - 2 * margin);
    const CPoint centre = area.CenterPoint();
    return CRect(centre.x - side / 2, centre.y - side / 2, centre.x - side / 2 + side,
                 centre.y - side / 2 + side);
}

CPoint KPhasorPanel::getArrowTip(int index) const {
    const CRect circle = getCircleRect();
    const CPoint centre = circle.CenterPoint();
    if (!valid(index) || !isShown(index)) return centre;
    const double radius = circle.Width() / 2.0;
    // A phasor beyond the range reaches a little past the rim, no further.
    const double length = radius * std::min(magnitude_[index] / std::fabs(range_), 1.15);
    const double angle = phase_[index] * PI / 180.0;
    return CPoint(centre.x + static_cast<int>(std::lround(length * std::cos(angle))),
                  centre.y - static_cast<int>(std::lround(length * std::sin(angle))));
}

CSize KPhasorPanel::getMinimumSize() const {
    const int u = getUnitSize();
    return CSize(8 * u, headerHeight() + footerHeight() + 4 * u);
}

void KPhasorPanel::doLayout() {
    if (auto* layout = k_dynamic_cast<KBorderLayout>(getLayout())) {
        layout->setMargins(-1, headerHeight(), -1, footerHeight());
    }
    KPanel::doLayout();
}

// Painting.

void KPhasorPanel::paint(KGraphics& graphics) {
    KPanel::paint(graphics);
    const CRect circle = getCircleRect();
    if (circle.Width() < 4) return;
    const CPoint centre = circle.CenterPoint();
    const int radius = circle.Width() / 2;
    CDC* dc = graphics.getDC();
    const int u = getUnitSize();
    {
        KGraphics grid(graphics);
        grid.setColor(GRID_COLOR, 1, PS_DOT);
        grid.drawLine(circle.left, centre.y, circle.right, centre.y);
        grid.drawLine(centre.x, circle.top, centre.x, circle.bottom);
        const int half = radius / 2;
        grid.drawOval(centre.x - half, centre.y - half, centre.x + half, centre.y + half);
    }
    graphics.setColor(RIM_COLOR);
    graphics.drawOval(circle);
    graphics.setFont(const_cast<CFont*>(&KLabel::getLabelFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    if (degrees_) {
        // A tick every 30 degrees; the quarters named.
        for (int a = 0; a < 360; a += 30) {
            const double t = a * PI / 180.0;
            const int x0 = centre.x + static_cast<int>(std::lround(radius * std::cos(t)));
            const int y0 = centre.y - static_cast<int>(std::lround(radius * std::sin(t)));
            const int x1 = centre.x + static_cast<int>(std::lround((radius + u / 4) * std::cos(t)));
            const int y1 = centre.y - static_cast<int>(std::lround((radius + u / 4) * std::sin(t)));
            graphics.setColor(RIM_COLOR);
            graphics.drawLine(x0, y0, x1, y1);
            if (a % 90 != 0) continue;
            KString text;
            text.format("%d%c", a > 180 ? a - 360 : a, KAnalysisText::DEGREE_MARK);
            const int lx =
                centre.x + static_cast<int>(std::lround((radius + u * 2 / 3) * std::cos(t)));
            const int ly =
                centre.y - static_cast<int>(std::lround((radius + u * 2 / 3) * std::sin(t)));
            CRect box(lx - 2 * u, ly - u / 2, lx + 2 * u, ly + u / 2);
            dc->SetTextColor(RIM_COLOR);
            dc->DrawText(text.c_str(), &box,
                         DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOCLIP | DT_NOPREFIX);
        }
    }
    std::vector<CRect> placed;
    for (int i = 0; i < PHASORS; ++i) {
        if (!isShown(i)) continue;
        const CPoint tip = getArrowTip(i);
        const double angle = phase_[i] * PI / 180.0;
        graphics.setColor(color_[i], 2);
        graphics.drawLine(centre, tip);
        // The head: a triangle pointing along the phasor.
        const double head = std::min(u * 0.6, std::hypot(tip.x - centre.x, tip.y - centre.y) * 0.5);
        auto back = [&](double turn) {
            return CPoint(tip.x - static_cast<int>(std::lround(head * std::cos(angle + turn))),
                          tip.y + static_cast<int>(std::lround(head * std::sin(angle + turn))));
        };
        graphics.setColor(color_[i]);
        graphics.fillTriangle(tip, back(0.4), back(-0.4));
        // The name beyond the tip, and the numbers under it.
        KString text = label_[i].trim();
        if (numbers_) {
            text << " " << KAnalysisText::magnitude(magnitude_[i], manualPrecision_, precision_)
                 << " " << KAnalysisText::angle(phase_[i]);
        }
        const int lx = tip.x + static_cast<int>(std::lround(u * 0.6 * std::cos(angle)));
        const int ly = tip.y - static_cast<int>(std::lround(u * 0.6 * std::sin(angle)));
        const double c = std::cos(angle);
        CRect box(lx - 6 * u, ly - u / 2, lx + 6 * u, ly + u / 2);
        unsigned align = DT_CENTER;
        if (c > 0.3) {
            box = CRect(lx, ly - u / 2, lx + 12 * u, ly + u / 2);
            align = DT_LEFT;
        } else if (c < -0.3) {
            box = CRect(lx - 12 * u, ly - u / 2, lx, ly + u / 2);
            align = DT_RIGHT;
        }
        // Phasors that coincide (the zero sequence's always do) list their names downwards.
        for (bool moved = true; moved;) {
            moved = false;
            for (const CRect& other : placed) {
                if (std::abs(other.top - box.top) < u &&
                    std::abs(other.CenterPoint().x - box.CenterPoint().x) < u) {
                    box.OffsetRect(0, u);
                    moved = true;
                }
            }
        }
        placed.push_back(box);
        dc->SetTextColor(color_[i]);
        dc->DrawText(text.c_str(), &box,
                     align | DT_VCENTER | DT_SINGLELINE | DT_NOCLIP | DT_NOPREFIX);
    }
    dc->SetBkMode(mode);
}

// Events.

void KPhasorPanel::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed() && !event.isControlDown()) {
        const int key = event.getKeyCode();
        if (key == 'D' || key == 'd' || key == 'N' || key == 'n') {
            if (key == 'D' || key == 'd') {
                toggleDegrees();
            } else {
                toggleNumbers();
            }
            updatePhasorLabels();
        }
    }
    KPanel::processKeyEvent(event);
}

void KPhasorPanel::onCommand(KEvent& event) {
    if (event.isNamed("PHASOR.DEGREES") || event.isNamed("PHASOR.NUMBERS")) {
        event.consume();
        if (event.isNamed("PHASOR.DEGREES")) {
            toggleDegrees();
        } else {
            toggleNumbers();
        }
        updatePhasorLabels();
        return;
    }
    KPanel::onCommand(event);
}

// Object services.

void KPhasorPanel::copy(const KObject& other) {
    KPanel::copy(other);
    const auto* p = k_dynamic_cast<KPhasorPanel>(const_cast<KObject*>(&other));
    if (p == nullptr) return;
    for (int i = 0; i < PHASORS; ++i) {
        magnitude_[i] = p->magnitude_[i];
        phase_[i] = p->phase_[i];
        color_[i] = p->color_[i];
        label_[i] = p->label_[i];
    }
    range_ = p->range_;
    degrees_ = p->degrees_;
    numbers_ = p->numbers_;
    manualPrecision_ = p->manualPrecision_;
    precision_ = p->precision_;
}

void KPhasorPanel::Serialize(KArchive& ar) {
    KPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        for (int i = 0; i < PHASORS; ++i) {
            ar << magnitude_[i] << phase_[i] << static_cast<std::uint32_t>(color_[i]);
            ar.writeString(label_[i]);
        }
        ar << range_ << degrees_ << numbers_ << manualPrecision_ << precision_;
        return;
    }
    if (ar.readVersion(STORED_VERSION, "phasor panel") < 1) return;
    for (int i = 0; i < PHASORS; ++i) {
        std::uint32_t color;
        ar >> magnitude_[i] >> phase_[i] >> color;
        color_[i] = color;
        label_[i] = ar.readString();
    }
    double range;
    std::int32_t precision;
    ar >> range >> degrees_ >> numbers_ >> manualPrecision_ >> precision;
    setRange(range);
    setManualPrecision(precision);
}
