#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include <kalvo/foundation/KBitSet.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KObject.h>
#include <kalvo/foundation/KString.h>
#include <kalvo/platform/CBrush.h>
#include <kalvo/platform/CPen.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/platform/CTreeCtrl.h>
#include <kalvo/platform/ColorRef.h>
#include <kalvo/toolkit/KEvent.h>
#include <kalvo/toolkit/KPainter.h>

class CDC;
class KContainer;
class KGraphics;
class KHost;

// The base of every visible element: a named rectangle of its own coordinates (the
// extents) placed at a location in its parent's coordinates, with colours, visibility,
// enabled state, a popup menu name, a tooltip and flags. It paints through a KGraphics
// (paint is its own drawing, paintAll the whole road with its children), invalidates
// itself through its ancestors up to the host, and shares one focus, capture, clip slot and
// drag slot with every other component of the process (user-interface thread only).
class KComponent : public KObject, public KPainter {
    K_DECLARE_CLASS(KComponent);

public:
    // Flag bits.
    static constexpr int FLAG_OPAQUE = 0;     // paint fills the extents with the background
    static constexpr int FLAG_PRINTABLE = 1;  // painted when printing

    // Sizing pads and the body, as hitTest reports them.
    enum Hit { HIT_NONE = -1, HIT_BODY, HIT_TOP, HIT_TOP_RIGHT, HIT_RIGHT, HIT_BOTTOM_RIGHT,
               HIT_BOTTOM, HIT_BOTTOM_LEFT, HIT_LEFT, HIT_TOP_LEFT };

    // Stretch bits: which sides show sizing pads (3 is both).
    static constexpr int STRETCH_HORZ = 1;
    static constexpr int STRETCH_VERT = 2;

    using Tracer = std::function<void(const KComponent*, const char*)>;

    explicit KComponent(const char* name = nullptr);
    KComponent(const KComponent&) = delete;
    KComponent& operator=(const KComponent&) = delete;
    ~KComponent() override;

    // Geometry. The extents are the component's own coordinate rectangle; the bounds are
    // the extents moved to the location, in the parent's coordinates.
    virtual KContainer* getParent() const { return parent_; }
    void setLocation(int x, int y);
    void setLocation(CPoint p) { setLocation(p.x, p.y); }
    CPoint getLocation() const { return location_; }
    void setSize(int width, int height);
    void setSize(CSize size) { setSize(size.cx, size.cy); }
    CSize getSize() const { return extents_.Size(); }
    virtual CRect getExtents() const { return extents_; }
    virtual void setExtents(CRect extents);
    virtual CRect getBounds() const;
    // setLocation(left, top), then setSize(width, height).
    virtual void setBounds(CRect bounds);
    // Moves the own coordinate system so that its top-left is -origin; the bounds stay.
    void setOrigin(CPoint origin);
    CPoint getOrigin() const { return CPoint(-extents_.left, -extents_.top); }
    void translate(int dx, int dy) { setLocation(location_.x + dx, location_.y + dy); }
    CRect getInsets() const { return insets_; }
    void setInsets(CRect insets) { insets_ = insets; }
    // The extents deflated by the insets.
    virtual CRect getClientRect() const;
    // The host showing the tree; null while the tree is not shown.
    virtual KHost* getCanvas() const;
    // Where the own coordinates' origin lies on the host's client area and on the screen.
    virtual CPoint getLocationOnCanvas() const;
    virtual CPoint getLocationOnScreen() const;
    KComponent* getTopMost();
    virtual CSize getMinimumSize() const;
    virtual CSize getMaximumSize() const;
    virtual CSize getPreferredSize() const;
    static int getUnitSize() { return 144 / 8; }
    // Whether the point, in own coordinates, lies in the extents.
    virtual bool contains(CPoint point) const;

