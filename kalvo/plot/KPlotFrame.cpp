#include <kalvo/plot/KPlotFrame.h>

#include <algorithm>
#include <cmath>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/plot/KImpedancePanel.h>
#include <kalvo/plot/KPlayControl.h>
#include <kalvo/plot/KPlotCurve.h>
#include <kalvo/plot/KPlotPanel.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/layout/KBorderLayout.h>
#include <kalvo/toolkit/layout/KGridBagLayout.h>
#include <kalvo/toolkit/widgets/KLabel.h>

K_IMPLEMENT_CLASS(KPlotFrame, KFrame, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;

HWND windowOf(KHost* host) {
    return host != nullptr ? host->getWindow() : nullptr;
}

}  // namespace

KPlotFrame::KPlotFrame() : KFrame("plotframe") {
    setMenu("KPlotFrame");
    setOpaque(false);
}

KPlotFrame::~KPlotFrame() {
    // The timer goes with the frame, if its host is still there.
    if (KHost* host = KHost::fromWindow(windowOf(timerHost_)); host != nullptr && timer_ != 0)
        host->killTimer(timer_);
}

void KPlotFrame::create(KPlotPanel* plot) {
    setName("plotframe");
    const int u = getUnitSize();
    setLayout(new KBorderLayout(0, u + 6, 0, u * 2));

    auto* header = new KLabel("header");
    header->setText("Plot Frame");
    header->setEnabled(false);
    header->setStretch(0);
    header->setBackground(RGB(232, 236, 244));
    add(header, "North");

    auto* client = new KPanel("client");
    client->setLayout(new KGridBagLayout(100, 100));
    auto* graph = new KGraphFrame(true);
    graph->create();
    client->add(graph, "0, 0, 56, 100");
    if (plot == nullptr) plot = new KPlotPanel();
    plot->create();
    client->add(plot, "56, 0, 100, 100");
    add(client, "Center");

    auto* footer = new KPanel("footer");
    footer->setBackground(0xFFFFFF);
    footer->setLayout(new KBorderLayout());
    auto* play = new KPlayControl();
    play->create();
    play->setSpeed(speed_);
    footer->add(play, "Center");
    add(footer, "South");
    connect();
    updateAperture();
}

void KPlotFrame::connect() {
    if (auto* graph = k_dynamic_cast<KGraphFrame>(findComponent("client.frame")))
        graph->addListener(this);
    if (KPlayControl* play = getPlayControl()) play->addListener(this);
}

KGraphFrame* KPlotFrame::getGraphFrame() const {
    auto* graph = k_dynamic_cast<KGraphFrame>(findComponent("client.frame"));
    if (graph == nullptr) throwError(nullptr, "Unable to find graph frame.");
    return graph;
}

KPlotPanel* KPlotFrame::getPlotPanel() const {
    if (const KContainer* client = k_dynamic_cast<KContainer>(findComponent("client"))) {
        for (int i = 0; i < client->getComponentCount(); ++i) {
            if (auto* plot = k_dynamic_cast<KPlotPanel>(client->getComponent(i))) return plot;
        }
    }
    throwError(nullptr, "Unable to find plot panel.");
}

KPlayControl* KPlotFrame::getPlayControl() const {
    return k_dynamic_cast<KPlayControl>(findComponent("footer.play"));
}

KString KPlotFrame::getTitle() const {
    const auto* header = k_dynamic_cast<KLabel>(findComponent("header"));
    return header != nullptr ? header->getText() : KString();
}

void KPlotFrame::setTitle(const char* title) {
    if (auto* header = k_dynamic_cast<KLabel>(findComponent("header"))) {
        header->setText(title);
        header->repaint();
    }
}

void KPlotFrame::addRecord(KRecord* record, const std::vector<int>& traces) {
    getGraphFrame()->addRecord(record, traces);
    updateAperture();
}

KPlotCurve* KPlotFrame::addPair(KRecordProducer* producer, int xTrace, int yTrace,
                                const char* caption) {
    KPlotCurve* pair = getPlotPanel()->addPair(producer, xTrace, yTrace, caption);
    updateAperture();
    return pair;
}

// The aperture.

bool KPlotFrame::isMarkerAperture() const {
    const KGraphAxis* axis = getGraphFrame()->getAxis();
    return axis->isMarkerXEnabled() && axis->isMarkerOEnabled() &&
           KDouble::isFinite(axis->getMarkerXPosition()) &&
           KDouble::isFinite(axis->getMarkerOPosition());
}

void KPlotFrame::getAperture(double& lo, double& hi) const {
    const KGraphAxis* axis = getGraphFrame()->getAxis();
    if (isMarkerAperture()) {
        lo = std::min(axis->getMarkerXPosition(), axis->getMarkerOPosition());
        hi = std::max(axis->getMarkerXPosition(), axis->getMarkerOPosition());
        return;
    }
    axis->getAperture(lo, hi);
}

void KPlotFrame::updateAperture() {
    double lo, hi;
    getAperture(lo, hi);
    KPlotPanel* plot = getPlotPanel();
    double was0, was1;
    plot->getTimeAperture(was0, was1);
    if (was0 != lo || was1 != hi) plot->setTimeAperture(lo, hi);
    if (KPlayControl* play = getPlayControl()) {
        KString text(isMarkerAperture() ? "X to O: " : "In view: ");
        text << KGraphAxis::formatTime(lo) << " to " << KGraphAxis::formatTime(hi) << "  ("
             << KGraphAxis::formatTime(hi - lo) << ")";
        play->setReadout(text.c_str());
    }
}

