#include <kalvo/host/headless/KCanvas.h>

#include <algorithm>
#include <cstring>

#include <kalvo/foundation/KException.h>
#include <kalvo/platform/CCairoDC.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/toolkit/KComponent.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KGraphics.h>

namespace {

// The popup item of that command name, searched depth first.
unsigned findCommand(const KMenuResource::Item& popup, const char* command) {
    for (int i = 0; i < popup.count; ++i) {
        const KMenuResource::Item& item = popup.items[i];
        if (item.items != nullptr) {
            if (unsigned id = findCommand(item, command)) return id;
        } else if (item.command != nullptr && std::strcmp(item.command, command) == 0) {
            return item.id;
        }
    }
    return 0;
}

}  // namespace

KCanvas::KCanvas(int width, int height)
    : width_(width > 0 ? width : 1), height_(height > 0 ? height : 1) {}

KCanvas::~KCanvas() {
    // The tree may still post tasks or kill timers while it goes.
    KContainer* root = root_;
    root_ = nullptr;
    delete root;
}

void KCanvas::setRoot(KContainer* root) {
    if (root == root_) return;
    delete releaseRoot();
    root_ = root;
    if (root_ != nullptr) {
        root_->setCanvas(this);
        layout();
    }
}

KContainer* KCanvas::releaseRoot() {
    KContainer* root = root_;
    root_ = nullptr;
    if (root != nullptr) root->setCanvas(nullptr);
    return root;
}

void KCanvas::setSize(int width, int height) {
    width_ = width > 0 ? width : 1;
    height_ = height > 0 ? height : 1;
    image_.reset();
    layout();
}

void KCanvas::layout() {
    if (root_ == nullptr) return;
    root_->setBounds(CRect(0, 0, width_, height_));
    root_->layoutAll();
    invalidateRect(CRect(0, 0, width_, height_), true);
}

void KCanvas::paint(CDC* dc) {
    if (dc == nullptr) return;
    paintTree(dc);
    damage_.clear();
}

void KCanvas::paintTree(CDC* dc) {
    if (root_ != nullptr) {
        KGraphics graphics(dc);
        root_->paintAll(graphics);
    }
    paintTooltip(dc);
}

void KCanvas::paint() {
    // The picture is kept between paints, as a window keeps its surface: cleared, not made anew.
    if (image_ == nullptr) {
        image_.reset(CCairoDC::CreateImage(width_, height_));
    } else {
        const int saved = image_->SaveDC();
        image_->SelectClipRgn(nullptr);
        image_->FillSolidRect(CRect(0, 0, width_, height_), 0xFFFFFF);
        image_->RestoreDC(saved);
    }
    paint(image_.get());
}

void KCanvas::update() {
    if (image_ == nullptr) {
        paint();
        return;
    }
    // Each damaged area by itself: the tree skips what lies outside the clip.
    const std::vector<CRect> areas = damage_.getRects();
    damage_.clear();
    for (const CRect& area : areas) {
        const int saved = image_->SaveDC();
        image_->IntersectClipRect(area);
        // A root that paints every pixel of the damage leaves nothing to clear.
        if (root_ == nullptr || !root_->paintsAllOf(area)) image_->FillSolidRect(area, 0xFFFFFF);
        paintTree(image_.get());
        image_->RestoreDC(saved);
    }
}

CRect KCanvas::tooltipBox() {
    if (tooltip_.isEmpty()) return CRect();
    CDC* measure = getMeasureDC();
    KGraphics graphics(measure);
    graphics.setFont(nullptr);
    CRect text(0, 0, 0, 0);
    measure->DrawText(tooltip_.c_str(), &text, DT_CALCRECT | DT_NOCLIP | DT_EXPANDTABS);
    // Below and right of the pointer, moved in to stay on the canvas.
    CRect box(0, 0, text.Width() + 8, text.Height() + 6);
    int x = tooltipAt_.x + 12, y = tooltipAt_.y + 18;
    if (x + box.Width() > width_) x = std::max(0, width_ - box.Width());
    if (y + box.Height() > height_) y = std::max(0, tooltipAt_.y - 4 - box.Height());
    box.OffsetRect(x, y);
    return box;
}

