#pragma once

#include <kalvo/toolkit/KPanel.h>

class KLabel;
class KSpinControl;

// The play control of a plot frame: a play/pause button, the speed ("speed", a spin control
// in milliseconds of the record per second) and a read-out of the aperture ("time"). A press
// on the button tells the listeners "play.toggle"; a change of speed "play.speed". The
// control only shows the state the frame gives it.
class KPlayControl : public KPanel {
    K_DECLARE_CLASS(KPlayControl);

public:
    // Play speeds, in milliseconds of the record per second.
    static constexpr double SLOWEST = 1.0;
    static constexpr double FASTEST = 1000.0;

    KPlayControl();

    // Adds the speed control and the read-out.
    void create();
    KSpinControl* getSpeedControl() const;
    KLabel* getReadout() const;

    // What the button shows: pause while playing, play otherwise.
    void setPlaying(bool playing);
    bool isPlaying() const { return playing_; }
    // Pulled into SLOWEST..FASTEST.
    void setSpeed(double msPerSecond);
    double getSpeed() const;
    void setReadout(const char* text);

    // The button, in own coordinates.
    CRect getButtonRect() const;

    CSize getPreferredSize() const override;
    CSize getMinimumSize() const override;
    void doLayout() override;
    void paint(KGraphics& graphics) override;
    void mousePressed(KEvent& event) override;
    KString getTooltipText(CPoint point) const override;
    void actionPerformed(KEvent& event) override;

    void copy(const KObject& other) override;

private:
    bool playing_ = false;
};
