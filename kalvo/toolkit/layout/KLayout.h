#pragma once

#include <kalvo/foundation/KObject.h>
#include <kalvo/platform/CSize.h>

class KComponent;
class KContainer;

// Places the children of one container. The container hands every new child and its
// constraint text to the layout first (addLayoutComponent may reject it by raising), and
// asks it to place the children when it is laid out. This base class places nothing: it
// suits containers whose children keep the bounds they were given.
class KLayout : public KObject {
    K_DECLARE_CLASS(KLayout);

public:
    // How the editing machinery may drag children (getDragConstraint).
    static constexpr int DRAG_NONE = 0;   // children stay where the layout puts them
    static constexpr int DRAG_ORDER = 1;  // children move within the layout's order
    static constexpr int DRAG_FREE = 2;   // children are placed freely

    explicit KLayout(int hgap = 0, int vgap = 0);

    int getHorzGap() const { return hgap_; }
    void setHorzGap(int gap) { hgap_ = gap; }
    int getVertGap() const { return vgap_; }
    void setVertGap(int gap) { vgap_ = gap; }

    // Checks and records the child's constraint; raises KException to refuse the child.
    virtual void addLayoutComponent(KComponent* component, const char* constraint);
    // The base sizes: nothing but the insets for the minimum; for the preferred size, the
    // box from the client area's origin that holds every visible child's bounds.
    virtual CSize minimumLayoutSize(KContainer* container);
    virtual CSize preferredLayoutSize(KContainer* container);
    // Sets the bounds of the container's children.
    virtual void layoutContainer(KContainer* container);
    virtual int getDragConstraint() const;

    // The gaps: horizontal, then vertical, as 32-bit integers.
    void Serialize(KArchive& archive) override;
    void copy(const KObject& other) override;

private:
    int hgap_;
    int vgap_;
};
