#include <kalvo/plot/KPlotPanel.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurveClient.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/StockObject.h>
#include <kalvo/plot/KPlotCurve.h>
#include <kalvo/record/KRecordProducer.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KGraphics.h>

K_IMPLEMENT_CLASS(KPlotPanel, KGraphPanel, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr double PI = 3.14159265358979323846;
constexpr int TIME_COLORS = 48;    // the steps of the time colours
constexpr int SPOKE_DEGREES = 30;  // between the spokes of the polar grid

// Clips the segment a-b to the box (Liang and Barsky); false when none of it is inside.
bool clip(double& ax, double& ay, double& bx, double& by, double left, double top, double right,
          double bottom) {
    double t0 = 0, t1 = 1;
    const double dx = bx - ax, dy = by - ay;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {ax - left, right - ax, ay - top, bottom - ay};
    for (int k = 0; k < 4; ++k) {
        if (p[k] == 0) {
            if (q[k] < 0) return false;
            continue;
        }
        const double r = q[k] / p[k];
        if (p[k] < 0) {
            if (r > t1) return false;
            t0 = std::max(t0, r);
        } else {
            if (r < t0) return false;
            t1 = std::min(t1, r);
        }
    }
    const double x0 = ax, y0 = ay;
    ax = x0 + t0 * dx;
    ay = y0 + t0 * dy;
    bx = x0 + t1 * dx;
    by = y0 + t1 * dy;
    return true;
}

CPoint rounded(double x, double y) {
    return CPoint(static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)));
}

// A value with its units for read-outs: four significant digits.
KString reading(double v, const KString& units) {
    KString text;
    if (!std::isfinite(v)) return text;
    text.format("%.4g", std::fabs(v) < 1e-12 ? 0.0 : v);
    if (!units.isEmpty()) text << " " << units;
    return text;
}

// A name with its units in brackets: "VA (kV)".
KString titled(const KString& name, const KString& units) {
    KString text(name);
    if (!units.isEmpty()) text << (name.isEmpty() ? "(" : " (") << units << ")";
    return text;
}

// The title of one axis over the pairs: name and units where all pairs share them, the units
// alone where the names differ, nothing where the units do.
template <class Name, class Units>
KString titleOf(const std::vector<KPlotCurve*>& pairs, Name name, Units units) {
    if (pairs.empty()) return KString();
    const KPlotCurve* first = pairs.front();
    bool sameName = true, sameUnits = true;
    for (const KPlotCurve* p : pairs) {
        sameName = sameName && name(p).equals(name(first));
        sameUnits = sameUnits && units(p).equals(units(first));
    }
    if (!sameUnits) return KString();
    return titled(sameName ? name(first) : KString(), units(first));
}

}  // namespace

KPlotPanel::KPlotPanel() : aperture0_(KDouble::NaN), aperture1_(KDouble::NaN) {
    setName("plot");
    setFlag(TRIGGER, false);
    setFlag(X_INTERCEPT, true);
    setFlag(Y_INTERCEPT, true);
    setOwnXAxis(true);
}

void KPlotPanel::create() {
    KGraphPanel::create();
    setName("plot");
}

KPlotCurve* KPlotPanel::addPair(KRecordProducer* producer, int xTrace, int yTrace,
                                const char* caption) {
    auto* pair = new KPlotCurve();
    pair->setPair(producer, xTrace, yTrace);
    if (caption != nullptr) pair->setCaption(caption);
    if (!addCurve(pair)) {
        delete pair;
        return nullptr;
    }
    pairAdded(pair);
    return pair;
}

KPlotCurve* KPlotPanel::addSharedPair(std::shared_ptr<KRecordProducer> producer, int xTrace,
                                      int yTrace, const char* caption) {
    auto* pair = new KPlotCurve();
    pair->setSharedPair(std::move(producer), xTrace, yTrace);
    if (caption != nullptr) pair->setCaption(caption);
    if (!addCurve(pair)) {
        delete pair;
        return nullptr;
    }
    pairAdded(pair);
    return pair;
}

void KPlotPanel::pairAdded(KPlotCurve* pair) {
    pair->setLineWidth(2);
    pair->setPolar(mode_ == POLAR);
    if (getCanvas() != nullptr) layoutAll();
    resetZoom();
}

void KPlotPanel::getPairList(std::vector<KPlotCurve*>& list) const {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    for (KCurve* c : curves) {
        if (auto* pair = k_dynamic_cast<KPlotCurve>(c)) list.push_back(pair);
    }
}

void KPlotPanel::setMode(int mode) {
    if (mode != XY && mode != POLAR && mode != SCATTER) return;
    mode_ = mode;
    // A polar plot reads its values off the rings: no axes of ticks.
    setOwnXAxis(mode != POLAR);
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    for (KPlotCurve* p : pairs) p->setPolar(mode == POLAR);
    if (getCanvas() != nullptr) doLayout();
    resetZoom();
}

