#include <kalvo/host/gtk/KCanvasView.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/host/gtk/KGtkClipboard.h>
#include <kalvo/host/gtk/KGtkCursorService.h>
#include <kalvo/host/gtk/KGtkDialogs.h>
#include <kalvo/host/gtk/KGtkKeys.h>
#include <kalvo/host/gtk/KGtkMenu.h>
#include <kalvo/host/gtk/KGtkModalLoop.h>
#include <kalvo/platform/CCairoDC.h>
#include <kalvo/resources/KResources.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KEvent.h>
#include <kalvo/toolkit/KGraphics.h>

struct KCanvasView::Timer {
    KCanvasView* view;
    unsigned id;
    guint source;
    std::function<void()> callback;
};

namespace {

// The services every view shares: the desktop clipboard and the busy cursor, installed
// while any view lives.
int liveViews = 0;
KGtkClipboard* sharedClipboard = nullptr;
KGtkCursorService* sharedCursors = nullptr;

// A device context on the kept picture; the window shows what was drawn once it is done.
class ClientDC : public CCairoDC {
public:
    ClientDC(cairo_t* cr, GtkWidget* widget)
        : CCairoDC(cr), widget_(GTK_WIDGET(g_object_ref(widget))) {}
    ~ClientDC() override {
        gtk_widget_queue_draw(widget_);
        g_object_unref(widget_);
    }

private:
    GtkWidget* widget_;
};

// The cursors of the library's resources, made once.
GdkCursor* resourceCursor(const char* name) {
    static std::map<std::string, GdkCursor*> cursors;
    const auto it = cursors.find(name);
    if (it != cursors.end()) return it->second;
    GdkCursor* cursor = nullptr;
    if (const KImageResource* image = KResources::findCursor(name)) {
        // GDK's default memory format is the native 0xAARRGGBB word, premultiplied: the
        // resource's pixels are opaque or clear, so they are that already.
        std::vector<guint32> pixels(static_cast<size_t>(image->width) *
                                    static_cast<size_t>(image->height));
        for (int y = 0; y < image->height; ++y) {
            for (int x = 0; x < image->width; ++x)
                pixels[static_cast<size_t>(y) * image->width + x] = image->pixel(x, y);
        }
        GBytes* bytes = g_bytes_new(pixels.data(), pixels.size() * sizeof(guint32));
        GdkTexture* texture =
            gdk_memory_texture_new(image->width, image->height, GDK_MEMORY_DEFAULT, bytes,
                                   static_cast<gsize>(image->width) * sizeof(guint32));
        g_bytes_unref(bytes);
        cursor = gdk_cursor_new_from_texture(texture, image->hotX, image->hotY, nullptr);
        g_object_unref(texture);
    }
    cursors[name] = cursor;
    return cursor;
}

double millisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

}  // namespace

KCanvasView::KCanvasView() : area_(gtk_drawing_area_new()) {
    g_object_ref_sink(area_);
    gtk_widget_set_focusable(area_, TRUE);
    gtk_widget_set_hexpand(area_, TRUE);
    gtk_widget_set_vexpand(area_, TRUE);
    gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(area_), onDraw, this, nullptr);
    g_signal_connect(area_, "resize", G_CALLBACK(onResize), this);
    g_signal_connect(area_, "query-tooltip", G_CALLBACK(onQueryTooltip), this);

    auto add = [this](GtkEventController* controller) {
        gtk_widget_add_controller(area_, controller);
        controllers_.push_back(controller);
    };
    GtkGesture* drag = gtk_gesture_drag_new();
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(drag), 0);
    g_signal_connect(drag, "drag-begin", G_CALLBACK(onPress), this);
    g_signal_connect(drag, "drag-update", G_CALLBACK(onDrag), this);
    g_signal_connect(drag, "drag-end", G_CALLBACK(onRelease), this);
    add(GTK_EVENT_CONTROLLER(drag));
    GtkEventController* motion = gtk_event_controller_motion_new();
    g_signal_connect(motion, "motion", G_CALLBACK(onMotion), this);
    add(motion);
    GtkEventController* scroll =
        gtk_event_controller_scroll_new(static_cast<GtkEventControllerScrollFlags>(
            GTK_EVENT_CONTROLLER_SCROLL_BOTH_AXES | GTK_EVENT_CONTROLLER_SCROLL_DISCRETE));
    g_signal_connect(scroll, "scroll", G_CALLBACK(onScroll), this);
    add(scroll);
    GtkEventController* key = gtk_event_controller_key_new();
    g_signal_connect(key, "key-pressed", G_CALLBACK(onKeyPressed), this);
    g_signal_connect(key, "key-released", G_CALLBACK(onKeyReleased), this);
    add(key);

    if (liveViews++ == 0) {
        GdkDisplay* display = gtk_widget_get_display(area_);
        sharedClipboard = new KGtkClipboard(gdk_display_get_clipboard(display));
        KPlatformClipboard::install(sharedClipboard);
        sharedCursors = new KGtkCursorService();
        KCursorService::install(sharedCursors);
    }
}

