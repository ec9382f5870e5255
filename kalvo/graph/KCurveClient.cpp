#include <kalvo/graph/KCurveClient.h>

#include <algorithm>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/toolkit/layout/KFormLayout.h>

K_IMPLEMENT_CLASS(KCurveClient, KPanel, 1)

namespace {
constexpr std::int32_t STORED_VERSION = 1;
}

KCurveClient::KCurveClient() : KPanel("client") { setLayout(new KFormLayout(4, 0)); }

void KCurveClient::create() {
    setName("client");
    setLayout(new KFormLayout(4, 0));
}

bool KCurveClient::canContain(const KComponent* component) const {
    return k_dynamic_cast<KCurve>(const_cast<KComponent*>(component)) != nullptr &&
           getCurveCount() < maximum_;
}

void KCurveClient::getCurveList(std::vector<KCurve*>& list) const {
    for (int i = 0; i < getComponentCount(); ++i) {
        if (auto* curve = k_dynamic_cast<KCurve>(getComponent(i))) list.push_back(curve);
    }
}

int KCurveClient::getCurveCount() const {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    return static_cast<int>(curves.size());
}

void KCurveClient::setActiveCurve(KCurve* curve) {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    const auto it = std::find(curves.begin(), curves.end(), curve);
    if (it == curves.end()) return;
    KCurve* previous = getActiveCurve();
    if (previous != nullptr && previous != curve) previous->setChecked(false);
    activeIndex_ = static_cast<int>(it - curves.begin());
    curve->setChecked(true);
    if (getCanvas() != nullptr) doLayout();
    repaint();
}

KCurve* KCurveClient::getActiveCurve() const {
    std::vector<KCurve*> curves;
    getCurveList(curves);
    return activeIndex_ >= 0 && activeIndex_ < static_cast<int>(curves.size()) ? curves[activeIndex_]
                                                                              : nullptr;
}

void KCurveClient::setMaximumCurves(int maximum) {
    if (maximum >= 1 && maximum <= 32) maximum_ = maximum;
}

void KCurveClient::setMinimumCurves(int minimum) {
    if (minimum >= 0 && minimum <= maximum_) minimum_ = minimum;
}

CSize KCurveClient::getMinimumSize() const {
    const int u = getUnitSize();
    const CSize preferred = getLayout()->preferredLayoutSize(const_cast<KCurveClient*>(this));
    return CSize(std::max(4 * u, static_cast<int>(preferred.cx)),
                 std::max(u, static_cast<int>(preferred.cy)));
}

CSize KCurveClient::getPreferredSize() const { return getMinimumSize(); }

void KCurveClient::componentAdded(KComponent* component) {
    KPanel::componentAdded(component);
    auto* curve = k_dynamic_cast<KCurve>(component);
    if (curve == nullptr) return;
    curve->setBorder(border_);
    curve->setIconVisible(iconVisible_);
    curve->setChecked(false);
    setActiveCurve(curve);
    postAction("component_added");
}

void KCurveClient::componentRemoved(KComponent* component) {
    KPanel::componentRemoved(component);
    auto* curve = k_dynamic_cast<KCurve>(component);
    if (curve == nullptr) return;
    if (getCurveCount() > 0) curve->setBorder(true);
    // The active curve stays the active one when another goes.
    std::vector<KCurve*> curves;
    getCurveList(curves);
    if (activeIndex_ >= static_cast<int>(curves.size())) activeIndex_ = std::max(0, static_cast<int>(curves.size()) - 1);
    if (KCurve* active = getActiveCurve()) active->setChecked(true);
    postAction("component_removed");
}

void KCurveClient::onCommand(KEvent& event) {
    auto* curve = k_dynamic_cast<KCurve>(event.getSource());
    if (curve == nullptr || getIndex(curve) < 0) {
        KPanel::onCommand(event);
        return;
    }
    if (event.isNamed("activate")) {
        event.consume();
        setActiveCurve(curve);
        postAction("component_activated");
        repaint();
    } else if (event.isNamed("CLIP.RANGE") || event.isNamed("CLIP.ALL")) {
        event.consume();
        setActiveCurve(curve);
        const bool range = event.isNamed("CLIP.RANGE");
        KEvent command = KEvent::command(range ? COPY_VISIBLE : COPY_ALL,
                                         range ? "CURVE.COPY.VISIBLE" : "CURVE.COPY.ALL");
        command.setSource(curve);
        if (KContainer* parent = getParent()) parent->onCommand(command);
    } else {
        KPanel::onCommand(event);
    }
}

void KCurveClient::copy(const KObject& other) {
    KPanel::copy(other);
    const auto* c = k_dynamic_cast<KCurveClient>(const_cast<KObject*>(&other));
    if (c == nullptr) return;
    activeIndex_ = c->activeIndex_;
    maximum_ = c->maximum_;
    minimum_ = c->minimum_;
    flag_ = c->flag_;
    iconVisible_ = c->iconVisible_;
    border_ = c->border_;
}

void KCurveClient::Serialize(KArchive& ar) {
    KPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << activeIndex_ << maximum_ << minimum_ << flag_ << iconVisible_
           << border_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 1) return;
    std::int32_t active, maximum, minimum;
    ar >> active >> maximum >> minimum >> flag_ >> iconVisible_ >> border_;
    activeIndex_ = active;
    setMaximumCurves(maximum);
    setMinimumCurves(minimum);
}