bool KPlotPanel::isEqualByDefault() const {
    if (mode_ == POLAR) return true;
    if (mode_ != XY) return false;
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    if (pairs.empty()) return false;
    for (KPlotCurve* p : pairs) {
        if (p->getXUnits().isEmpty() || !p->getXUnits().equals(p->getUnits())) return false;
    }
    return true;
}

void KPlotPanel::setEqualScaling(bool on) {
    equalScaling_ = on;
    equalSet_ = true;
    constrainRanges();
    repaint();
}

bool KPlotPanel::isEqualScaling() const {
    if (mode_ == POLAR) return true;
    return equalSet_ ? equalScaling_ : isEqualByDefault();
}

void KPlotPanel::setTimeAperture(double t0, double t1) {
    if (t1 < t0) std::swap(t0, t1);
    aperture0_ = t0;
    aperture1_ = t1;
    repaint();
}

void KPlotPanel::getTimeAperture(double& t0, double& t1) const {
    t0 = aperture0_;
    t1 = aperture1_;
}

// Points and ranges.

bool KPlotPanel::pointOf(KPlotCurve* pair, int i, double& x, double& y) const {
    const double* xs = pair->getXValues();
    const double* ys = pair->getYData();
    if (xs == nullptr || ys == nullptr || i < 0 || i >= pair->getSampleCount()) return false;
    const double a = xs[i], b = ys[i];
    if (!std::isfinite(a) || !std::isfinite(b)) return false;
    if (mode_ == POLAR) {
        x = a * std::cos(b * PI / 180);
        y = a * std::sin(b * PI / 180);
    } else {
        x = a;
        y = b;
    }
    return true;
}

void KPlotPanel::findXExtents(double& lo, double& hi) const {
    double ylo, yhi;
    lo = hi = ylo = yhi = KDouble::NaN;
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    for (KPlotCurve* p : pairs) {
        const int n = p->getSampleCount();
        for (int i = 0; i < n; ++i) {
            double x, y;
            if (!pointOf(p, i, x, y)) continue;
            if (!(x >= lo)) lo = x;
            if (!(x <= hi)) hi = x;
            if (!(y >= ylo)) ylo = y;
            if (!(y <= yhi)) yhi = y;
        }
    }
}

void KPlotPanel::findYExtents(double& lo, double& hi) const {
    lo = hi = KDouble::NaN;
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    for (KPlotCurve* p : pairs) {
        const int n = p->getSampleCount();
        for (int i = 0; i < n; ++i) {
            double x, y;
            if (!pointOf(p, i, x, y)) continue;
            if (!(y >= lo)) lo = y;
            if (!(y <= hi)) hi = y;
        }
    }
}

bool KPlotPanel::resetZoom() {
    double x0, x1, y0, y1;
    findXExtents(x0, x1);
    findYExtents(y0, y1);
    if (!std::isfinite(x0) || !std::isfinite(y0)) return false;
    if (mode_ == POLAR) {
        double r = std::max({std::fabs(x0), std::fabs(x1), std::fabs(y0), std::fabs(y1)});
        if (!(r > 0)) r = 1;
        x0 = y0 = -1.08 * r;
        x1 = y1 = 1.08 * r;
    } else {
        auto widen = [](double& lo, double& hi) {
            const double span = hi - lo;
            const double margin = span > 0 ? 0.05 * span : std::max(0.5, 0.1 * std::fabs(lo));
            lo -= margin;
            hi += margin;
        };
        widen(x0, x1);
        widen(y0, y1);
    }
    KRange& xr = getXRange();
    KRange& yr = getYRange();
    xr.setBounds(x0, x1);
    yr.setBounds(y0, y1);
    if (!xr.setLimits(x0, x1) || !yr.setLimits(y0, y1)) return false;
    xr.computeGrid(mode_ != POLAR);
    yr.computeGrid(mode_ != POLAR);
    constrainRanges();
    clearHistory();
    repaint();
    return true;
}

void KPlotPanel::constrainRanges() {
    if (!isEqualScaling()) return;
    const int w = plot_.Width(), h = plot_.Height();
    if (w < 1 || h < 1) return;
    KRange& xr = getXRange();
    KRange& yr = getYRange();
    const double ux = xr.getRangeSize() / w, uy = yr.getRangeSize() / h;
    if (!(ux > 0) || !(uy > 0) || !std::isfinite(ux) || !std::isfinite(uy)) return;
    // The finer scale widens to the coarser one, about its middle.
    KRange& widened = ux > uy ? yr : xr;
    const double span = std::max(ux, uy) * (ux > uy ? h : w);
    const double middle = (widened.getMinimum() + widened.getMaximum()) / 2;
    if (!widened.setLimits(middle - span / 2, middle + span / 2)) return;
    xr.computeGrid(false);
    yr.computeGrid(false);
}

