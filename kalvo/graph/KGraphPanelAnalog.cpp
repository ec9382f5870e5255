#include <kalvo/graph/KGraphPanelAnalog.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KCurveClient.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphMeter.h>
#include <kalvo/graph/KWaveformPainter.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/widgets/KLabel.h>
#include <kalvo/toolkit/widgets/KSpinControl.h>

K_IMPLEMENT_CLASS(KGraphPanelAnalog, KGraphPanel, 1)

bool KGraphPanelAnalog::confirmReplace_ = true;

namespace {
constexpr std::int32_t STORED_VERSION = 1;
const char* const INFO_NAMES[3] = {"info0", "info1", "info2"};
}  // namespace

KGraphPanelAnalog::KGraphPanelAnalog(bool ownXAxis, bool meter) : meterEnabled_(meter) {
    setName("analog");
    setOwnXAxis(ownXAxis);
    setFlag(X_INTERCEPT, true);
}

void KGraphPanelAnalog::setConfirmReplace(bool on) { confirmReplace_ = on; }

bool KGraphPanelAnalog::isConfirmReplace() { return confirmReplace_; }

void KGraphPanelAnalog::create() {
    setName("analog");
    KGraphPanel::create();
    if (findComponent("info") == nullptr) {
        auto* info = new KPanel("info");
        info->setOpaque(false);
        for (const char* name : INFO_NAMES) {
            auto* label = new KLabel(name);
            label->setBorder(false);
            label->setFillStyle(KLabel::FILL_NONE);
            label->setOpaque(false);
            label->setStretch(0);
            label->setVisible(false);
            info->add(label);
        }
        add(info);
    }
    addOffsetControl();
    if (meterEnabled_ && getMeter() == nullptr) setMeter(nullptr);
}

KLabel* KGraphPanelAnalog::infoLabel(int slot) const {
    if (slot < 0 || slot > 2) return nullptr;
    KString path("info.");
    path << INFO_NAMES[slot];
    return k_dynamic_cast<KLabel>(findComponent(path.c_str()));
}

void KGraphPanelAnalog::setExtendedText(int slot, const char* text, int alignment, int color) {
    KLabel* label = infoLabel(slot);
    if (label == nullptr) return;
    label->setText(text);
    label->setHorizontalAlignment(alignment);
    label->setTextColor(static_cast<COLORREF>(color));
    label->setVisible(text != nullptr && *text != '\0');
    if (getCanvas() != nullptr) doLayout();
    repaint();
}

void KGraphPanelAnalog::setAutoRangeExtents(double lower, double upper) {
    autoLower_ = lower;
    autoUpper_ = upper;
}

void KGraphPanelAnalog::getAutoRangeExtents(double& lower, double& upper) const {
    lower = autoLower_;
    upper = autoUpper_;
}

bool KGraphPanelAnalog::addCurve(KCurve* curve) {
    if (!KGraphPanel::addCurve(curve)) return false;
    updateOffsetControl();
    return true;
}

bool KGraphPanelAnalog::resetZoomY() {
    if (manualScaling_) return false;
    double lo, hi;
    if (autoRange_) {
        getAutoRangeExtents(lo, hi);
    } else {
        findYExtents(lo, hi);
    }
    if (KDouble::isNaN(lo) && KDouble::isNaN(hi)) return false;
    getYRange().setBounds(lo, hi);
    if (!getYRange().setLimits(lo, hi)) return false;
    getYRange().computeGrid(true);
    repaint();
    return true;
}

KContainer* KGraphPanelAnalog::componentPasting(KComponent* component) {
    if (k_dynamic_cast<KCurve>(component) == nullptr) {
        KContainer* parent = getParent();
        return parent != nullptr ? parent->componentPasting(component) : nullptr;
    }
    KCurveClient* client = getCurveClient();
    if (client == nullptr) return nullptr;
    if (directPaste_) return client;
    std::vector<KCurve*> curves;
    getCurveList(curves);
    emptyOnPaste_ = curves.empty();
    if (!curves.empty() && confirmReplace_) {
        KHost* host = getCanvas();
        const int answer = host != nullptr ? host->messageBox("Replace existing curve?", "Analog Graph",
                                                              KHost::MB_YESNO | KHost::MB_ICONQUESTION)
                                           : KHost::IDYES;
        if (answer == KHost::IDNO || answer == KHost::IDCANCEL) return nullptr;
    }
    for (auto it = curves.rbegin(); it != curves.rend(); ++it) delete *it;
    return client;
}

void KGraphPanelAnalog::updateOffsetControl() {
    KSpinControl* spin = getOffsetControl();
    if (spin == nullptr) return;
    KCurve* curve = getActiveCurve();
    const bool shown = curve != nullptr && isOffsetEnabled();
    if (spin->isVisible() != shown) {
        spin->setVisible(shown);
        if (getCanvas() != nullptr) doLayout();
    }
    if (curve == nullptr) return;
    // The control reaches a full swing of the curve's values either way.
    double lo, hi;
    curve->getYExtents(lo, hi);
    if (KDouble::isFinite(lo) && KDouble::isFinite(hi) && hi > lo) {
        const double span = hi - lo;
        spin->setRange(-span, span);
    }
    spin->setUnits(curve->getUnits().c_str());
    spin->setValue(curve->getYOffset());
    spin->repaint();
}

// Layout.

CRect KGraphPanelAnalog::layoutPlot() {
    CRect plot = KGraphPanel::layoutPlot();
    bool info = false;
    for (int slot = 0; slot < 3; ++slot) {
        if (const KLabel* label = infoLabel(slot); label != nullptr && label->isVisible()) info = true;
    }
    // The information line takes room only where the panel has it to spare.
    if (info && plot.Height() > 4 * getUnitSize()) plot.top += getUnitSize() * 2 / 3 + 2;
    return plot;
}