KCanvasView::~KCanvasView() {
    // The tree may still post tasks or kill timers while it goes.
    KContainer* root = root_;
    root_ = nullptr;
    delete root;
    for (auto& [id, timer] : timers_) g_source_remove(timer->source);
    timers_.clear();
    if (taskSource_ != 0) g_source_remove(taskSource_);
    for (GtkEventController* controller : controllers_) {
        g_signal_handlers_disconnect_by_data(controller, this);
        gtk_widget_remove_controller(area_, controller);
    }
    g_signal_handlers_disconnect_by_data(area_, this);
    gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(area_), nullptr, nullptr, nullptr);
    dropPicture();
    gtk_widget_set_has_tooltip(area_, FALSE);
    g_object_unref(area_);
    if (--liveViews == 0) {
        KPlatformClipboard::install(nullptr);
        delete sharedClipboard;
        sharedClipboard = nullptr;
        KCursorService::install(nullptr);
        delete sharedCursors;
        sharedCursors = nullptr;
    }
}

void KCanvasView::setRoot(KContainer* root) {
    if (root == root_) return;
    delete releaseRoot();
    root_ = root;
    if (root_ != nullptr) {
        root_->setCanvas(this);
        layout();
    }
}

KContainer* KCanvasView::releaseRoot() {
    KContainer* root = root_;
    root_ = nullptr;
    if (root != nullptr) root->setCanvas(nullptr);
    invalidateRect(getClientRect(), true);
    return root;
}

void KCanvasView::layout() {
    if (root_ != nullptr) {
        try {
            root_->setBounds(CRect(0, 0, width_, height_));
            root_->layoutAll();
        } catch (const KException& e) {
            reportError(e);
        }
    }
    invalidateRect(getClientRect(), true);
}

CRect KCanvasView::getClientRect() const {
    return CRect(0, 0, width_, height_);
}

// Painting.

void KCanvasView::resize(int width, int height) {
    width = std::max(width, 1);
    height = std::max(height, 1);
    if (width == width_ && height == height_ && picture_ != nullptr) return;
    width_ = width;
    height_ = height;
    dropPicture();
    layout();
}

void KCanvasView::dropPicture() {
    // Recordings that still show the picture take their copy of it now, while it is there.
    if (shown_ != nullptr) cairo_surface_destroy(shown_);
    shown_ = nullptr;
    picture_.reset();
}

void KCanvasView::onResize(GtkDrawingArea*, int width, int height, gpointer self) {
    static_cast<KCanvasView*>(self)->resize(width, height);
}

void KCanvasView::paint() {
    const auto start = std::chrono::steady_clock::now();
    std::vector<CRect> areas = damage_.getRects();
    if (picture_ == nullptr) {
        picture_.reset(CCairoDC::CreateImage(width_, height_));
        areas.assign(1, getClientRect());
    }
    damage_.clear();
    CRect painted;
    for (const CRect& area : areas) {
        painted.UnionRect(painted, area);
        const int saved = picture_->SaveDC();
        picture_->IntersectClipRect(area);
        // A root that paints every pixel of the damage leaves nothing to clear.
        if (root_ == nullptr || !root_->paintsAllOf(area)) picture_->FillSolidRect(area, 0xFFFFFF);
        if (root_ != nullptr) {
            // Nothing can be asked of the user in the middle of a frame: a fault is told on
            // the error stream and the rest of the frame stays blank.
            try {
                KGraphics graphics(picture_.get());
                root_->paintAll(graphics);
            } catch (const std::exception& e) {
                std::fprintf(stderr, "kalvo: painting failed: %s\n", e.what());
            }
        }
        picture_->RestoreDC(saved);
    }
    if (onPaint_) onPaint_(painted, millisecondsSince(start));
}

