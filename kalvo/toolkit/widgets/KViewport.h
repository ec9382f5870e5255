#pragma once

#include <memory>

#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KImageContext.h>

// The window of a scroll pane onto its view: a container with the view as its only child,
// placed at minus the scroll position, and clipped to the viewport. With buffering on,
// the view is painted into an off-screen image first and copied in one go; only on raster
// devices drawn on screen (not when printing or drawing a picture: metafiles, recordings,
// SVG, PDF and images, which are off the screen already).
class KViewport : public KContainer {
    K_DECLARE_CLASS(KViewport);

public:
    explicit KViewport(const char* name = "viewport");

    // Takes the view (the previous one is removed and deleted); null leaves it empty.
    void setView(KComponent* view);
    KComponent* getView() const { return getComponent(0); }
    // The view's point shown at the viewport's top-left; kept within the view (never
    // below 0, never past the view's size less the viewport's).
    void setViewPosition(CPoint position);
    CPoint getViewPosition() const { return position_; }
    void setBuffered(bool buffered) { buffered_ = buffered; }
    bool isBuffered() const { return buffered_; }

    // Places the view at minus the view position, keeping the size it was given.
    void doLayout() override;
    void paintAll(KGraphics& graphics) override;

    void copy(const KObject& other) override;
    // After the container part: version 1, view position, buffering.
    void Serialize(KArchive& archive) override;

private:
    // The position kept within the view.
    CPoint clamped(CPoint position) const;

    CPoint position_;
    bool buffered_ = false;
    // The buffer of the last paint, used again while the painted area stays the same.
    std::unique_ptr<KImageContext> buffer_;
};
