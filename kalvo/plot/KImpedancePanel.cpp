#include <kalvo/plot/KImpedancePanel.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/StockObject.h>
#include <kalvo/plot/KCharacteristic.h>
#include <kalvo/plot/KMhoCharacteristic.h>
#include <kalvo/plot/KPlotCurve.h>
#include <kalvo/plot/KQuadCharacteristic.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/toolkit/KGraphics.h>

K_IMPLEMENT_CLASS(KImpedancePanel, KPlotPanel, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
const COLORREF ZONE_COLORS[4] = {RGB(170, 0, 140), RGB(120, 120, 0), RGB(90, 90, 90),
                                 RGB(150, 80, 30)};
// The loci are shown out to twice the zones' size, or without zones to three times their
// typical level.
constexpr double NEAR_ZONES = 2.0;
constexpr double LEVELS = 3.0;

CPoint rounded(double x, double y) {
    return CPoint(static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)));
}

// "1.82 + j14.4 Ω".
KString impedanceText(double r, double x) {
    KString text;
    text.format("%.3g %c j%.3g \xCE\xA9", r, x < 0 ? '-' : '+', std::fabs(x));
    return text;
}

}  // namespace

KImpedancePanel::KImpedancePanel() {
    setName("impedance");
    setTimeColoring(true);
    setXLabel("R (\xCE\xA9)");
    setYLabel("X (\xCE\xA9)");
}

KImpedancePanel::~KImpedancePanel() = default;

void KImpedancePanel::create() {
    KPlotPanel::create();
    setName("impedance");
}

KPlotCurve* KImpedancePanel::addLocus(std::shared_ptr<KRecord> impedance, const char* caption) {
    return addSharedPair(std::move(impedance), 0, 1, caption);
}

void KImpedancePanel::addCharacteristic(KCharacteristic* zone) {
    if (zone == nullptr) return;
    if (zone->getColor() == 0) zone->setColor(ZONE_COLORS[zones_.size() % 4]);
    zones_.emplace_back(zone);
    repaint();
}

KCharacteristic* KImpedancePanel::getCharacteristic(int i) const {
    return i >= 0 && i < getCharacteristicCount() ? zones_[static_cast<size_t>(i)].get() : nullptr;
}

void KImpedancePanel::removeAllCharacteristics() {
    zones_.clear();
    repaint();
}

bool KImpedancePanel::findEntry(KPlotCurve* pair, int zone, double& time, double& r,
                                double& x) const {
    const KCharacteristic* z = getCharacteristic(zone);
    double t0, t1;
    getTimeAperture(t0, t1);
    int first, last;
    if (z == nullptr || pair == nullptr || !pair->findStretch(t0, t1, first, last)) return false;
    const double* rs = pair->getXValues();
    const double* xs = pair->getYData();
    const double* ts = pair->getXData();
    const int i = z->findEntry(ts, rs, xs, first, last);
    if (i < 0) return false;
    time = ts[i];
    r = rs[i];
    x = xs[i];
    return true;
}