void KCanvasView::onDraw(GtkDrawingArea*, cairo_t* cr, int width, int height, gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    view->resize(width, height);
    if (view->picture_ == nullptr || !view->damage_.isEmpty()) view->paint();
    // GTK records the frame, and cairo keeps a copy-on-write snapshot of the source with the
    // recording until GTK lets go of it, frames later: the next paint into the picture would
    // have cairo copy the whole of it aside first. So the recordings get a surface of their
    // own over the picture's pixels, kept as long as the picture, which nothing flushes or
    // writes through: nothing is copied, and a recording played again shows the picture as
    // it is then.
    cairo_surface_t* picture = view->picture_->GetSurface();
    cairo_surface_flush(picture);
    if (view->shown_ == nullptr) {
        view->shown_ = cairo_image_surface_create_for_data(
            cairo_image_surface_get_data(picture), cairo_image_surface_get_format(picture),
            cairo_image_surface_get_width(picture), cairo_image_surface_get_height(picture),
            cairo_image_surface_get_stride(picture));
    }
    cairo_set_source_surface(cr, view->shown_, 0, 0);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_paint(cr);
}

void KCanvasView::invalidateRect(const CRect& rect, bool) {
    CRect r = rect;
    r.NormalizeRect();
    CRect bounded;
    if (!bounded.IntersectRect(r, getClientRect())) return;
    damage_.add(bounded);
    gtk_widget_queue_draw(area_);
}

void KCanvasView::scrollRect(const CRect& area, int dx, int dy) {
    CRect within;
    if (!within.IntersectRect(area, getClientRect())) return;
    // Without a picture the next frame paints everything anyway.
    if (picture_ == nullptr) return;
    picture_->ScrollDC(dx, dy, within);
    damage_.scroll(within, dx, dy);
    gtk_widget_queue_draw(area_);
}

CDC* KCanvasView::getMeasureDC() {
    if (measure_ == nullptr) measure_.reset(CCairoDC::CreateImage(1, 1));
    return measure_.get();
}

CDC* KCanvasView::createClientDC() {
    if (picture_ == nullptr) paint();
    return new ClientDC(picture_->GetCairo(), area_);
}

// Input.

void KCanvasView::reportError(const KException& e) {
    if (onError_) {
        onError_(e);
        return;
    }
    const KString title = e.getTitle().isEmpty() ? KString("Error") : e.getTitle();
    messageBox(e.getText().c_str(), title.c_str(), MB_OK | MB_ICONERROR);
}

bool KCanvasView::deliver(KEvent& event) {
    if (root_ == nullptr || KGtkModalLoop::getDepth() > 0) return false;
    try {
        root_->deliverEvent(event);
    } catch (const KException& e) {
        reportError(e);
    } catch (const std::exception& e) {
        reportError(KException("Error", e.what()));
    }
    return true;
}

void KCanvasView::mouse(int type, CPoint point, unsigned modifiers, int clicks) {
    pointer_ = point;
    if (root_ == nullptr) return;
    KEvent event = KEvent::mouse(static_cast<KEvent::Type>(type), point - root_->getLocation(),
                                 modifiers, clicks);
    const bool delivered = deliver(event);
    if (type == KEvent::MOUSE_MOVED && delivered && !event.isConsumed()) hideTooltip();
}

unsigned KCanvasView::buttonState() const {
    GtkEventController* any = controllers_.front();
    return KGtkKeys::toModifiers(gtk_event_controller_get_current_event_state(any));
}

void KCanvasView::onPress(GtkGestureDrag* gesture, double x, double y, gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    const unsigned button = gtk_gesture_single_get_current_button(GTK_GESTURE_SINGLE(gesture));
    const guint32 time = gtk_event_controller_get_current_event_time(GTK_EVENT_CONTROLLER(gesture));
    const GdkModifierType state =
        gtk_event_controller_get_current_event_state(GTK_EVENT_CONTROLLER(gesture));
    gtk_widget_grab_focus(view->area_);
    const CPoint at(static_cast<int>(x), static_cast<int>(y));
    // A press soon after and near the last one of the same button counts on.
    int doubleTime = 400, distance = 5;
    g_object_get(gtk_widget_get_settings(view->area_), "gtk-double-click-time", &doubleTime,
                 "gtk-double-click-distance", &distance, nullptr);
    const bool again = button == view->lastButton_ &&
                       time - view->lastPressTime_ <= static_cast<guint32>(doubleTime) &&
                       std::abs(at.x - view->lastPressAt_.x) <= distance &&
                       std::abs(at.y - view->lastPressAt_.y) <= distance;
    view->clicks_ = again ? view->clicks_ + 1 : 1;
    view->lastButton_ = button;
    view->lastPressTime_ = time;
    view->lastPressAt_ = at;
    view->button_ = button;
    view->pressedAt_ = at;
    view->mouse(KEvent::MOUSE_PRESSED, at,
                KGtkKeys::toModifiers(state) | KGtkKeys::toButton(button), view->clicks_);
}