void KCanvas::paintTooltip(CDC* dc) {
    const CRect box = tooltipBox();
    if (box.IsRectEmpty()) return;
    KGraphics graphics(dc);
    graphics.setFont(nullptr);
    dc->FillSolidRect(box, RGB(255, 255, 225));
    graphics.setColor(RGB(118, 118, 118));
    graphics.drawRect(box);
    graphics.setColor(0);
    dc->SetBkMode(TRANSPARENT);
    CRect inside = box;
    inside.DeflateRect(4, 3);
    dc->DrawText(tooltip_.c_str(), &inside, DT_LEFT | DT_NOCLIP | DT_EXPANDTABS);
}

COLORREF KCanvas::getPixel(int x, int y) const {
    return image_ != nullptr ? image_->GetPixel(x, y) : 0xFFFFFF;
}

void KCanvas::save(const char* path) {
    const char* dot = path != nullptr ? std::strrchr(path, '.') : nullptr;
    const KString extension(dot);
    bool written = false;
    if (extension.equals(".png")) {
        paint();
        written = image_->WritePNG(path);
    } else if (extension.equals(".svg") || extension.equals(".pdf")) {
        std::unique_ptr<CCairoDC> dc(extension.equals(".svg")
                                         ? CCairoDC::CreateSVG(path, width_, height_)
                                         : CCairoDC::CreatePDF(path, width_, height_));
        if (dc != nullptr) {
            paint(dc.get());
            dc->Finish();
            written = cairo_surface_status(dc->GetSurface()) == CAIRO_STATUS_SUCCESS;
        }
    } else {
        KException::raise("Canvas Error", "Unknown picture type of '%s' (use .png, .svg or .pdf)",
                          path != nullptr ? path : "");
    }
    if (!written) KException::raise("Canvas Error", "Unable to write '%s'", path);
}

void KCanvas::mouse(KEvent::Type type, CPoint point, unsigned modifiers, int clicks) {
    pointer_ = point;
    if (root_ == nullptr) return;
    KEvent event = KEvent::mouse(type, point - root_->getLocation(), modifiers, clicks);
    root_->deliverEvent(event);
}

void KCanvas::mousePress(CPoint point, unsigned modifiers, int clicks) {
    mouse(KEvent::MOUSE_PRESSED, point, modifiers, clicks);
}

void KCanvas::mouseDrag(CPoint point, unsigned modifiers) {
    mouse(KEvent::MOUSE_DRAGGED, point, modifiers, 0);
}

void KCanvas::mouseRelease(CPoint point, unsigned modifiers) {
    mouse(KEvent::MOUSE_RELEASED, point, modifiers, 0);
}

void KCanvas::mouseMove(CPoint point) {
    pointer_ = point;
    if (root_ == nullptr) return;
    KEvent event = KEvent::mouse(KEvent::MOUSE_MOVED, point - root_->getLocation(), 0, 0);
    root_->deliverEvent(event);
    // Nothing under the pointer has a tooltip to show.
    if (!event.isConsumed()) hideTooltip();
}

void KCanvas::mouseWheel(CPoint point, int delta, unsigned modifiers) {
    pointer_ = point;
    if (root_ == nullptr) return;
    KEvent event = KEvent::wheel(point - root_->getLocation(), delta, modifiers);
    root_->deliverEvent(event);
}

void KCanvas::key(KEvent::Type type, int keyCode, unsigned modifiers) {
    if (root_ == nullptr) return;
    KEvent event = KEvent::key(type, keyCode, modifiers);
    root_->deliverEvent(event);
}

void KCanvas::keyPress(int keyCode, unsigned modifiers) {
    key(KEvent::KEY_PRESSED, keyCode, modifiers);
}

void KCanvas::keyRelease(int keyCode, unsigned modifiers) {
    key(KEvent::KEY_RELEASED, keyCode, modifiers);
}

void KCanvas::command(unsigned id, const char* name) {
    KEvent event = KEvent::command(id, name);
    deliver(event);
}

void KCanvas::deliver(KEvent& event) {
    if (root_ != nullptr) root_->deliverEvent(event);
}

void KCanvas::queueMenuChoice(const char* command) { menuChoices_.emplace_back(command); }

