#pragma once

#include <vector>

#include <kalvo/toolkit/KComponent.h>

class KLayout;

// A component that holds other components. The child list is the paint order (head first,
// at the back) and the reverse hit order; the container owns its children and its layout,
// finds descendants by dotted paths ("client.midclient.eastpanel"), clips its children to
// itself and passes events and hit tests down the tree.
class KContainer : public KComponent {
    K_DECLARE_CLASS(KContainer);

public:
    explicit KContainer(const char* name = nullptr);
    ~KContainer() override;

    // Adds at the tail. The layout sees the child and its constraint first and may refuse
    // it by raising; a container cannot be added into its own subtree. A child of another
    // container moves here. Re-lays out when the tree is shown.
    virtual void add(KComponent* component, const char* constraint = nullptr);
    // Takes a child out (not deleted: the caller owns it now).
    virtual void remove(KComponent* component);
    // Takes every child out, last first (not deleted: the caller owns them now).
    void removeAll();

    int getComponentCount() const { return static_cast<int>(children_.size()); }
    // Null outside 0..count-1.
    KComponent* getComponent(int index) const;
    // -1 when not a child.
    int getIndex(const KComponent* component) const;
    void getComponentList(std::vector<KComponent*>& list) const;
    // Every descendant, depth first in paint order.
    void getComponentListAll(std::vector<KComponent*>& list) const;
    // The descendant named by the dotted path below this container; null when none.
    KComponent* findComponent(const char* path) const;
    KContainer* findContainer(const char* path) const;
    // The child at the point (own coordinates): the focused child first, then the
    // front-most showing child, the nearest when proximities differ.
    virtual KComponent* getComponentAt(CPoint point) const;
    // The innermost component that is not a container at the point; null on an empty spot.
    KComponent* findComponentAt(CPoint point) const;
    bool isChild(const KComponent* component) const { return getIndex(component) >= 0; }
    bool isDescendent(const KComponent* component) const;

    // Reordering: head is painted first (behind), tail last (in front).
    void toPrev(KComponent* component);
    void toNext(KComponent* component);
    void toHead(KComponent* component);
    void toTail(KComponent* component);

    KLayout* getLayout() const { return layout_; }
    // Takes the layout over and deletes the old one; null installs a base layout.
    void setLayout(KLayout* layout);
    // The editing grid, never below 1.
    void setGrid(int grid) { grid_ = grid < 1 ? 1 : grid; }
    int getGrid() const { return grid_; }
    int getReserved() const { return reserved_; }
    void setReserved(int value) { reserved_ = value; }
    // Places the children through the layout.
    virtual void doLayout();
    // doLayout, then every child's layoutAll, head to tail.
    void layoutAll() override;
    // The container into which a pasted component goes.
    virtual KContainer* componentPasting(KComponent* component);

    // The host of a tree whose root this container is.
    void setCanvas(KHost* host) { host_ = host; }
    KHost* getCanvas() const override;

    void setModified(bool modified) override;
    bool isModified() const override;
    void paintAll(KGraphics& graphics) override;
    // Opaque, or covered by children that paint every pixel of theirs.
    bool paintsEveryPixel() const override;
    // Fills the background that the children which paint every pixel of theirs leave
    // uncovered (all of it when none does), so that no pixel is filled twice.
    void paint(KGraphics& graphics) override;
    void enumComponents(std::vector<KComponent*>& list, const char* className) override;
    void populateAll(CTreeCtrl& tree, HTREEITEM parent) override;

    // Events: keys and commands go to the child holding the focus first, mouse events to
    // the captured component or the child under the point; then to the container, which
    // pastes and reorders its children by command and moves a freely placed focused child
    // with the arrow keys.
    void deliverEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;

    // Copies the container's settings, a copy of its layout and clones of its children.
    void copy(const KObject& other) override;
    // After the component part: version 1, the children, the layout.
    void Serialize(KArchive& archive) override;

protected:
    // Called after a child was added and after one was removed.
    virtual void componentAdded(KComponent* component);
    virtual void componentRemoved(KComponent* component);

private:
    // The parts of the extents that no visible child painting every pixel of its own covers
    // (leaving out the children that are not printed, when printing).
    std::vector<CRect> uncoveredByChildren(bool printing) const;
    // The child on the way down to the descendant, or null.
    KComponent* childToward(const KComponent* descendant) const;
    void relayout(KComponent* component);
    void move(KComponent* component, int to);

    std::vector<KComponent*> children_;
    int grid_ = 10;
    int reserved_ = 0;
    KLayout* layout_;
    KHost* host_ = nullptr;

    static int containerCount_;
};