bool KPlotPanel::zoomAround(double x, double y, double factor) {
    if (!(factor > 0) || !std::isfinite(x) || !std::isfinite(y)) return false;
    const KRange& xr = getXRange();
    const KRange& yr = getYRange();
    return zoomTo(x - (x - xr.getMinimum()) * factor, x + (xr.getMaximum() - x) * factor,
                  y - (y - yr.getMinimum()) * factor, y + (yr.getMaximum() - y) * factor);
}

double KPlotPanel::pixelX(double x) const {
    const KRange& r = getXRange();
    return plot_.left + (x - r.getMinimum()) * (plot_.right - plot_.left) / r.getRangeSize();
}

double KPlotPanel::pixelY(double y) const {
    const KRange& r = getYRange();
    return plot_.top + (r.getMaximum() - y) * (plot_.bottom - plot_.top) / r.getRangeSize();
}

bool KPlotPanel::findNearest(CPoint point, int reach, KPlotCurve*& pair, int& sample) const {
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    double best = static_cast<double>(reach) * reach;
    bool found = false;
    for (KPlotCurve* p : pairs) {
        int first, last;
        if (!p->isVisible() || !p->findStretch(aperture0_, aperture1_, first, last)) continue;
        for (int i = first; i <= last; ++i) {
            double x, y;
            if (!pointOf(p, i, x, y)) continue;
            const double dx = pixelX(x) - point.x, dy = pixelY(y) - point.y;
            if (dx * dx + dy * dy <= best) {
                best = dx * dx + dy * dy;
                pair = p;
                sample = i;
                found = true;
            }
        }
    }
    return found;
}

// Read-outs and data exchange.

KString KPlotPanel::getCrossHairText(CPoint point) const {
    const double x = toRealX(point.x), y = toRealY(point.y);
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    const KString xUnits = pairs.empty() ? KString() : pairs.front()->getXUnits();
    const KString yUnits = pairs.empty() ? KString() : pairs.front()->getUnits();
    KString text;
    if (mode_ == POLAR) {
        text.format("magnitude:\t%s\nangle:\t%.1f deg", reading(std::hypot(x, y), xUnits).c_str(),
                    std::atan2(y, x) * 180 / PI);
    } else {
        text.format("x:\t%s\ny:\t%s", reading(x, xUnits).c_str(), reading(y, yUnits).c_str());
    }
    KPlotCurve* pair = nullptr;
    int sample = 0;
    if (findNearest(point, getUnitSize(), pair, sample)) {
        const double* xs = pair->getXValues();
        const double* ys = pair->getYData();
        KString line;
        line.format("\n%s at %s:\t%s, %s", pair->getText().c_str(),
                    KGraphAxis::formatTime(pair->getXData()[sample]).c_str(),
                    reading(xs[sample], pair->getXUnits()).c_str(),
                    reading(ys[sample], pair->getUnits()).c_str());
        text << line;
    }
    return text;
}

bool KPlotPanel::copyPairs(KPlotCurve* only, bool aperture) {
    std::vector<KPlotCurve*> pairs;
    if (only != nullptr) {
        pairs.push_back(only);
    } else {
        getPairList(pairs);
    }
    if (pairs.empty()) return false;
    KPlotCurve* lead = pairs.front();
    int first, last;
    const double t0 = aperture ? aperture0_ : KDouble::NaN,
                 t1 = aperture ? aperture1_ : KDouble::NaN;
    if (!lead->findStretch(t0, t1, first, last) || lead->getXValues() == nullptr) return false;
    const double* t = lead->getXData();
    KString::setMaxSize(-1);
    KString::setIncrement(4096);
    KString text;
    text.ensureCapacity(static_cast<unsigned>(last - first + 2) * 24u *
                        static_cast<unsigned>(pairs.size() + 1));
    text << "Time";
    for (KPlotCurve* p : pairs) text << "," << p->getXName() << "," << p->getYName();
    text << "\n";
    char cell[512];
    for (int i = first; i <= last; ++i) {
        std::snprintf(cell, sizeof cell, "%f", t[i]);
        text << cell;
        for (KPlotCurve* p : pairs) {
            // Pairs on other times give their sample at or before this one's time.
            const int k = p->getXData() == t ? i : p->findIndex(t[i]);
            const double* xs = p->getXValues();
            const double* ys = p->getYData();
            const bool have = xs != nullptr && ys != nullptr && k >= 0;
            std::snprintf(cell, sizeof cell, ",%f,%f", have ? xs[k] : KDouble::NaN,
                          have ? ys[k] : KDouble::NaN);
            text << cell;
        }
        text << "\n";
    }
    KHost* host = getCanvas();
    const bool placed =
        KClipboard::setData(text.c_str(), host != nullptr ? host->getWindow() : 0) != 0;
    KString::setMaxSize(65535);
    KString::setIncrement(0);
    return placed;
}