    // State.
    const KString& getName() const { return name_; }
    void setName(const char* name);
    // The name, or the class name when the name is empty.
    virtual KString getLabel() const;
    virtual KString paramString() const;
    void setVisible(bool visible) { visible_ = visible; }
    bool isVisible() const { return visible_; }
    // Visible, and so are all ancestors.
    virtual bool isShowing() const;
    void setEnabled(bool enabled) { enabled_ = enabled; }
    bool isEnabled() const { return enabled_; }
    // Setting marks every ancestor modified as well; clearing touches only this one.
    virtual void setModified(bool modified);
    virtual bool isModified() const { return modified_; }
    // 0 to 3 (the STRETCH bits); other values are ignored.
    void setStretch(int stretch);
    int getStretch() const { return stretch_; }
    void setPrintable(bool printable) { flags_.set(FLAG_PRINTABLE, printable); }
    bool isPrintable() const { return flags_.get(FLAG_PRINTABLE); }
    void setOpaque(bool opaque) { flags_.set(FLAG_OPAQUE, opaque); }
    bool isOpaque() const { return flags_.get(FLAG_OPAQUE); }
    KBitSet& getFlags() { return flags_; }
    const KBitSet& getFlags() const { return flags_; }
    void setXORDraw(bool xorDraw) { xorDraw_ = xorDraw; }
    // True when this component or an ancestor draws in XOR mode.
    bool isXORDraw() const;
    void setBackground(COLORREF color) { background_ = color; }
    COLORREF getBackground() const { return background_; }
    void setForeground(COLORREF color) { foreground_ = color; }
    COLORREF getForeground() const { return foreground_; }
    void setTooltipText(const char* text) { tooltip_ = text; }
    virtual KString getTooltipText(CPoint point) const;
    // Null or empty clears the menu name; a number becomes its decimal text.
    void setMenu(const char* menu);
    void setMenu(int id);
    // The class name until a menu is set: a base constructor cannot know the final class.
    KString getMenu() const { return menuByClass_ ? KString(getClassName()) : menu_; }
    // Two integers of the component kept for subclasses: the tag is stored and copied,
    // the data stored only.
    int getTag() const { return tag_; }
    void setTag(int tag) { tag_ = tag; }
    int getData() const { return data_; }
    void setData(int data) { data_ = data; }
    // Whether a container clips its children to itself (containers set it).
    bool isClipChildren() const { return clipChildren_ != 0; }
    void setClipChildren(bool clip) { clipChildren_ = clip ? 1 : 0; }

    // Family.
    bool isAncestor(const KComponent* component) const;
    bool isDescendentOf(const KComponent* component) const { return isAncestor(component); }
    KComponent* findAncestor(const char* name) const;
    // The components of the subtree (this one included) of that class or derived from it;
    // all of them for a null class name.
    virtual void enumComponents(std::vector<KComponent*>& list, const char* className);
    // Adds this component to a tree view under parent (its label as text, the component as
    // the item's value) and gives the new item; populateAll adds the whole subtree.
    virtual HTREEITEM populate(CTreeCtrl& tree, HTREEITEM parent);
    virtual void populateAll(CTreeCtrl& tree, HTREEITEM parent) { populate(tree, parent); }

    // Process-wide slots.
    static bool isClip() { return clip_ != nullptr; }
    static KComponent* getClip() { return clip_; }
    static void clearClip();
    static void cutClip(KComponent* component);
    static KComponent* pasteClip(KContainer* container, bool keepCopy);
    static KComponent* getDrag() { return drag_; }
    static void setDrag(KComponent* component);
    static void clearDrag();
    static void setFocus(KComponent* component);
    static KComponent* getFocus() { return focus_; }
    static bool inFocus(const KComponent* component) { return component != nullptr && focus_ == component; }
    static void setCapture(KComponent* component);
    static KComponent* getCapture() { return capture_; }
    static void releaseCapture(const KComponent* component);
    static bool isCaptured(const KComponent* component) { return component != nullptr && capture_ == component; }
    static KComponent* getMenuTarget() { return menuTarget_; }
    static void setMenuTarget(KComponent* component) { menuTarget_ = component; }
    // Drawing style 0, 1 or 2; other values are ignored.
    static void setStyle(int style);
    static int getStyle() { return style_; }
    static bool isPainting() { return painting_; }
    static int getInstanceCount() { return instanceCount_; }
    // Diagnostics: trace hands the text to the tracer, when one is installed.
    static void setTracer(Tracer tracer);
    static void trace(const KComponent* component, const char* text);
    // Traces every component still alive, after a header line.
    static void traceMasterList();
    // The stock objects cached when the first component was made.
    static const CPen& getBlackPen() { return blackPen_; }
    static const CBrush& getWhiteBrush() { return whiteBrush_; }
    static const CBrush& getNullBrush() { return nullBrush_; }