bool KImpedancePanel::resetZoom() {
    double r0 = 0, r1 = 0, x0 = 0, x1 = 0;
    double size = 0;
    auto take = [&](double r, double x) {
        r0 = std::min(r0, r);
        r1 = std::max(r1, r);
        x0 = std::min(x0, x);
        x1 = std::max(x1, x);
    };
    if (zonesVisible_) {
        std::vector<KCharacteristic::Point> outline;
        for (const auto& z : zones_) {
            z->getOutline(outline);
            for (const auto& p : outline) {
                take(p.r, p.x);
                size = std::max(size, std::hypot(p.r, p.x));
            }
        }
    }
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    double t0, t1;
    getTimeAperture(t0, t1);
    // How far the loci are shown: twice as far as the zones reach, or without zones three
    // times their typical level (which a quarter of their points are nearer than: a fault's,
    // for a record of one).
    std::vector<double> distances;
    for (KPlotCurve* p : pairs) {
        int first, last;
        const double* rs = p->getXValues();
        const double* xs = p->getYData();
        if (rs == nullptr || xs == nullptr || !p->findStretch(t0, t1, first, last)) continue;
        for (int i = first; i <= last; ++i) {
            const double m = std::hypot(rs[i], xs[i]);
            if (std::isfinite(m)) distances.push_back(m);
        }
    }
    if (!distances.empty()) {
        std::nth_element(distances.begin(), distances.begin() + distances.size() / 4,
                         distances.end());
        const double reach = size > 0 ? NEAR_ZONES * size : LEVELS * distances[distances.size() / 4];
        for (KPlotCurve* p : pairs) {
            int first, last;
            const double* rs = p->getXValues();
            const double* xs = p->getYData();
            if (rs == nullptr || xs == nullptr || !p->findStretch(t0, t1, first, last)) continue;
            for (int i = first; i <= last; ++i) {
                if (std::hypot(rs[i], xs[i]) <= reach) take(rs[i], xs[i]);
            }
        }
    }
    if (!(r1 > r0) || !(x1 > x0)) return KPlotPanel::resetZoom();
    const double margin = 0.1 * std::max(r1 - r0, x1 - x0);
    KRange& rr = getXRange();
    KRange& xr = getYRange();
    rr.setBounds(r0 - margin, r1 + margin);
    xr.setBounds(x0 - margin, x1 + margin);
    if (!rr.setLimits(r0 - margin, r1 + margin) || !xr.setLimits(x0 - margin, x1 + margin))
        return false;
    rr.computeGrid(true);
    xr.computeGrid(true);
    constrainRanges();
    clearHistory();
    repaint();
    return true;
}

// Painting.

KString KImpedancePanel::getEmptyNote() const {
    KString text("No impedance");
    double t0, t1;
    getTimeAperture(t0, t1);
    if (std::isfinite(t0))
        text << " from " << KGraphAxis::formatTime(t0) << " to " << KGraphAxis::formatTime(t1);
    text << ": no whole cycle of samples, or no loop current";
    return text;
}

void KImpedancePanel::drawUnderlay(KGraphics& graphics) {
    if (!zonesVisible_) return;
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KGraphAxis::getBoldFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    std::vector<KCharacteristic::Point> outline;
    for (const auto& z : zones_) {
        z->getOutline(outline);
        if (outline.empty()) continue;
        std::vector<CPoint> points;
        int top = 0;
        for (const auto& p : outline) {
            points.push_back(rounded(pixelX(p.r), pixelY(p.x)));
            if (points.back().y < points[static_cast<size_t>(top)].y)
                top = static_cast<int>(points.size()) - 1;
        }
        points.push_back(points.front());
        graphics.setColor(z->getColor(), 2);
        dc->Polyline(points.data(), static_cast<int>(points.size()));
        // The zone's name over its highest point.
        const CSize size = dc->GetTextExtent(z->getName().c_str());
        const CPoint at = points[static_cast<size_t>(top)];
        graphics.setColor(z->getColor());
        dc->TextOut(at.x - size.cx / 2, at.y - size.cy - 2, z->getName().c_str());
    }
    dc->SetBkMode(mode);
}

void KImpedancePanel::drawOverlay(KGraphics& graphics) {
    if (!zonesVisible_) return;
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    const int s = std::max(4, getUnitSize() / 3);
    for (int k = 0; k < getCharacteristicCount(); ++k) {
        for (KPlotCurve* p : pairs) {
            double t, r, x;
            if (!p->isVisible() || !findEntry(p, k, t, r, x)) continue;
            // A diamond in the zone's colour where the locus comes in.
            const CPoint c = rounded(pixelX(r), pixelY(x));
            const CPoint diamond[5] = {CPoint(c.x, c.y - s), CPoint(c.x + s, c.y),
                                       CPoint(c.x, c.y + s), CPoint(c.x - s, c.y),
                                       CPoint(c.x, c.y - s)};
            graphics.setColor(getCharacteristic(k)->getColor(), 2);
            graphics.getDC()->Polyline(diamond, 5);
        }
    }
}

void KImpedancePanel::paint(KGraphics& graphics) {
    KPlotPanel::paint(graphics);
    drawReport(graphics);
}

