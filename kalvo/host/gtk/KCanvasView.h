#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <gtk/gtk.h>

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/KDamage.h>
#include <kalvo/platform/KHost.h>

class CCairoDC;
class KContainer;
class KEvent;
class KException;

// The window host: a GtkDrawingArea showing a tree of components. Its root container covers
// the area and is laid out again whenever the area changes size. What the tree invalidates
// is painted into a picture kept between frames, and only that part; each frame then shows
// the picture. Mouse, wheel and key input go to the tree as its events (the keys it does not
// take go on to GTK, for the window's shortcuts and focus moves); popup menus are popover
// menus of the menu resources, message boxes and file names real dialogs, tooltips GTK's
// own, cursors the library's cursor resources; timers and posted tasks run on the GLib main
// loop. While a view lives, the desktop clipboard is the platform clipboard and the busy
// cursor shows over the application's windows.
//
// The view holds a reference to its widget; once the view is gone, the widget shows nothing
// and takes no input. Errors that the tree raises while handling input are shown in a
// message box (or given to the error handler, when one is set).
class KCanvasView : public KHost {
public:
    using ErrorHandler = std::function<void(const KException&)>;
    // Called after each paint with the bounds of the area painted and the milliseconds it
    // took.
    using PaintObserver = std::function<void(const CRect& area, double milliseconds)>;

    KCanvasView();
    ~KCanvasView() override;

    GtkWidget* getWidget() const { return area_; }

    // Takes the root over (deleting the previous one), places it over the area and lays it
    // out; releaseRoot gives it back, detached.
    void setRoot(KContainer* root);
    KContainer* getRoot() const { return root_; }
    KContainer* releaseRoot();
    // Places the root over the area and lays out the whole tree.
    void layout();
    void setErrorHandler(ErrorHandler handler) { onError_ = std::move(handler); }
    void setPaintObserver(PaintObserver observer) { onPaint_ = std::move(observer); }

    // The union of the areas invalidated and not yet painted; empty when none.
    CRect getInvalidRect() const { return damage_.getBounds(); }
    const KString& getCursorName() const { return cursor_; }
    const KString& getTooltip() const { return tooltip_; }
    int getTimerCount() const { return static_cast<int>(timers_.size()); }

    // The host interface.
    CRect getClientRect() const override;
    void invalidateRect(const CRect& rect, bool erase) override;
    void scrollRect(const CRect& area, int dx, int dy) override;
    void setCapture() override { captured_ = true; }
    void releaseCapture() override { captured_ = false; }
    void setCursor(const char* resourceName) override;
    CPoint getCursorPos() const override { return pointer_; }
    CPoint clientToScreen(CPoint point) const override;
    unsigned setTimer(unsigned intervalMs, std::function<void()> callback) override;
    void killTimer(unsigned timerId) override;
    void postTask(std::function<void()> task) override;
    unsigned trackPopupMenu(const KMenuResource::Item& popup, CPoint at) override;
    int messageBox(const char* text, const char* caption, unsigned style) override;
    KString getSaveFileName(const char* filter, const char* extension) override;
    void showTooltip(const char* text, CPoint at) override;
    void hideTooltip() override;
    CDC* getMeasureDC() override;
    CDC* createClientDC() override;

private:
    struct Timer;

    // GTK's signals.
    static void onDraw(GtkDrawingArea* area, cairo_t* cr, int width, int height, gpointer self);
    static void onResize(GtkDrawingArea* area, int width, int height, gpointer self);
    static void onPress(GtkGestureDrag* gesture, double x, double y, gpointer self);
    static void onDrag(GtkGestureDrag* gesture, double dx, double dy, gpointer self);
    static void onRelease(GtkGestureDrag* gesture, double dx, double dy, gpointer self);
    static void onMotion(GtkEventControllerMotion* motion, double x, double y, gpointer self);
    static gboolean onScroll(GtkEventControllerScroll* scroll, double dx, double dy, gpointer self);
    static gboolean onKeyPressed(GtkEventControllerKey* key, guint keyval, guint keycode,
                                 GdkModifierType state, gpointer self);
    static void onKeyReleased(GtkEventControllerKey* key, guint keyval, guint keycode,
                              GdkModifierType state, gpointer self);
    static gboolean onQueryTooltip(GtkWidget* widget, int x, int y, gboolean keyboard,
                                   GtkTooltip* tooltip, gpointer self);
    static gboolean onTimer(gpointer timer);
    static gboolean onTasks(gpointer self);

    // Delivers an event to the root; false when it was held back (a modal question is
    // being asked) or there is no root. Errors go to the error handler.
    bool deliver(KEvent& event);
    void mouse(int type, CPoint point, unsigned modifiers, int clicks);
    void reportError(const KException& e);
    // Paints the damaged areas, or the whole area when there is no picture yet.
    void paint();
    void resize(int width, int height);
    void dropPicture();
    unsigned buttonState() const;

    GtkWidget* area_;
    std::vector<GtkEventController*> controllers_;
    KContainer* root_ = nullptr;
    int width_ = 1;
    int height_ = 1;
    std::unique_ptr<CCairoDC> picture_;
    // The picture's pixels as the frames' recordings take them (see onDraw).
    cairo_surface_t* shown_ = nullptr;
    std::unique_ptr<CCairoDC> measure_;
    KDamage damage_;
    CPoint pointer_;
    bool captured_ = false;
    KString cursor_;
    KString tooltip_;
    // The button held and where it went down, for drags; the last press, for double clicks.
    unsigned button_ = 0;
    CPoint pressedAt_;
    unsigned lastButton_ = 0;
    guint32 lastPressTime_ = 0;
    CPoint lastPressAt_;
    int clicks_ = 0;
    // Timers by their id, and the tasks waiting to run.
    std::map<unsigned, std::unique_ptr<Timer>> timers_;
    unsigned nextTimer_ = 1;
    std::deque<std::function<void()>> tasks_;
    guint taskSource_ = 0;
    ErrorHandler onError_;
    PaintObserver onPaint_;
};