    // Output.
    // The component's own drawing, in own coordinates: the background when opaque.
    void paint(KGraphics& graphics) override;
    // The whole road: visible components only, drawn at their location, in XOR mode when
    // set; containers add their children.
    virtual void paintAll(KGraphics& graphics);
    // True when paint covers every pixel of the component's extents, so that its container
    // need not fill behind it: opaque containers and labels.
    virtual bool paintsEveryPixel() const { return false; }
    // Whether painting the visible component covers every pixel of the area (in its
    // parent's coordinates), so that a host need not clear it first.
    bool paintsAllOf(const CRect& area) const;
    // Paints in XOR mode: drawing it twice leaves the picture as it was.
    virtual void paintXOR(KGraphics& graphics);
    // The focus mark drawn over a focused child by a container; none by default.
    virtual void drawFocus(KGraphics& graphics);
    // The sizing pads around the bounds, in the parent's coordinates.
    virtual void drawPads(KGraphics& graphics);
    void repaint() { invalidate(true); }
    virtual void repaintRect(CRect rect) { invalidateRect(rect, 3); }
    // The extents (with the pads, when focused and stretchable) to be painted again.
    virtual void invalidate(bool erase = true);
    // rect in own coordinates; dropped while painting.
    virtual void invalidateRect(CRect rect, int mode);
    // Moves what the window shows of the area (own coordinates, as far as the ancestors
    // show it) by (dx, dy), for a picture that moved along that far: the host moves its
    // pixels and paints only what comes into view. Nothing else may be drawn over the area.
    void scrollRect(CRect rect, int dx, int dy);
    // A drawing context on the host, its origin at this component's own coordinates;
    // null without a host. The caller deletes it.
    virtual KGraphics* getGraphics();
    // The same on a given device context whose origin is the host's client origin.
    virtual KGraphics* getGraphics(CDC* dc);
    // Writes the component's picture by the file's extension (".svg", ".pdf", ".emf").
    void createMetaFile(const char* path);
    // Lays out the component (containers their children); nothing for a plain component.
    virtual void layoutAll();

    // Events. Points of mouse events are in own coordinates.
    void postEvent(const KEvent& event);
    // Tells the component's listeners and then its ancestors of an action, later on the
    // interface thread (at once when the tree has no host): the ancestors are offered an
    // ACTION event of that name, with this component as its source, through onCommand,
    // nearest first, until one consumes it. This is how a part tells the frame around it
    // that it changed ("update", "activate", "curve.added"...).
    void postAction(const char* name);
    void sendEvent(KEvent& event) { deliverEvent(event); }
    virtual void deliverEvent(KEvent& event);
    virtual void dispatchEvent(KEvent& event);
    virtual void processEvent(KEvent& event);
    virtual void processKeyEvent(KEvent& event);
    // Shows the component's popup menu and sends the chosen command to it.
    virtual void processMenuEvent(KEvent& event);
    virtual void processMouseEvent(KEvent& event);
    virtual void processMouseMotionEvent(KEvent& event);
    // "CLIP.ALL" cuts the component into the clip slot, "CLIP.RANGE" puts a copy there,
    // "FILE.METAFILE" saves its picture under a name the user gives. The container commands
    // ("PASTE.ALL", "COL.LEFT", "COL.RIGHT") raise "Not a container!" when they come from
    // this component's own menu and pass on otherwise.
    virtual void onCommand(KEvent& event);
    virtual void mousePressed(KEvent& event);
    virtual void mouseDragged(KEvent& event);
    virtual void mouseReleased(KEvent& event);
    virtual void mouseWheel(KEvent& event);
    // The pointer moved over the component with no button held. By default a component
    // with a tooltip for the point shows it through the host and consumes the event.
    virtual void mouseMoved(KEvent& event);
    // An action of a component this one listens to.
    virtual void actionPerformed(KEvent& event);
    // Focus gained or lost.
    virtual void focusChanged(bool gained);
    // Opens the component for editing (a double click); false when it has nothing to open.
    virtual bool open();
    // Tells the listeners.
    void actionEvent(const char* name);
    void actionEvent(KEvent& event);
    void addListener(KComponent* listener);
    void removeListener(KComponent* listener);
    const std::vector<KComponent*>& getListeners() const { return listeners_; }
    // Which part of the component is at the point (parent coordinates): a pad, the body
    // or nothing.
    virtual int hitTest(CPoint point) const;
    // How near the point (own coordinates) is to what the component shows; 0 is a direct
    // hit. Containers pick the nearest of overlapping children.
    virtual unsigned getProximity(CPoint point) const;