void KImpedancePanel::getReport(std::vector<Line>& lines) const {
    if (!zonesVisible_) return;
    std::vector<KPlotCurve*> pairs;
    getPairList(pairs);
    const COLORREF ink = isInverted() ? 0xFFFFFF : 0;
    for (int k = 0; k < getCharacteristicCount(); ++k) {
        const KCharacteristic* z = getCharacteristic(k);
        lines.push_back({true, z->getColor(), 0, z->getName()});
        lines.push_back({false, ink, 6, z->describe()});
        for (KPlotCurve* p : pairs) {
            double t, r, x;
            KString text;
            if (pairs.size() > 1) text << p->getText() << ": ";
            if (findEntry(p, k, t, r, x)) {
                text << "in at " << KGraphAxis::formatTime(t);
                lines.push_back({false, ink, 6, text});
                lines.push_back({false, ink, 12, impedanceText(r, x)});
            } else {
                text << "not entered";
                lines.push_back({false, ink, 6, text});
            }
        }
    }
}

int KImpedancePanel::getRightMarginNeeded() const {
    std::vector<Line> lines;
    getReport(lines);
    int widest = 0;
    for (const Line& l : lines) {
        const CFont& font = l.bold ? KGraphAxis::getBoldFont() : KGraphAxis::getAxisFont();
        widest = std::max(
            widest, l.indent + static_cast<int>(KGraphics::measureText(font, l.text.c_str()).cx));
    }
    return std::max(KPlotPanel::getRightMarginNeeded(), widest + 16);
}

void KImpedancePanel::drawReport(KGraphics& graphics) {
    std::vector<Line> lines;
    getReport(lines);
    const CRect notes = getNotesRect();
    if (lines.empty() || notes.Width() < 3 * getUnitSize()) return;
    CDC* dc = graphics.getDC();
    const int mode = dc->SetBkMode(TRANSPARENT);
    const int height = KGraphics::measureText(KGraphAxis::getAxisFont(), "Xg").cy + 1;
    int y = notes.top;
    for (const Line& l : lines) {
        // A gap before each zone.
        if (l.bold && y > notes.top) y += height / 2;
        if (y + height > notes.bottom) break;
        graphics.setFont(
            const_cast<CFont*>(l.bold ? &KGraphAxis::getBoldFont() : &KGraphAxis::getAxisFont()));
        graphics.setColor(l.color);
        CRect box(notes.left + l.indent, y, notes.right, y + height);
        dc->DrawText(l.text.c_str(), &box,
                     DT_LEFT | DT_TOP | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
        y += height;
    }
    dc->SetBkMode(mode);
}

// Input.

void KImpedancePanel::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed() &&
        event.getKeyCode() == 'Z') {
        event.consume();
        KEvent c = KEvent::command(0, "PLOT.ZONES");
        c.setSource(this);
        onCommand(c);
        return;
    }
    KPlotPanel::processKeyEvent(event);
}

void KImpedancePanel::onCommand(KEvent& event) {
    if (event.isNamed("PLOT.ZONES")) {
        event.consume();
        zonesVisible_ = !zonesVisible_;
        repaint();
        return;
    }
    KPlotPanel::onCommand(event);
}

// Object services.

void KImpedancePanel::copy(const KObject& other) {
    KPlotPanel::copy(other);
    const auto* p = k_dynamic_cast<KImpedancePanel>(const_cast<KObject*>(&other));
    if (p == nullptr) return;
    zonesVisible_ = p->zonesVisible_;
    zones_.clear();
    for (const auto& z : p->zones_) zones_.emplace_back(static_cast<KCharacteristic*>(z->clone()));
}

void KImpedancePanel::Serialize(KArchive& ar) {
    KPlotPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << zonesVisible_;
        ar.writeCount(static_cast<std::uint32_t>(zones_.size()));
        for (const auto& z : zones_) ar.writeObject(z.get());
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0)
        KException::raise("Archive Error", "Invalid impedance plane version %d", version);
    if (version < 1) return;
    ar >> zonesVisible_;
    // The zone kinds are linked in for the archive to make them by name.
    (void)K_CLASS(KMhoCharacteristic);
    (void)K_CLASS(KQuadCharacteristic);
    zones_.clear();
    const std::uint32_t count = ar.readCount();
    for (std::uint32_t i = 0; i < count; ++i) {
        zones_.emplace_back(static_cast<KCharacteristic*>(ar.readObject(K_CLASS(KCharacteristic))));
        if (zones_.back() == nullptr)
            KException::raise("Archive Error", "Impedance plane holds an empty zone");
    }
}