// Layout.

CSize KPlotPanel::getPreferredSize() const {
    const int u = getUnitSize();
    return CSize(36 * u, 28 * u);
}

int KPlotPanel::getLeftMarginNeeded() const {
    return mode_ == POLAR ? getUnitSize() : KGraphPanel::getLeftMarginNeeded();
}

int KPlotPanel::getRightMarginNeeded() const {
    const int base = KGraphPanel::getRightMarginNeeded();
    return timeColoring_ ? std::max(base, 10 * getUnitSize()) : base;
}

CRect KPlotPanel::layoutPlot() {
    const int u = getUnitSize();
    CRect plot = KGraphPanel::layoutPlot();
    // A line for the Y title over the plot, one for the X title under the X labels.
    if (mode_ != POLAR) {
        plot.top += u * 5 / 4;
        plot.bottom -= u;
    } else {
        plot.top += u / 3;
    }
    if (plot.bottom < plot.top) plot.bottom = plot.top;
    return plot;
}

void KPlotPanel::doLayout() {
    KGraphPanel::doLayout();
    constrainRanges();
}

CRect KPlotPanel::getNotesRect() const {
    const CRect client = getClientRect();
    int top = plot_.top;
    if (const KCurveClient* legend = getCurveClient(); legend != nullptr && legend->isVisible()) {
        top = legend->getBounds().bottom + getUnitSize() / 2;
    }
    if (timeColoring_) top += getUnitSize() * 5 / 2;
    return CRect(plot_.right + 8, top,
                 std::max(plot_.right + 8, static_cast<int>(client.right) - 4), plot_.bottom);
}

// Painting.

void KPlotPanel::paint(KGraphics& graphics) {
    underlayDrawn_ = false;
    KGraphPanel::paint(graphics);
    if (graphics.getDC()->RectVisible(getDataRectangle())) {
        KGraphics clipped(graphics);
        clipped.clipRect(getDataRectangle());
        if (!underlayDrawn_) drawUnderlay(clipped);
        drawOverlay(clipped);
    }
    drawTitles(graphics);
    if (timeColoring_) drawColorScale(graphics);
    if (getCurveCount() > 0 && !hasPoints()) {
        // The note in the middle of the plot, broken into lines, on the plot's background.
        CDC* dc = graphics.getDC();
        graphics.setFont(const_cast<CFont*>(&KGraphAxis::getAxisFont()));
        const KString note = getEmptyNote();
        CRect box(plot_.left + 8, 0, std::max(plot_.left + 16, static_cast<int>(plot_.right) - 8),
                  0);
        dc->DrawText(note.c_str(), &box, DT_CENTER | DT_WORDBREAK | DT_NOPREFIX | DT_CALCRECT);
        box.OffsetRect(0, (plot_.top + plot_.bottom - box.Height()) / 2);
        box.left = plot_.left + 8;
        box.right = std::max(plot_.left + 16, static_cast<int>(plot_.right) - 8);
        graphics.setColor(plotColor(graphics));
        graphics.fillRect(box);
        graphics.setColor(isInverted() ? 0xC0C0C0 : 0x404040);
        const int mode = dc->SetBkMode(TRANSPARENT);
        dc->DrawText(note.c_str(), &box, DT_CENTER | DT_WORDBREAK | DT_NOPREFIX);
        dc->SetBkMode(mode);
    }
}

bool KPlotPanel::hasPoints() const {
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    for (KPlotCurve* p : pairs) {
        int first, last;
        if (!p->findStretch(aperture0_, aperture1_, first, last)) continue;
        for (int i = first; i <= last; ++i) {
            double x, y;
            if (pointOf(p, i, x, y)) return true;
        }
    }
    return false;
}

KString KPlotPanel::getEmptyNote() const {
    KString text("Nothing to plot");
    if (std::isfinite(aperture0_)) {
        text << " from " << KGraphAxis::formatTime(aperture0_) << " to "
             << KGraphAxis::formatTime(aperture1_);
    }
    return text;
}

void KPlotPanel::drawXGrid(KGraphics& graphics) {
    if (mode_ == POLAR) {
        drawPolarGrid(graphics);
    } else {
        KGraphPanel::drawXGrid(graphics);
    }
}

void KPlotPanel::drawYGrid(KGraphics& graphics) {
    if (mode_ != POLAR) KGraphPanel::drawYGrid(graphics);
}