void KPlotFrame::moveAperture(double lo, double hi) {
    KGraphFrame* graph = getGraphFrame();
    KGraphAxis* axis = graph->getAxis();
    if (!isMarkerAperture()) {
        graph->setAperture(lo, hi);
        return;
    }
    // The markers move together, each keeping its side; the view follows where they would
    // leave it.
    double viewLo, viewHi;
    axis->getRange(viewLo, viewHi);
    const double view = viewHi - viewLo;
    if (hi > viewHi || lo < viewLo)
        graph->setAperture(std::max(lo, hi - 0.9 * view), std::max(lo, hi - 0.9 * view) + view);
    const bool xFirst = axis->getMarkerXPosition() <= axis->getMarkerOPosition();
    axis->setMarkerXPosition(xFirst ? lo : hi);
    axis->setMarkerOPosition(xFirst ? hi : lo);
}

void KPlotFrame::rewind() {
    double lo, hi, first, last;
    getAperture(lo, hi);
    getGraphFrame()->findXExtents(first, last);
    if (!std::isfinite(lo) || !std::isfinite(first)) return;
    moveAperture(first, first + (hi - lo));
}

bool KPlotFrame::stepPlay(unsigned elapsedMs) {
    double lo, hi, first, last;
    getAperture(lo, hi);
    getGraphFrame()->findXExtents(first, last);
    if (!std::isfinite(lo) || !std::isfinite(hi) || !std::isfinite(last)) {
        play(false);
        return false;
    }
    double end = hi + speed_ / 1000.0 * elapsedMs / 1000.0;
    const bool atEnd = end >= last;
    if (atEnd) end = last;
    const bool moved = end > hi;
    if (moved) moveAperture(end - (hi - lo), end);
    if (atEnd) play(false);
    return moved;
}

void KPlotFrame::play(bool on) {
    if (on == isPlaying()) return;
    if (on) {
        KHost* host = getCanvas();
        if (host == nullptr) return;
        double lo, hi, first, last;
        getAperture(lo, hi);
        getGraphFrame()->findXExtents(first, last);
        if (std::isfinite(hi) && std::isfinite(last) && hi >= last) rewind();
        timerHost_ = host;
        timer_ = host->setTimer(PLAY_INTERVAL_MS, [this, host]() {
            // A frame taken out of its host stops.
            if (getCanvas() != host) {
                play(false);
            } else {
                stepPlay(PLAY_INTERVAL_MS);
            }
        });
    } else {
        if (KHost* host = KHost::fromWindow(windowOf(timerHost_)); host != nullptr && timer_ != 0)
            host->killTimer(timer_);
        timer_ = 0;
        timerHost_ = nullptr;
    }
    if (KPlayControl* control = getPlayControl()) control->setPlaying(isPlaying());
}

void KPlotFrame::setPlaySpeed(double msPerSecond) {
    if (!std::isfinite(msPerSecond)) return;
    speed_ = std::clamp(msPerSecond, KPlayControl::SLOWEST, KPlayControl::FASTEST);
    if (KPlayControl* control = getPlayControl()) control->setSpeed(speed_);
}

double KPlotFrame::getPlaySpeed() const {
    return speed_;
}

// Events.

void KPlotFrame::processKeyEvent(KEvent& event) {
    if (event.getType() == KEvent::KEY_PRESSED && !event.isConsumed()) {
        const char* command = nullptr;
        switch (event.getKeyCode()) {
            case KEvent::VK_SPACE:
                command = "PLOT.PLAY";
                break;
            case KEvent::VK_HOME:
                command = "PLOT.REWIND";
                break;
            case ']':
            case 0xDD:
                command = "PLOT.FASTER";
                break;
            case '[':
            case 0xDB:
                command = "PLOT.SLOWER";
                break;
            case 'M':
                command = "FRAME.MARKERS";
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
    KFrame::processKeyEvent(event);
}

void KPlotFrame::onCommand(KEvent& event) {
    const KString& name = event.getName();
    if (name == "PLOT.PLAY") {
        play(!isPlaying());
    } else if (name == "PLOT.REWIND") {
        rewind();
    } else if (name == "PLOT.FASTER") {
        setPlaySpeed(speed_ * 2);
    } else if (name == "PLOT.SLOWER") {
        setPlaySpeed(speed_ / 2);
    } else if (name == "FRAME.MARKERS") {
        getGraphFrame()->toggleMarkers();
    } else if (name == "FRAME.COPY.BITMAP" || name == "FRAME.COPY.PICTURE") {
        KClipboard::setComponentPicture(this, name == "FRAME.COPY.BITMAP");
    } else {
        KFrame::onCommand(event);
        return;
    }
    event.consume();
}

void KPlotFrame::actionPerformed(KEvent& event) {
    KComponent* source = event.getSource();
    if (event.isNamed("view.change") && k_dynamic_cast<KGraphFrame>(source) != nullptr) {
        updateAperture();
    } else if (event.isNamed("play.toggle") && source == getPlayControl()) {
        play(!isPlaying());
    } else if (event.isNamed("play.speed") && source == getPlayControl()) {
        speed_ = getPlayControl()->getSpeed();
    } else {
        KFrame::actionPerformed(event);
    }
}

// Object services.

void KPlotFrame::copy(const KObject& other) {
    KFrame::copy(other);
    if (const auto* f = k_dynamic_cast<KPlotFrame>(const_cast<KObject*>(&other)))
        speed_ = f->speed_;
    connect();
}

void KPlotFrame::Serialize(KArchive& ar) {
    // Every kind of plot is linked in, for the archive to make it by name.
    (void)K_CLASS(KImpedancePanel);
    (void)K_CLASS(KPlotCurve);
    KFrame::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << speed_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid plot frame version %d", version);
    if (version < 1) return;
    double speed = 40.0;
    ar >> speed;
    setPlaySpeed(speed);
    connect();
}
