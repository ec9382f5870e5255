#include <kalvo/graph/KGraphMeter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include <kalvo/foundation/KDouble.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/toolkit/KGraphics.h>

K_IMPLEMENT_CLASS(KGraphMeter, KPanel, 1)

namespace {

KString valueText(const KCurve* curve, double v) {
    if (!KDouble::isFinite(v)) return "---";
    if (!curve->isAnalog()) return curve->getStateString(v);
    KString text = KDouble::toLabelFixed(v, 2).trim();
    if (!curve->getUnits().isEmpty()) text << curve->getUnits();
    return text;
}

}  // namespace

KGraphMeter::KGraphMeter() : KPanel("meter"), markerX_(KDouble::NaN), markerO_(KDouble::NaN) {
    setBackground(0xFFFFFF);
}

void KGraphMeter::setCurveList(const std::vector<KCurve*>& curves) {
    curves_ = curves;
    repaint();
}

void KGraphMeter::setMarkerPositions(double x, double o) {
    markerX_ = x;
    markerO_ = o;
    repaint();
}

void KGraphMeter::getMarkerPositions(double& x, double& o) const {
    x = markerX_;
    o = markerO_;
}

void KGraphMeter::getRowTexts(int row, KString& atX, KString& atO, KString& difference) const {
    if (row < 0 || row >= getRowCount()) {
        atX = "X";
        atO = "O";
        difference = "O-X";
        return;
    }
    KCurve* curve = curves_[row];
    const double x = curve->getValueAt(markerX_);
    const double o = curve->getValueAt(markerO_);
    atX = valueText(curve, x);
    atO = valueText(curve, o);
    if (!curve->isAnalog()) {
        difference = KDouble::isFinite(x) && KDouble::isFinite(o) &&
                             (x >= curve->getThreshold()) != (o >= curve->getThreshold())
                         ? "changed"
                         : "";
    } else {
        difference = valueText(curve, o - x);
    }
}

std::vector<std::array<KString, 3>> KGraphMeter::allRowTexts() const {
    std::vector<std::array<KString, 3>> rows(static_cast<size_t>(getRowCount()) + 1);
    for (int row = -1; row < getRowCount(); ++row) {
        std::array<KString, 3>& t = rows[static_cast<size_t>(row + 1)];
        getRowTexts(row, t[0], t[1], t[2]);
    }
    return rows;
}

int KGraphMeter::columnWidth(const std::vector<std::array<KString, 3>>& rows) {
    const CFont& font = KCurve::getLegendFont();
    int widest = KGraphics::measureText(font, "-000.0m").cx;
    for (const auto& texts : rows) {
        for (const KString& t : texts)
            widest = std::max(widest, static_cast<int>(KGraphics::measureText(font, t.c_str()).cx));
    }
    return widest + 6;
}

int KGraphMeter::nameWidth() const {
    int widest = 0;
    for (const KCurve* c : curves_) {
        widest = std::max(widest, static_cast<int>(KGraphics::measureText(KCurve::getLegendFont(), c->getText().c_str()).cx));
    }
    // Long names are cut rather than widen the read-out.
    return std::min(widest, 6 * getUnitSize()) + 4;
}

CSize KGraphMeter::getPreferredSize() const {
    const int u = getUnitSize();
    const int line = u * 2 / 3 + 2;
    return CSize(u / 2 + nameWidth() + 3 * columnWidth(allRowTexts()) + 4,
                 (getRowCount() + 1) * line + 4);
}

CSize KGraphMeter::getMinimumSize() const { return getPreferredSize(); }

void KGraphMeter::paint(KGraphics& graphics) {
    KPanel::paint(graphics);
    const int u = getUnitSize();
    const int line = u * 2 / 3 + 2;
    // The texts once, for the columns' width and for drawing.
    const std::vector<std::array<KString, 3>> rows = allRowTexts();
    const int column = columnWidth(rows);
    const int names = nameWidth();
    const CRect r = getClientRect();
    CDC* dc = graphics.getDC();
    graphics.setColor(RGB(160, 160, 160));
    graphics.drawRect(r);
    graphics.setFont(const_cast<CFont*>(&KCurve::getLegendFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    for (int row = -1; row < getRowCount(); ++row) {
        const int top = r.top + 2 + (row + 1) * line;
        if (row >= 0) {
            graphics.setColor(curves_[row]->getLineColor());
            graphics.fillRect(r.left + 3, top + 3, r.left + u / 2, top + line - 3);
            dc->SetTextColor(0);
            std::string name(curves_[row]->getText().c_str());
            const int length = static_cast<int>(name.size());
            name.append(4, '\0');
            CRect cell(r.left + u / 2 + 2, top, r.left + u / 2 + names, top + line);
            dc->DrawText(name.data(), length, &cell,
                         DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS | DT_MODIFYSTRING);
        }
        const std::array<KString, 3>& texts = rows[static_cast<size_t>(row + 1)];
        const COLORREF colors[3] = {KGraphAxis::MARKER_X_COLOR, KGraphAxis::MARKER_O_COLOR, 0};
        const int first = r.left + u / 2 + names;
        for (int k = 0; k < 3; ++k) {
            dc->SetTextColor(row < 0 ? colors[k] : 0);
            CRect cell(first + k * column, top, first + (k + 1) * column - 4, top + line);
            dc->DrawText(texts[k].c_str(), &cell, DT_RIGHT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
        }
    }
    dc->SetBkMode(mode);
}

void KGraphMeter::copy(const KObject& other) {
    KPanel::copy(other);
    if (const auto* m = k_dynamic_cast<KGraphMeter>(const_cast<KObject*>(&other))) {
        markerX_ = m->markerX_;
        markerO_ = m->markerO_;
    }
}
