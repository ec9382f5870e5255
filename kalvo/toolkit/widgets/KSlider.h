#pragma once

#include <cstdint>

#include <kalvo/toolkit/KComponent.h>

// A scroll slider: a track standing for the limits (minimum to maximum) with a thumb that
// spans the aperture (the part in view), and a step button at each end. Dragging the thumb
// pans the aperture; with a dynamic aperture the thumb's two ends can be dragged as well,
// which widens or narrows it (the cursor shows "HORZ_APERTURE" or "VERT_APERTURE" over an
// end). A press on the track pages toward the press, a press on a step button steps, and
// both repeat while the button is held. Arrow keys step, Page Up and Page Down page, Home
// and End go to the limits, the wheel steps. A press does not take the focus from the view
// that the slider serves: keys reach the slider when the program gives it the focus.
//
// Every change the user makes is told to the listeners at once as the action "slider.change"
// (so that a view can follow a drag), and the end of a drag or press as "slider.end"; a key
// or a turn of the wheel is a whole move, told as both. Changes made through the setters are
// not told.
class KSlider : public KComponent {
    K_DECLARE_CLASS(KSlider);

public:
    explicit KSlider(const char* name = nullptr, bool vertical = false);
    ~KSlider() override;

    bool isVertical() const { return vertical_; }
    void setVertical(bool vertical) { vertical_ = vertical; }

    // The whole extent the slider stands for. Non-finite or reversed limits are ignored;
    // equal ones are accepted (the thumb then fills the track). The aperture is pulled
    // inside the new limits.
    void setLimits(double minimum, double maximum);
    void getLimits(double& minimum, double& maximum) const;
    // The part in view, kept inside the limits: an aperture wider than the limits becomes
    // the limits, one that sticks out is moved in, keeping its width. Non-finite values
    // and low > high are ignored.
    void setAperture(double low, double high);
    void getAperture(double& low, double& high) const;
    // The narrowest aperture that dragging an end can make; negative values are ignored.
    void setMinAperture(double width);
    double getMinAperture() const { return minAperture_; }
    void setDynamicAperture(bool dynamic) { dynamic_ = dynamic; }
    bool isDynamicAperture() const { return dynamic_; }
    // A step is a tenth of the aperture, or a hundredth at low speed; a page is the
    // aperture. An aperture without width steps and pages by a tenth of the limits.
    void setLowSpeed(bool low) { lowSpeed_ = low; }
    bool isLowSpeed() const { return lowSpeed_; }

    // The user's moves, as the keys and buttons make them: by steps and pages (negative
    // toward the minimum), and to one end. Each tells the listeners "slider.change".
    void step(int count);
    void page(int count);
    void toMinimum();
    void toMaximum();

    // Pixel geometry along the slider's long side, in own coordinates: the track between
    // the two step buttons, and the thumb within it (at least a few pixels long).
    CRect getTrackRect() const;
    CRect getThumbRect() const;

    // One unit thick, along whatever length the parent gives.
    CSize getPreferredSize() const override;
    CSize getMinimumSize() const override;
    // Over the thumb's ends (dynamic aperture only) the aperture tooltip; else the own one.
    KString getTooltipText(CPoint point) const override;

    void paint(KGraphics& graphics) override;
    void mousePressed(KEvent& event) override;
    void mouseDragged(KEvent& event) override;
    void mouseReleased(KEvent& event) override;
    void mouseMoved(KEvent& event) override;
    void mouseWheel(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the component part: version 1, orientation, limits, aperture, minimum
    // aperture, dynamic aperture, low speed.
    void Serialize(KArchive& archive) override;

private:
    enum Part { NONE, STEP_DOWN, STEP_UP, PAGE_DOWN, PAGE_UP, THUMB, LOW_END, HIGH_END };

    Part partAt(CPoint point) const;
    // The slider's long side: the coordinate of a point along it, and the rectangle across
    // the whole thickness between two coordinates along it.
    int along(CPoint point) const;
    CRect span(int from, int to) const;
    // The length of each step button.
    int buttonLength() const;
    // The action of a held button or track part, run at the press and again while it
    // repeats, as long as the pointer stays on the part.
    void act(Part part);
    // Shows the aperture cursor over the thumb's ends, the arrow elsewhere.
    void updateCursor(Part part);
    // Moves the aperture by delta (keeping its width, stopping at the limits) and tells.
    void moveBy(double delta);
    void changed();
    void startRepeat(Part part);
    void stopRepeat();
    // Converts between values and pixel positions along the track.
    double toValue(int pixel) const;
    int toPixel(double value) const;

    bool vertical_;
    double minimum_ = 0.0;
    double maximum_ = 1.0;
    double low_ = 0.0;
    double high_ = 1.0;
    double minAperture_ = 0.0;
    bool dynamic_ = false;
    bool lowSpeed_ = false;

    // The press under way.
    Part pressed_ = NONE;
    int pressPixel_ = 0;
    double pressLow_ = 0.0;
    double pressHigh_ = 0.0;
    unsigned repeatTimer_ = 0;
    KHost* repeatHost_ = nullptr;
    // Where the pointer is while a button is held, along the slider.
    CPoint pointer_;
    bool apertureCursor_ = false;
};
