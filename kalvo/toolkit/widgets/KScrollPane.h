#pragma once

#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/widgets/KSlider.h>
#include <kalvo/toolkit/widgets/KViewport.h>

// A view larger than its place, shown through a viewport with scroll sliders: "viewport"
// (a KViewport holding the view), "vscroll" on the right and "hscroll" at the bottom, each
// shown only when the view does not fit.
//
// Tracking fits the view to the viewport along one direction: with horizontal tracking the
// view is exactly as wide as the viewport; with vertical tracking it is as tall as the
// viewport, but never less than its minimum height (then the vertical slider appears and
// scrolls it). Without tracking the view keeps its preferred size along that direction.
// With horizontal scrolling off the view never scrolls sideways (no "hscroll").
//
// The wheel over the pane (where the view does not take it) scrolls by three units, sideways
// with Shift held; Page Up and Page Down scroll by the viewport's height. A view that posts
// the action "layout.change" (its size needs changed) is laid out again.
class KScrollPane : public KContainer {
    K_DECLARE_CLASS(KScrollPane);

public:
    explicit KScrollPane(const char* name = nullptr);

    // Takes the view over (the previous one is deleted).
    void setView(KComponent* view);
    KComponent* getView() const;
    KViewport* getViewport() const;
    KSlider* getVerticalSlider() const;
    KSlider* getHorizontalSlider() const;

    void setHorizontalScrolling(bool on) { horizontalScrolling_ = on; }
    bool isHorizontalScrolling() const { return horizontalScrolling_; }
    void setHorizontalTracking(bool on) { horizontalTracking_ = on; }
    bool isHorizontalTracking() const { return horizontalTracking_; }
    void setVerticalTracking(bool on) { verticalTracking_ = on; }
    bool isVerticalTracking() const { return verticalTracking_; }
    void setViewBuffering(bool on);
    bool isViewBuffering() const;

    // Scrolls so that the view's point is at the viewport's top-left (kept in range), and
    // repaints.
    void scrollTo(CPoint position);
    CPoint getScrollPosition() const;
    // Scrolls as little as needed for the rectangle (view coordinates) to be in view.
    void scrollRectToVisible(CRect rect);

    // Sizes the view by the tracking rules, shows or hides the sliders, places the
    // viewport and the sliders, and sets the sliders' limits and apertures.
    void doLayout() override;
    CSize getMinimumSize() const override;
    CSize getPreferredSize() const override;
    void actionPerformed(KEvent& event) override;
    // "layout.change" from the view lays the pane out again.
    void onCommand(KEvent& event) override;
    void mouseWheel(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the container part: version 1, the three switches.
    void Serialize(KArchive& archive) override;

private:
    // Makes the viewport and the sliders that are missing (as after loading an archive that
    // lacks them) and listens to the sliders; raises when a part of that name is of another
    // class.
    void ensureParts();
    // The view's size for a viewport of the given size, by the tracking rules.
    CSize viewSizeFor(CSize viewport) const;
    // Sets the sliders from the view position.
    void updateSliders();

    bool horizontalScrolling_ = true;
    bool horizontalTracking_ = false;
    bool verticalTracking_ = false;
};
