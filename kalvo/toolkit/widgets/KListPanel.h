#pragma once

#include <kalvo/toolkit/KPanel.h>

// A panel that stacks its visible children from top to bottom in child order, each as wide
// as the panel's client area. The height is shared out evenly, but no child gets less than
// its minimum height nor more than its maximum (room left over stays empty at the bottom); what the even share cannot give is taken from the panel's own height,
// so the panel's minimum height is the sum of the children's minimums and the gaps (a scroll
// pane around it then scrolls). Children are reordered with the container's toPrev, toNext,
// toHead and toTail (and laid out again with doLayout).
//
// Adding or removing a child, or a new gap, changes the height the panel needs: it posts the
// action "layout.change" to its ancestors, and a scroll pane around it lays out again.
class KListPanel : public KPanel {
    K_DECLARE_CLASS(KListPanel);

public:
    explicit KListPanel(const char* name = nullptr);

    // Pixels between two children; negative values are ignored.
    void setGap(int gap);
    int getGap() const { return gap_; }

    void doLayout() override;
    CSize getMinimumSize() const override;
    CSize getPreferredSize() const override;

    // The container's menu commands, and a new order laid out at once.
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the panel part: version 1, the gap.
    void Serialize(KArchive& archive) override;

protected:
    void componentAdded(KComponent* component) override;
    void componentRemoved(KComponent* component) override;

private:
    // The sum of the visible children's heights (minimum or preferred) and the gaps, and the
    // widest of their widths, insets included.
    CSize stackSize(bool preferred) const;

    int gap_ = 0;
};
