#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/ColorRef.h>
#include <kalvo/platform/KDamage.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/toolkit/KEvent.h>

class CCairoDC;
class KContainer;

// The host without a window: a canvas of a given size that lays out its root container and
// paints it into PNG, SVG or PDF files, and takes input events from the program. Menu
// choices, message-box answers and file names are queued by the program beforehand and
// handed out as the tree asks for them; timers and posted tasks run when the program pumps
// them. Errors that the tree raises while handling an event reach the program.
class KCanvas : public KHost {
public:
    KCanvas(int width, int height);
    KCanvas(const KCanvas&) = delete;
    KCanvas& operator=(const KCanvas&) = delete;
    ~KCanvas() override;

    // Takes the root over (deleting the previous one), places it over the whole canvas and
    // lays it out.
    void setRoot(KContainer* root);
    KContainer* getRoot() const { return root_; }
    // Gives the root back to the caller, detached from the canvas.
    KContainer* releaseRoot();
    void setSize(int width, int height);
    int getWidth() const { return width_; }
    int getHeight() const { return height_; }
    // Places the root over the canvas and lays out the whole tree.
    void layout();

    // Paints the tree onto a device context whose origin is the canvas' top-left.
    void paint(CDC* dc);
    // Paints the tree into the canvas' picture (kept for createClientDC and getPixel).
    void paint();
    // Paints only what was invalidated since the last paint into the kept picture, as a
    // window repaints its damaged area; the whole picture when there is none yet.
    void update();
    COLORREF getPixel(int x, int y) const;
    // Paints and writes the picture by the file's extension: ".png", ".svg" or ".pdf".
    // Raises a KException naming the file when it cannot be written.
    void save(const char* path);

    // The union of the areas invalidated since the last paint; empty when none.
    CRect getInvalidRect() const { return damage_.getBounds(); }
    // Those areas as update() paints them.
    const KDamage& getDamage() const { return damage_; }
    int getInvalidateCount() const { return invalidateCount_; }

    // Input, at canvas points. The button modifiers say which button.
    void mousePress(CPoint point, unsigned modifiers = KEvent::BUTTON1, int clicks = 1);
    void mouseDrag(CPoint point, unsigned modifiers = KEvent::BUTTON1);
    void mouseRelease(CPoint point, unsigned modifiers = KEvent::BUTTON1);
    void mouseMove(CPoint point);
    void mouseWheel(CPoint point, int delta, unsigned modifiers = 0);
    void keyPress(int keyCode, unsigned modifiers = 0);
    void keyRelease(int keyCode, unsigned modifiers = 0);
    // A menu command delivered to the tree, by number and name (either may be missing).
    void command(unsigned id, const char* name);
    // Any event, delivered to the root as it is.
    void deliver(KEvent& event);

    // Answers for the tree's questions, used in order. An empty queue dismisses a menu,
    // answers IDCANCEL and cancels a file dialog.
    void queueMenuChoice(const char* command);
    void queueMessageBoxAnswer(int answer);
    void queueFileName(const char* path);
    // What the tree showed: popups by title, message-box texts.
    const std::vector<KString>& getShownMenus() const { return shownMenus_; }
    const std::vector<KString>& getShownMessages() const { return shownMessages_; }

    // Runs the posted tasks, those they post included; how many ran.
    int pumpTasks();
    // Moves the clock on and fires the timers that fall due, in time order; how many fired.
    int advanceTime(unsigned ms);
    int getTimerCount() const { return static_cast<int>(timers_.size()); }
    bool isCaptured() const { return captured_; }
    // The cursor resource last set; empty for the arrow.
    const KString& getCursorName() const { return cursor_; }
    // The tooltip shown, empty when none, and the client point it was shown at. Painting
    // draws it over the tree, as a window would show it.
    const KString& getTooltip() const { return tooltip_; }
    CPoint getTooltipPoint() const { return tooltipAt_; }

    // The host interface.
    void invalidateRect(const CRect& rect, bool erase) override;
    void scrollRect(const CRect& area, int dx, int dy) override;
    int getScrollCount() const { return scrollCount_; }
    CRect getClientRect() const override { return CRect(0, 0, width_, height_); }
    void setCapture() override { captured_ = true; }
    void releaseCapture() override { captured_ = false; }
    void setCursor(const char* resourceName) override;
    CPoint getCursorPos() const override { return pointer_; }
    CPoint clientToScreen(CPoint point) const override { return point; }
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
    struct Timer {
        unsigned interval;
        unsigned long long due;
        std::function<void()> callback;
    };

    void mouse(KEvent::Type type, CPoint point, unsigned modifiers, int clicks);
    void key(KEvent::Type type, int keyCode, unsigned modifiers);
    // Where the tooltip shows; empty when none is shown.
    CRect tooltipBox();
    // The tree and the tooltip over it, within the device context's clip.
    void paintTree(CDC* dc);
    void paintTooltip(CDC* dc);

    int width_;
    int height_;
    KContainer* root_ = nullptr;
    std::unique_ptr<CCairoDC> image_;
    std::unique_ptr<CCairoDC> measure_;
    KDamage damage_;
    int invalidateCount_ = 0;
    int scrollCount_ = 0;
    CPoint pointer_;
    bool captured_ = false;
    KString cursor_;
    KString tooltip_;
    CPoint tooltipAt_;
    std::deque<std::function<void()>> tasks_;
    std::map<unsigned, Timer> timers_;
    unsigned nextTimer_ = 1;
    unsigned long long now_ = 0;
    std::deque<KString> menuChoices_;
    std::deque<int> answers_;
    std::deque<KString> fileNames_;
    std::vector<KString> shownMenus_;
    std::vector<KString> shownMessages_;
};