void KPlotPanel::drawXAxis(KGraphics& graphics) {
    if (mode_ != POLAR) KGraphPanel::drawXAxis(graphics);
}

void KPlotPanel::drawYAxis(KGraphics& graphics) {
    if (mode_ != POLAR) KGraphPanel::drawYAxis(graphics);
}

void KPlotPanel::drawTicks(KGraphics& graphics) {
    if (mode_ != POLAR) KGraphPanel::drawTicks(graphics);
}

void KPlotPanel::drawPolarGrid(KGraphics& graphics) {
    const double ox = pixelX(0), oy = pixelY(0);
    const double perUnit = (plot_.right - plot_.left) / getXRange().getRangeSize();
    if (!(perUnit > 0) || !std::isfinite(ox) || !std::isfinite(oy)) return;
    // Rings out to the farthest corner of the plot, on the steps a range of that span takes.
    double far = 0;
    for (double cx : {static_cast<double>(plot_.left), static_cast<double>(plot_.right)}) {
        for (double cy : {static_cast<double>(plot_.top), static_cast<double>(plot_.bottom)}) {
            far = std::max(far, std::hypot(cx - ox, cy - oy) / perUnit);
        }
    }
    KRange rings(0, far);
    rings.computeGrid(false);
    const double step = rings.getGrid();
    KGraphics g(graphics);
    CDC* dc = g.getDC();
    g.setFont(const_cast<CFont*>(&KGraphAxis::getAxisFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    const KString units = [&] {
        std::vector<KPlotCurve*> pairs;
        getPairList(pairs);
        return pairs.empty() ? KString() : pairs.front()->getXUnits();
    }();
    const int u = getUnitSize();
    if (step > 0 && far / step < 200) {
        for (int k = 1; k * step <= far; ++k) {
            const double r = k * step * perUnit;
            g.setColor(gridColor(), 1, PS_DOT);
            dc->SelectStockObject(NULL_BRUSH);
            dc->Ellipse(static_cast<int>(std::lround(ox - r)),
                        static_cast<int>(std::lround(oy - r)),
                        static_cast<int>(std::lround(ox + r)) + 1,
                        static_cast<int>(std::lround(oy + r)) + 1);
            // The ring's value at its top, right of the 90 degree spoke, where it fits.
            KString label = KDouble::toLabel(k * step, rings.getPrecision(), 0, far).trim();
            if (!units.isEmpty()) label << " " << units;
            const CSize size = dc->GetTextExtent(label.c_str());
            const int lx = static_cast<int>(ox) + 3, ly = static_cast<int>(oy - r) - size.cy;
            if (lx >= plot_.left && lx + size.cx <= plot_.right && ly >= plot_.top + u &&
                ly + size.cy <= plot_.bottom) {
                g.setColor(isInverted() ? 0xC0C0C0 : 0x606060);
                dc->TextOut(lx, ly, label.c_str());
            }
        }
    }
    // Spokes every 30 degrees, named where they leave the plot.
    const double reach = std::hypot(plot_.Width(), plot_.Height()) * 2;
    for (int degrees = -150; degrees <= 180; degrees += SPOKE_DEGREES) {
        const double a = degrees * PI / 180;
        double ax = ox, ay = oy, bx = ox + reach * std::cos(a), by = oy - reach * std::sin(a);
        if (!clip(ax, ay, bx, by, plot_.left, plot_.top, plot_.right, plot_.bottom)) continue;
        g.setColor(gridColor(), 1, degrees % 90 == 0 ? PS_SOLID : PS_DOT);
        dc->MoveTo(rounded(ax, ay));
        dc->LineTo(rounded(bx, by));
        KString label;
        label.format("%d\xC2\xB0", degrees);
        const CSize size = dc->GetTextExtent(label.c_str());
        // Inside the plot, by the spoke's end.
        const double lx = std::clamp(bx - size.cx / 2.0 - std::cos(a) * size.cx * 0.6,
                                     static_cast<double>(plot_.left) + 2,
                                     static_cast<double>(plot_.right) - size.cx - 2);
        const double ly = std::clamp(by - size.cy / 2.0 + std::sin(a) * size.cy * 0.8,
                                     static_cast<double>(plot_.top) + 1,
                                     static_cast<double>(plot_.bottom) - size.cy - 1);
        g.setColor(isInverted() ? 0xC0C0C0 : 0x404040);
        dc->TextOut(static_cast<int>(lx), static_cast<int>(ly), label.c_str());
    }
    dc->SetBkMode(mode);
}

KString KPlotPanel::getXTitle() const {
    if (!getXLabel().isEmpty()) return getXLabel();
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    return titleOf(
        pairs, [](const KPlotCurve* p) { return p->getXName(); },
        [](const KPlotCurve* p) { return p->getXUnits(); });
}

KString KPlotPanel::getYTitle() const {
    if (!getYLabel().isEmpty()) return getYLabel();
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    return titleOf(
        pairs, [](const KPlotCurve* p) { return p->getYName(); },
        [](const KPlotCurve* p) { return p->getUnits(); });
}

void KPlotPanel::drawTitles(KGraphics& graphics) {
    if (mode_ == POLAR) return;
    const int u = getUnitSize();
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KGraphAxis::getBoldFont()));
    graphics.setColor(isInverted() ? 0xFFFFFF : 0);
    const int mode = dc->SetBkMode(TRANSPARENT);
    const KString x = getXTitle(), y = getYTitle();
    CRect under(plot_.left, plot_.bottom + u + u / 4 - 2, plot_.right,
                plot_.bottom + 2 * u + u / 4);
    dc->DrawText(x.c_str(), &under, DT_CENTER | DT_TOP | DT_SINGLELINE | DT_NOPREFIX | DT_NOCLIP);
    CRect over(getClientRect().left + 2, plot_.top - u * 5 / 4 - 2, plot_.right, plot_.top);
    dc->DrawText(y.c_str(), &over, DT_LEFT | DT_TOP | DT_SINGLELINE | DT_NOPREFIX | DT_NOCLIP);
    dc->SetBkMode(mode);
}