    // Raises a KException with the formatted text. Its title is the given exception's
    // title when it has one, else "<class name> Error". The exception is not taken over.
    [[noreturn]] void throwError(const KException* exception, const char* format, ...) const
        __attribute__((format(printf, 3, 4)));

    // Object services. copy raises "Cannot copy component to itself!".
    void copy(const KObject& other) override;
    // Stores version 2; loads versions 0 to 2.
    void Serialize(KArchive& archive) override;
    // Maps listener identities read from an archive back to the components of the subtree.
    virtual void resolveAll();

protected:
    friend class KContainer;
    void setParent(KContainer* parent) { parent_ = parent; }

    // Marks a container's children being stored or loaded: listener identities are
    // positions in the outermost tree under way, and are resolved when it is complete.
    class SerialScope {
    public:
        explicit SerialScope(KComponent* component);
        SerialScope(const SerialScope&) = delete;
        SerialScope& operator=(const SerialScope&) = delete;
        ~SerialScope();
        // Whether an enclosing container is being stored or loaded.
        static bool isNested() { return depth_ > 0; }
        static KComponent* getRoot() { return root_; }

    private:
        static int depth_;
        static KComponent* root_;
    };

    // The parent's layout drag constraint; none without a parent.
    int getParentDragConstraint() const;

private:
    void enumHashTable(std::vector<KComponent*>& table);
    void applyHashTable(const std::vector<KComponent*>& table);
    void enumListeners(std::vector<std::uint32_t>& ids) const;
    void dragTo(CPoint pointInParent);

    std::int32_t tag_ = 0;
    std::uint8_t clipChildren_ = 0;
    CRect insets_;
    std::int32_t data_ = 0;
    std::vector<KComponent*> listeners_;
    KContainer* parent_ = nullptr;
    CPoint location_;
    CRect extents_;
    KString name_;
    KString menu_;
    bool menuByClass_ = true;
    KString tooltip_;
    bool visible_ = true;
    bool enabled_ = true;
    bool xorDraw_ = false;
    COLORREF background_ = 0xFFFFFF;
    COLORREF foreground_ = 0;
    bool modified_ = false;
    std::int32_t stretch_ = 0;
    KBitSet flags_;

    // Listener identities read from an archive, until resolveAll maps them.
    std::vector<std::uint32_t> pendingListeners_;
    // The master list of live components, in creation order.
    KComponent* prevLive_ = nullptr;
    KComponent* nextLive_ = nullptr;

    static int instanceCount_;
    static KComponent* firstLive_;
    static KComponent* lastLive_;
    static KComponent* clip_;
    static KComponent* drag_;
    static KComponent* focus_;
    static KComponent* capture_;
    static KComponent* menuTarget_;
    static int style_;
    static bool painting_;
    static CPen blackPen_;
    static CBrush whiteBrush_;
    static CBrush nullBrush_;
    static Tracer tracer_;
};