void KCanvas::queueMessageBoxAnswer(int answer) { answers_.push_back(answer); }

void KCanvas::queueFileName(const char* path) { fileNames_.emplace_back(path); }

int KCanvas::pumpTasks() {
    int count = 0;
    while (!tasks_.empty()) {
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        task();
        ++count;
    }
    return count;
}

int KCanvas::advanceTime(unsigned ms) {
    const unsigned long long end = now_ + ms;
    int fired = 0;
    for (;;) {
        auto next = timers_.end();
        for (auto it = timers_.begin(); it != timers_.end(); ++it) {
            if (it->second.due <= end && (next == timers_.end() || it->second.due < next->second.due)) {
                next = it;
            }
        }
        if (next == timers_.end()) break;
        now_ = next->second.due;
        next->second.due += next->second.interval > 0 ? next->second.interval : 1;
        // The callback may kill its own timer.
        std::function<void()> callback = next->second.callback;
        callback();
        ++fired;
    }
    now_ = end;
    return fired;
}

void KCanvas::invalidateRect(const CRect& rect, bool) {
    ++invalidateCount_;
    CRect r = rect;
    r.NormalizeRect();
    CRect bounded;
    if (!bounded.IntersectRect(r, CRect(0, 0, width_, height_))) return;
    damage_.add(bounded);
}

void KCanvas::scrollRect(const CRect& area, int dx, int dy) {
    CRect within;
    if (!within.IntersectRect(area, CRect(0, 0, width_, height_))) return;
    // Without a picture there is nothing to move yet: the first update paints it whole.
    if (image_ == nullptr) return;
    ++scrollCount_;
    image_->ScrollDC(dx, dy, within);
    damage_.scroll(within, dx, dy);
    // The tooltip is drawn over the tree, not part of what moves.
    const CRect tip = tooltipBox();
    if (!tip.IsRectEmpty()) {
        CRect moved = tip;
        moved.OffsetRect(dx, dy);
        invalidateRect(tip, true);
        invalidateRect(moved, true);
    }
}

void KCanvas::setCursor(const char* resourceName) { cursor_ = resourceName; }

void KCanvas::showTooltip(const char* text, CPoint at) {
    if (text == nullptr || *text == '\0') {
        hideTooltip();
        return;
    }
    if (std::strcmp(tooltip_.c_str(), text) == 0 && tooltipAt_ == at) return;
    invalidateRect(tooltipBox(), true);
    tooltip_ = text;
    tooltipAt_ = at;
    invalidateRect(tooltipBox(), true);
}

void KCanvas::hideTooltip() {
    if (tooltip_.isEmpty()) return;
    invalidateRect(tooltipBox(), true);
    tooltip_ = KString();
}

unsigned KCanvas::setTimer(unsigned intervalMs, std::function<void()> callback) {
    const unsigned id = nextTimer_++;
    timers_[id] = Timer{intervalMs, now_ + intervalMs, std::move(callback)};
    return id;
}

void KCanvas::killTimer(unsigned timerId) { timers_.erase(timerId); }

void KCanvas::postTask(std::function<void()> task) { tasks_.push_back(std::move(task)); }

unsigned KCanvas::trackPopupMenu(const KMenuResource::Item& popup, CPoint) {
    shownMenus_.emplace_back(popup.text);
    if (menuChoices_.empty()) return 0;
    const KString choice = menuChoices_.front();
    menuChoices_.pop_front();
    return findCommand(popup, choice.c_str());
}

int KCanvas::messageBox(const char* text, const char*, unsigned) {
    shownMessages_.emplace_back(text);
    if (answers_.empty()) return IDCANCEL;
    const int answer = answers_.front();
    answers_.pop_front();
    return answer;
}

KString KCanvas::getSaveFileName(const char*, const char*) {
    if (fileNames_.empty()) return KString();
    KString path = fileNames_.front();
    fileNames_.pop_front();
    return path;
}

CDC* KCanvas::getMeasureDC() {
    if (measure_ == nullptr) measure_.reset(CCairoDC::CreateImage(1, 1));
    return measure_.get();
}

CDC* KCanvas::createClientDC() {
    if (image_ == nullptr) paint();
    return new CCairoDC(image_->GetCairo());
}