void KGraphPanelAnalog::doLayout() {
    KPanel::doLayout();
    plot_ = layoutPlot();
    const int u = getUnitSize();
    if (KComponent* info = findComponent("info")) {
        const int line = u * 2 / 3 + 2;
        info->setBounds(CRect(plot_.left, plot_.top - line, plot_.right, plot_.top));
        const int third = plot_.Width() / 3;
        for (int slot = 0; slot < 3; ++slot) {
            if (KLabel* label = infoLabel(slot)) {
                label->setBounds(slot == 0   ? CRect(0, 0, 2 * third, line)
                                 : slot == 1 ? CRect(third, 0, 2 * third, line)
                                             : CRect(third, 0, plot_.Width(), line));
            }
        }
        info->setVisible(plot_.top - line >= getClientRect().top);
    }
    layoutLegend(layoutOffsetControl(plot_.top));
}

// Painting.

void KGraphPanelAnalog::drawCurve(KGraphics& graphics, KCurve* curve, int index) {
    drawSegments(graphics, curve, 0, -1);
    if (getFlag(GLYPHS)) drawGlyphs(graphics, curve, index);
}

void KGraphPanelAnalog::drawSegments(KGraphics& graphics, const KCurve* constCurve, int first, int last) {
    auto* curve = const_cast<KCurve*>(constCurve);
    const double* x = curve->getXData();
    const double* y = curve->getYData();
    const int n = curve->getSampleCount();
    if (x == nullptr || y == nullptr || n <= 0) return;
    const KRange& yr = getYRange();
    KWaveformPainter painter(plot_, getColumnScale(), yr.getMinimum(), yr.getMaximum());
    painter.setEverySample(isEverySample());
    painter.draw(graphics.getDC(), x, y, n, &curve->getSummary(), curve->getRenderStyle(),
                 curveColor(curve), curve->getLineWidth(), getXIntercept(), first, last,
                 &curve->getColumns());
}

void KGraphPanelAnalog::drawGlyphs(KGraphics& graphics, KCurve* curve, int index) {
    const int u = getUnitSize();
    if (curve->getGlyph() < 0) curve->setGlyph((index - 1) % KLabel::GLYPH_COUNT);
    const int spacing = std::max(6 * u, plot_.Width() / 4);
    const int size = u / 2 + 1;
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&KCurve::getLegendFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    KString number;
    number.format("%d", index);
    // Each curve's glyphs start a little further right, so that they stand apart.
    for (int x = plot_.left + u + ((index - 1) * u) % spacing; x < plot_.right; x += spacing) {
        const double v = curve->getValueAt(toRealX(x));
        if (!KDouble::isFinite(v)) continue;
        const int y = plot_.top + toLogicalY(v);
        if (y < plot_.top || y > plot_.bottom) continue;
        const CRect box(x - size / 2, y - size / 2, x - size / 2 + size, y - size / 2 + size);
        curve->drawGlyph(graphics, box, curveColor(curve));
        dc->SetTextColor(curveColor(curve));
        dc->TextOut(box.right + 1, box.top - size / 2, number.c_str());
    }
    dc->SetBkMode(mode);
}

void KGraphPanelAnalog::drawYAxis(KGraphics& graphics) {
    // Tick labels need room for two lines; a shorter plot shows only its ends.
    if (plot_.Height() < 2 * getUnitSize()) {
        drawYLimits(graphics);
    } else {
        KGraphPanel::drawYAxis(graphics);
    }
}

// Events.

void KGraphPanelAnalog::onCommand(KEvent& event) {
    const bool fromLegend = event.getSource() == getCurveClient();
    if (fromLegend && (event.isNamed("component_added") || event.isNamed("component_removed"))) {
        event.consume();
        updateOffsetControl();
        updateMarkerLabels();
        postAction(event.isNamed("component_added") ? "curve.added" : "curve.removed");
        return;
    }
    if (fromLegend && event.isNamed("component_activated")) updateOffsetControl();
    if (event.isNamed("GRAPH.OFFSET")) {
        event.consume();
        setOffsetEnabled(!isOffsetEnabled());
        updateOffsetControl();
        repaint();
        return;
    }
    KGraphPanel::onCommand(event);
}

// Object services.

void KGraphPanelAnalog::copy(const KObject& other) {
    KGraphPanel::copy(other);
    const auto* a = k_dynamic_cast<KGraphPanelAnalog>(const_cast<KObject*>(&other));
    if (a == nullptr) return;
    manualScaling_ = a->manualScaling_;
    autoRange_ = a->autoRange_;
    autoLower_ = a->autoLower_;
    autoUpper_ = a->autoUpper_;
    directPaste_ = a->directPaste_;
    meterEnabled_ = a->meterEnabled_;
    if (KSpinControl* spin = getOffsetControl()) spin->addListener(this);
}

void KGraphPanelAnalog::Serialize(KArchive& ar) {
    KGraphPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << showsOwnXAxis() << manualScaling_ << autoRange_ << autoLower_
           << autoUpper_ << directPaste_ << meterEnabled_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid analog graph version %d", version);
    if (version < 1) return;
    bool own;
    ar >> own >> manualScaling_ >> autoRange_ >> autoLower_ >> autoUpper_ >> directPaste_ >> meterEnabled_;
    setOwnXAxis(own);
    if (KSpinControl* spin = getOffsetControl()) spin->addListener(this);
}