void KCanvasView::onDrag(GtkGestureDrag* gesture, double dx, double dy, gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    if (view->button_ == 0) return;
    const GdkModifierType state =
        gtk_event_controller_get_current_event_state(GTK_EVENT_CONTROLLER(gesture));
    const CPoint at(view->pressedAt_.x + static_cast<int>(dx),
                    view->pressedAt_.y + static_cast<int>(dy));
    view->mouse(KEvent::MOUSE_DRAGGED, at,
                KGtkKeys::toModifiers(state) | KGtkKeys::toButton(view->button_), 0);
}

void KCanvasView::onRelease(GtkGestureDrag* gesture, double dx, double dy, gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    if (view->button_ == 0) return;
    const unsigned button = view->button_;
    view->button_ = 0;
    const GdkModifierType state =
        gtk_event_controller_get_current_event_state(GTK_EVENT_CONTROLLER(gesture));
    const CPoint at(view->pressedAt_.x + static_cast<int>(dx),
                    view->pressedAt_.y + static_cast<int>(dy));
    // The button is let go, whatever the tree does with it.
    const unsigned modifiers =
        (KGtkKeys::toModifiers(state) & ~(KEvent::BUTTON1 | KEvent::BUTTON2 | KEvent::BUTTON3)) |
        KGtkKeys::toButton(button);
    const bool held = KGtkModalLoop::getDepth() > 0;
    view->mouse(KEvent::MOUSE_RELEASED, at, modifiers, 0);
    // A release held back while a question is asked leaves no component holding the mouse.
    if (KComponent* capture = KComponent::getCapture(); held && capture != nullptr)
        KComponent::releaseCapture(capture);
}

void KCanvasView::onMotion(GtkEventControllerMotion*, double x, double y, gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    const CPoint at(static_cast<int>(x), static_cast<int>(y));
    if (view->button_ != 0) {
        view->pointer_ = at;
        return;
    }
    view->mouse(KEvent::MOUSE_MOVED, at, view->buttonState(), 0);
}

gboolean KCanvasView::onScroll(GtkEventControllerScroll* scroll, double dx, double dy,
                               gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    if (view->root_ == nullptr) return FALSE;
    const unsigned modifiers = KGtkKeys::toModifiers(
        gtk_event_controller_get_current_event_state(GTK_EVENT_CONTROLLER(scroll)));
    const CPoint at = view->pointer_ - view->root_->getLocation();
    bool consumed = false;
    // A notch is 120 and positive away from the user; a sideways turn pans, as Shift does.
    if (dy != 0) {
        KEvent event = KEvent::wheel(at, static_cast<int>(-dy * 120), modifiers);
        view->deliver(event);
        consumed = event.isConsumed();
    }
    if (dx != 0) {
        KEvent event = KEvent::wheel(at, static_cast<int>(-dx * 120), modifiers | KEvent::SHIFT);
        view->deliver(event);
        consumed = consumed || event.isConsumed();
    }
    return consumed;
}

gboolean KCanvasView::onKeyPressed(GtkEventControllerKey*, guint keyval, guint,
                                   GdkModifierType state, gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    const int code = KGtkKeys::toKeyCode(keyval);
    if (code == 0 || view->root_ == nullptr) return FALSE;
    KEvent event = KEvent::key(KEvent::KEY_PRESSED, code, KGtkKeys::toModifiers(state));
    view->deliver(event);
    return event.isConsumed();
}

void KCanvasView::onKeyReleased(GtkEventControllerKey*, guint keyval, guint, GdkModifierType state,
                                gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    const int code = KGtkKeys::toKeyCode(keyval);
    if (code == 0 || view->root_ == nullptr) return;
    KEvent event = KEvent::key(KEvent::KEY_RELEASED, code, KGtkKeys::toModifiers(state));
    view->deliver(event);
}

// Cursors and tooltips.

