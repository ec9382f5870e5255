#pragma once

#include <kalvo/toolkit/KComponent.h>

// A number with two step buttons: the value in a box on the left, an up and a down arrow
// stacked on the right. A press on an arrow steps the value (and repeats while held), the
// wheel and the Up and Down keys step, Page Up and Page Down step ten times, Home and End go
// to the range's ends (keys once the program gives the control the focus: a press leaves the
// focus where it is). The value shows as an engineering label with the significant digits
// asked for ("1.25K", "-0.04"), or with units the prefix joins them after a blank ("1.25 KV",
// "230 V").
//
// Every change the user makes is told to the listeners at once as the action "spin.change".
// Changes made through the setters are not told.
class KSpinControl : public KComponent {
    K_DECLARE_CLASS(KSpinControl);

public:
    explicit KSpinControl(const char* name = nullptr);
    ~KSpinControl() override;

    // Non-finite or reversed ends are ignored; the value is pulled into the new range.
    void setRange(double low, double high);
    void getRange(double& low, double& high) const;
    // Pulled into the range; a non-finite value is ignored.
    void setValue(double value);
    double getValue() const { return value_; }
    // The step of one press; 0 (the default) or less means a hundredth of the range.
    void setStep(double step) { step_ = step; }
    double getStep() const;
    // Significant digits of the shown value, 1 to 15; others are ignored.
    void setDigits(int digits);
    int getDigits() const { return digits_; }
    void setUnits(const char* units) { units_ = units; }
    const KString& getUnits() const { return units_; }
    // The text the box shows.
    KString getText() const;

    // The user's move by count steps (negative: down), as the arrows make it; tells the
    // listeners "spin.change" when the value changed.
    void spin(int count);

    // The box and the two arrows, in own coordinates.
    CRect getTextRect() const;
    CRect getUpRect() const;
    CRect getDownRect() const;

    CSize getPreferredSize() const override;
    CSize getMinimumSize() const override;
    void paint(KGraphics& graphics) override;
    // A dotted frame inside the box.
    void drawFocus(KGraphics& graphics) override;
    void mousePressed(KEvent& event) override;
    // A held arrow shows pressed, and repeats, only while the pointer is on it.
    void mouseDragged(KEvent& event) override;
    void mouseReleased(KEvent& event) override;
    void mouseWheel(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the component part: version 1, range, value, step, digits, units.
    void Serialize(KArchive& archive) override;

private:
    void stopRepeat();
    // The held arrow's step, when the pointer is on it.
    void act();
    // The arrow (+1 up, -1 down) at the point; 0 elsewhere.
    int arrowAt(CPoint point) const;
    // The width of the arrows' column.
    int buttonWidth() const;
    // The user's change of the value: repaints and tells.
    void change(double value);

    double low_ = 0.0;
    double high_ = 1.0;
    double value_ = 0.0;
    double step_ = 0.0;
    int digits_ = 3;
    KString units_;
    int pressed_ = 0;  // +1 up, -1 down, 0 none
    unsigned repeatTimer_ = 0;
    KHost* repeatHost_ = nullptr;
    CPoint pointer_;  // while an arrow is held
};
