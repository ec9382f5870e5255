#include <kalvo/graph/KGraphPanelDigital.h>

#include <algorithm>

#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KCurveClient.h>
#include <kalvo/graph/KWaveformPainter.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/toolkit/KGraphics.h>

K_IMPLEMENT_CLASS(KGraphPanelDigital, KGraphPanel, 1)

KGraphPanelDigital::KGraphPanelDigital() {
    setName("digital");
    setFlag(GRID, true);
}

void KGraphPanelDigital::create() {
    setName("digital");
    KGraphPanel::create();
    if (KCurveClient* client = getCurveClient()) client->setVisible(false);
    if (getMeter() == nullptr) setMeter(nullptr);
}

bool KGraphPanelDigital::addCurve(KCurve* curve) {
    if (curve == nullptr) return false;
    curve->setAnalogState(false);
    if (!KGraphPanel::addCurve(curve)) return false;
    resetZoomY();
    return true;
}

bool KGraphPanelDigital::resetZoomY() {
    const int n = std::max(1, getCurveCount());
    getYRange().setBounds(0.0, n);
    getYRange().setLimits(0.0, n);
    getYRange().setGrid(1.0);
    repaint();
    return true;
}

CRect KGraphPanelDigital::getLaneRect(int lane) const {
    const int n = getCurveCount();
    if (lane < 0 || lane >= n) return CRect();
    const int h = plot_.Height();
    return CRect(plot_.left, plot_.top + lane * h / n, plot_.right, plot_.top + (lane + 1) * h / n);
}

int KGraphPanelDigital::laneAt(int y) const {
    const int n = getCurveCount();
    if (n == 0 || y < plot_.top || y >= plot_.bottom) return -1;
    return std::min(n - 1, static_cast<int>((y - plot_.top) * static_cast<long long>(n) / std::max(1, static_cast<int>(plot_.Height()))));
}

int KGraphPanelDigital::getLeftMarginNeeded() const {
    const int u = getUnitSize();
    int widest = 2 * u;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (const KCurve* c : curves) widest = std::max(widest, static_cast<int>(KGraphics::measureText(KCurve::getLegendFont(), c->getText().c_str()).cx));
    // Long names are cut rather than squeeze the plot.
    return std::min(widest, 10 * u) + 8;
}

CSize KGraphPanelDigital::getMinimumSize() const {
    const int u = getUnitSize();
    // The lanes, or the meter beside them when it is taller.
    return CSize(12 * u, std::max(std::max(2, getCurveCount()) * LANE_HEIGHT + u,
                                  static_cast<int>(KGraphPanel::getMinimumSize().cy)));
}

CSize KGraphPanelDigital::getPreferredSize() const {
    const CSize least = getMinimumSize();
    return CSize(40 * getUnitSize(), least.cy + getCurveCount() * 6);
}

CSize KGraphPanelDigital::getMaximumSize() const {
    return CSize(KGraphPanel::getMaximumSize().cx, getPreferredSize().cy);
}

void KGraphPanelDigital::drawSegments(KGraphics& graphics, const KCurve* constCurve, int first, int last) {
    auto* curve = const_cast<KCurve*>(constCurve);
    std::vector<KCurve*> curves;
    getCurveList(curves);
    const int lane = static_cast<int>(std::find(curves.begin(), curves.end(), curve) - curves.begin());
    const CRect laneRect = getLaneRect(lane);
    if (laneRect.IsRectEmpty()) return;
    const double* x = curve->getXData();
    const double* y = curve->getYData();
    const int n = curve->getSampleCount();
    if (x == nullptr || y == nullptr || n <= 0) return;
    // High at the lane's top, low at its bottom, a little inside.
    const int inset = std::max(2, laneRect.Height() / 6);
    CRect band(laneRect.left, laneRect.top + inset, laneRect.right, laneRect.bottom - inset);
    if (band.Height() < 1) band = laneRect;
    // Status values are 0 and 1: low on the band's bottom, high on its top.
    KWaveformPainter painter(band, getColumnScale(), 0.0, 1.0);
    painter.setSteps(true);
    painter.setEverySample(isEverySample());
    painter.draw(graphics.getDC(), x, y, n, &curve->getSummary(), KWaveformPainter::AREA,
                 curveColor(curve), 1, 0.0, first, last, &curve->getColumns());
}

void KGraphPanelDigital::drawYGrid(KGraphics& graphics) {
    KGraphics g(graphics);
    g.setColor(gridColor(), 1, PS_DOT);
    for (int lane = 1; lane < getCurveCount(); ++lane) {
        drawGridRow(g, getLaneRect(lane).top);
    }
}

void KGraphPanelDigital::drawYAxis(KGraphics& graphics) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KCurve::getLegendFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    for (int lane = 0; lane < static_cast<int>(curves.size()); ++lane) {
        CRect box = getLaneRect(lane);
        box.left = getClientRect().left + 2;
        box.right = plot_.left - 4;
        dc->SetTextColor(curveColor(curves[lane]));
        std::string name(curves[lane]->getText().c_str());
        const int length = static_cast<int>(name.size());
        name.append(4, '\0');
        dc->DrawText(name.data(), length, &box,
                     DT_RIGHT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS | DT_MODIFYSTRING);
    }
    dc->SetBkMode(mode);
}

void KGraphPanelDigital::onCommand(KEvent& event) {
    const bool fromLegend = event.getSource() == getCurveClient();
    if (fromLegend && (event.isNamed("component_added") || event.isNamed("component_removed"))) {
        event.consume();
        resetZoomY();
        updateMarkerLabels();
        postAction(event.isNamed("component_added") ? "curve.added" : "curve.removed");
        return;
    }
    // The values have fixed places: no value zoom, no value extents.
    if (event.isNamed("GRAPH.YEXTENTS") || event.isNamed("GRAPH.OFFSET") ||
        event.isNamed("GRAPH.XINTER") || event.isNamed("GRAPH.YINTER")) {
        event.consume();
        return;
    }
    KGraphPanel::onCommand(event);
}