void KCanvasView::setCursor(const char* resourceName) {
    const KString name(resourceName);
    if (name == cursor_) return;
    cursor_ = name;
    gtk_widget_set_cursor(area_, name.isEmpty() ? nullptr : resourceCursor(name.c_str()));
}

CPoint KCanvasView::clientToScreen(CPoint point) const {
    // The nearest thing to the screen GTK tells of: the window's own coordinates.
    GtkWidget* root = GTK_WIDGET(gtk_widget_get_root(area_));
    double x = point.x, y = point.y;
    if (root != nullptr) gtk_widget_translate_coordinates(area_, root, point.x, point.y, &x, &y);
    return CPoint(static_cast<int>(x), static_cast<int>(y));
}

void KCanvasView::showTooltip(const char* text, CPoint) {
    if (text == nullptr || *text == '\0') {
        hideTooltip();
        return;
    }
    if (tooltip_ == text) return;
    tooltip_ = text;
    gtk_widget_set_has_tooltip(area_, TRUE);
    gtk_widget_trigger_tooltip_query(area_);
}

void KCanvasView::hideTooltip() {
    if (tooltip_.isEmpty()) return;
    tooltip_ = KString();
    gtk_widget_trigger_tooltip_query(area_);
}

gboolean KCanvasView::onQueryTooltip(GtkWidget*, int, int, gboolean, GtkTooltip* tooltip,
                                     gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    if (view->tooltip_.isEmpty()) return FALSE;
    gtk_tooltip_set_text(tooltip, view->tooltip_.c_str());
    return TRUE;
}

// Timers and tasks.

unsigned KCanvasView::setTimer(unsigned intervalMs, std::function<void()> callback) {
    const unsigned id = nextTimer_++;
    auto timer = std::make_unique<Timer>(Timer{this, id, 0, std::move(callback)});
    timer->source = g_timeout_add(std::max(intervalMs, 1u), onTimer, timer.get());
    timers_[id] = std::move(timer);
    return id;
}

void KCanvasView::killTimer(unsigned timerId) {
    const auto it = timers_.find(timerId);
    if (it == timers_.end()) return;
    g_source_remove(it->second->source);
    timers_.erase(it);
}

gboolean KCanvasView::onTimer(gpointer data) {
    auto* timer = static_cast<Timer*>(data);
    KCanvasView* view = timer->view;
    const unsigned id = timer->id;
    // The callback may kill its own timer: only copies are used after it.
    const std::function<void()> callback = timer->callback;
    try {
        callback();
    } catch (const KException& e) {
        view->reportError(e);
    }
    return view->timers_.count(id) != 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void KCanvasView::postTask(std::function<void()> task) {
    tasks_.push_back(std::move(task));
    if (taskSource_ == 0) taskSource_ = g_idle_add_full(G_PRIORITY_DEFAULT, onTasks, this, nullptr);
}

gboolean KCanvasView::onTasks(gpointer self) {
    auto* view = static_cast<KCanvasView*>(self);
    view->taskSource_ = 0;
    // While a question is asked, the handler that asked it has not returned: its tasks wait.
    if (KGtkModalLoop::getDepth() > 0) {
        view->taskSource_ = g_timeout_add(10, onTasks, view);
        return G_SOURCE_REMOVE;
    }
    std::deque<std::function<void()>> batch;
    batch.swap(view->tasks_);
    for (std::function<void()>& task : batch) {
        try {
            task();
        } catch (const KException& e) {
            view->reportError(e);
        }
    }
    if (!view->tasks_.empty() && view->taskSource_ == 0) {
        view->taskSource_ = g_idle_add_full(G_PRIORITY_DEFAULT, onTasks, view, nullptr);
    }
    return G_SOURCE_REMOVE;
}

// Questions.

unsigned KCanvasView::trackPopupMenu(const KMenuResource::Item& popup, CPoint at) {
    hideTooltip();
    KGtkMenu menu(popup);
    at.x = std::clamp(static_cast<int>(at.x), 0, width_ - 1);
    at.y = std::clamp(static_cast<int>(at.y), 0, height_ - 1);
    return menu.track(area_, at);
}

int KCanvasView::messageBox(const char* text, const char* caption, unsigned style) {
    hideTooltip();
    return KGtkDialogs::messageBox(area_, text, caption, style);
}

KString KCanvasView::getSaveFileName(const char* filter, const char* extension) {
    hideTooltip();
    return KGtkDialogs::getSaveFileName(area_, "Save As", filter, extension);
}