void KPlotPanel::getColorSpan(double& t0, double& t1) const {
    t0 = aperture0_;
    t1 = aperture1_;
    if (std::isfinite(t0) && std::isfinite(t1)) return;
    t0 = t1 = KDouble::NaN;
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    for (KPlotCurve* p : pairs) {
        double a, b;
        p->getXExtents(a, b);
        if (std::isfinite(a) && !(a >= t0)) t0 = a;
        if (std::isfinite(b) && !(b <= t1)) t1 = b;
    }
}

COLORREF KPlotPanel::timeColor(double t, double t0, double t1) {
    // Dark blue, blue, green, orange, red: early to late, each readable on white.
    static const double stops[5][3] = {
        {30, 40, 160}, {0, 120, 220}, {20, 150, 60}, {230, 130, 0}, {200, 0, 0}};
    double f = t1 > t0 ? (t - t0) / (t1 - t0) : 1.0;
    if (!std::isfinite(f)) f = 1.0;
    f = std::round(std::clamp(f, 0.0, 1.0) * (TIME_COLORS - 1)) / (TIME_COLORS - 1);
    const double at = f * 4;
    const int k = std::min(3, static_cast<int>(at));
    const double w = at - k;
    auto mix = [&](int c) {
        return static_cast<int>(std::lround(stops[k][c] + (stops[k + 1][c] - stops[k][c]) * w));
    };
    return RGB(mix(0), mix(1), mix(2));
}

void KPlotPanel::drawColorScale(KGraphics& graphics) {
    double t0, t1;
    getColorSpan(t0, t1);
    if (!std::isfinite(t0) || !std::isfinite(t1)) return;
    const int u = getUnitSize();
    CRect notes = getNotesRect();
    const int top = notes.top - u * 5 / 2;
    const int left = notes.left, right = std::min(static_cast<int>(notes.right), left + 9 * u);
    if (right - left < 2 * u) return;
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KGraphAxis::getAxisFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    graphics.setColor(isInverted() ? 0xFFFFFF : 0);
    dc->TextOut(left, top, "Time");
    const int barTop = top + u * 3 / 4, barBottom = barTop + u / 2;
    const int steps = right - left;
    for (int k = 0; k < steps; ++k) {
        const COLORREF c = timeColor(t0 + (t1 - t0) * k / std::max(1, steps - 1), t0, t1);
        dc->FillSolidRect(left + k, barTop, 1, barBottom - barTop, c);
    }
    graphics.setColor(isInverted() ? 0xFFFFFF : 0);
    dc->TextOut(left, barBottom + 1, KGraphAxis::formatTime(t0).c_str());
    const KString end = KGraphAxis::formatTime(t1);
    dc->TextOut(right - dc->GetTextExtent(end.c_str()).cx, barBottom + 1, end.c_str());
    dc->SetBkMode(mode);
}

void KPlotPanel::drawCurve(KGraphics& graphics, KCurve* curve, int) {
    auto* pair = k_dynamic_cast<KPlotCurve>(curve);
    if (pair == nullptr) return;
    if (!underlayDrawn_) {
        drawUnderlay(graphics);
        underlayDrawn_ = true;
    }
    int first, last;
    if (!pair->findStretch(aperture0_, aperture1_, first, last) || pair->getXValues() == nullptr ||
        !(getXRange().getRangeSize() > 0) || !(getYRange().getRangeSize() > 0)) {
        return;
    }
    if (mode_ == SCATTER) {
        drawPoints(graphics, pair, first, last);
    } else {
        drawLine(graphics, pair, first, last);
    }
    drawEnd(graphics, pair, first, last);
}

void KPlotPanel::drawLine(KGraphics& graphics, KPlotCurve* pair, int first, int last) {
    const double* t = pair->getXData();
    const COLORREF own = curveColor(pair);
    const int width = std::max(1, pair->getLineWidth());
    double c0, c1;
    getColorSpan(c0, c1);
    CDC* dc = graphics.getDC();
    // Segments are clipped to the plot with a little room, so that far points cost nothing.
    const double left = plot_.left - 2, top = plot_.top - 2, right = plot_.right + 3,
                 bottom = plot_.bottom + 3;
    std::vector<CPoint> run;
    COLORREF runColor = own;
    auto flush = [&] {
        if (run.size() >= 2) {
            graphics.setColor(runColor, width);
            dc->Polyline(run.data(), static_cast<int>(run.size()));
        }
        run.clear();
    };
    bool previous = false;
    double px0 = 0, py0 = 0;
    for (int i = first; i <= last; ++i) {
        double x, y;
        if (!pointOf(pair, i, x, y)) {
            flush();
            previous = false;
            continue;
        }
        const double px = pixelX(x), py = pixelY(y);
        if (previous) {
            const COLORREF color = timeColoring_ ? timeColor(t[i], c0, c1) : own;
            double ax = px0, ay = py0, bx = px, by = py;
            if (clip(ax, ay, bx, by, left, top, right, bottom)) {
                const CPoint a = rounded(ax, ay), b = rounded(bx, by);
                if (run.empty() || color != runColor || run.back() != a) {
                    flush();
                    run.push_back(a);
                    runColor = color;
                }
                if (run.back() != b) run.push_back(b);
            } else {
                flush();
            }
        }
        px0 = px;
        py0 = py;
        previous = true;
    }
    flush();
}

void KPlotPanel::drawPoints(KGraphics& graphics, KPlotCurve* pair, int first, int last) {
    const double* t = pair->getXData();
    const COLORREF own = curveColor(pair);
    double c0, c1;
    getColorSpan(c0, c1);
    const int size = std::max(3, getUnitSize() / 6);
    const CRect box = getDataRectangle();
    // Each pixel once, however many points fall on it.
    std::vector<bool> taken(static_cast<size_t>(box.Width()) * static_cast<size_t>(box.Height()),
                            false);
    CDC* dc = graphics.getDC();
    for (int i = first; i <= last; ++i) {
        double x, y;
        if (!pointOf(pair, i, x, y)) continue;
        const double px = pixelX(x), py = pixelY(y);
        if (!(px >= box.left && px < box.right && py >= box.top && py < box.bottom)) continue;
        const CPoint p = rounded(px, py);
        if (p.x >= box.right || p.y >= box.bottom) continue;
        const size_t at = static_cast<size_t>(p.y - box.top) * static_cast<size_t>(box.Width()) +
                          static_cast<size_t>(p.x - box.left);
        if (taken[at]) continue;
        taken[at] = true;
        dc->FillSolidRect(p.x - size / 2, p.y - size / 2, size, size,
                          timeColoring_ ? timeColor(t[i], c0, c1) : own);
    }
}

void KPlotPanel::drawEnd(KGraphics& graphics, KPlotCurve* pair, int first, int last) {
    int end = last;
    double x = 0, y = 0;
    while (end >= first && !pointOf(pair, end, x, y)) --end;
    if (end < first) return;
    const double px = pixelX(x), py = pixelY(y);
    const COLORREF color = curveColor(pair);
    CDC* dc = graphics.getDC();
    if (mode_ == POLAR) {
        // The phasor itself, from the origin.
        double ax = pixelX(0), ay = pixelY(0), bx = px, by = py;
        if (clip(ax, ay, bx, by, plot_.left - 2, plot_.top - 2, plot_.right + 3,
                 plot_.bottom + 3)) {
            graphics.setColor(color, 2);
            dc->MoveTo(rounded(ax, ay));
            dc->LineTo(rounded(bx, by));
        }
    }
    if (px < plot_.left - 50 || px > plot_.right + 50 || py < plot_.top - 50 ||
        py > plot_.bottom + 50)
        return;
    const int r = std::max(3, getUnitSize() / 4);
    const CPoint c = rounded(px, py);
    graphics.setColor(isInverted() ? 0 : 0xFFFFFF);
    graphics.fillOval(c.x - r - 1, c.y - r - 1, c.x + r + 2, c.y + r + 2);
    graphics.setColor(color);
    graphics.fillOval(c.x - r, c.y - r, c.x + r + 1, c.y + r + 1);
}

// Input.

void KPlotPanel::mouseWheel(KEvent& event) {
    const CPoint p = event.getPoint();
    if (event.isShiftDown() || !plot_.PtInRect(p)) {
        KGraphPanel::mouseWheel(event);
        return;
    }
    const int d = event.getWheelDelta();
    const int notches = d / 120 != 0 ? d / 120 : (d > 0 ? 1 : (d < 0 ? -1 : 0));
    if (notches == 0) return;
    event.consume();
    zoomAround(toRealX(p.x), toRealY(p.y), std::pow(0.8, notches));
}

void KPlotPanel::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed()) {
        const char* command = nullptr;
        switch (event.getKeyCode()) {
            case '1':
                command = "PLOT.XY";
                break;
            case '2':
                command = "PLOT.POLAR";
                break;
            case '3':
                command = "PLOT.SCATTER";
                break;
            case 'E':
                command = "PLOT.EQUAL";
                break;
            case 'T':
                command = "PLOT.TIMECOLOR";
                break;
            default:
                break;
        }
        if (command != nullptr) {
            event.consume();
            KEvent c = KEvent::command(0, command);
            c.setSource(this);
            onCommand(c);
            return;
        }
    }
    KGraphPanel::processKeyEvent(event);
}

void KPlotPanel::onCommand(KEvent& event) {
    const KString& name = event.getName();
    const KRange& xr = getXRange();
    const KRange& yr = getYRange();
    const double cx = (xr.getMinimum() + xr.getMaximum()) / 2,
                 cy = (yr.getMinimum() + yr.getMaximum()) / 2;
    bool handled = true;
    if (name == "PLOT.XY") {
        setMode(XY);
    } else if (name == "PLOT.POLAR") {
        setMode(POLAR);
    } else if (name == "PLOT.SCATTER") {
        setMode(SCATTER);
    } else if (name == "PLOT.EQUAL") {
        setEqualScaling(!isEqualScaling());
    } else if (name == "PLOT.TIMECOLOR") {
        setTimeColoring(!timeColoring_);
        repaint();
    } else if (name == "GRAPH.ZOOMIN") {
        zoomAround(cx, cy, 0.5);
    } else if (name == "GRAPH.ZOOMOUT") {
        zoomAround(cx, cy, 1.5);
    } else if (name == "GRAPH.XEXTENTS" || name == "GRAPH.YEXTENTS" || name == "GRAPH.RESET") {
        resetZoom();
    } else if (name == "CURVE.COPY.VISIBLE" || name == "CURVE.COPY.ALL") {
        copyPairs(k_dynamic_cast<KPlotCurve>(event.getSource()), name == "CURVE.COPY.VISIBLE");
    } else if (name == "GRAPH.TRIGGER" || name == "GRAPH.MARKERS" || name == "GRAPH.GLYPHS" ||
               name == "GRAPH.OFFSET" || name == "GRAPH.UP" || name == "GRAPH.DOWN" ||
               name == "GRAPH.TOP" || name == "GRAPH.BOTTOM") {
        // A plot has no time line to mark and stands in no stack of graphs.
    } else {
        handled = false;
    }
    if (handled) {
        event.consume();
        return;
    }
    KGraphPanel::onCommand(event);
}

// Object services.

void KPlotPanel::copy(const KObject& other) {
    KGraphPanel::copy(other);
    const auto* p = k_dynamic_cast<KPlotPanel>(const_cast<KObject*>(&other));
    if (p == nullptr) return;
    mode_ = p->mode_;
    equalScaling_ = p->equalScaling_;
    equalSet_ = p->equalSet_;
    timeColoring_ = p->timeColoring_;
    aperture0_ = p->aperture0_;
    aperture1_ = p->aperture1_;
}

void KPlotPanel::Serialize(KArchive& ar) {
    KGraphPanel::Serialize(ar);
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    const std::vector<KCurve*> curves(pairs.begin(), pairs.end());
    if (ar.isStoring()) {
        ar << STORED_VERSION << mode_ << equalScaling_ << equalSet_ << timeColoring_ << aperture0_
           << aperture1_;
        KCurve::storeRecords(ar, curves);
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid plot version %d", version);
    if (version < 1) return;
    std::int32_t mode = XY;
    ar >> mode >> equalScaling_ >> equalSet_ >> timeColoring_ >> aperture0_ >> aperture1_;
    if (mode == XY || mode == POLAR || mode == SCATTER) mode_ = mode;
    setOwnXAxis(mode_ != POLAR);
    KCurve::loadRecords(ar, curves, "Plot");
    for (KPlotCurve* p : pairs) p->setPolar(mode_ == POLAR);
}
