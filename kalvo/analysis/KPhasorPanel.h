#pragma once

#include <cstdint>

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/ColorRef.h>
#include <kalvo/toolkit/KPanel.h>

class KStringArray;
class KTableExt;

// A phasor diagram of three phasors: arrows from the centre of a circle whose rim stands for
// the range, at their angles (counter-clockwise from the right, in degrees), each in its
// colour and named by its trace label. Under it, in "footer.table", a table of the three
// magnitudes and angles; above it, in "header", the title.
//
// Two switches add labels: degrees the angles around the rim, numbers each phasor's
// magnitude and angle beside its label. The D and N keys toggle them.
class KPhasorPanel : public KPanel {
    K_DECLARE_CLASS(KPhasorPanel);

public:
    static constexpr int PHASORS = 3;

    KPhasorPanel();

    // Builds the header, the footer with its table.
    void create();

    // The phasors, by index 0 to 2; other indexes are ignored (getters give NaN, 0 or empty).
    // Magnitudes are RMS values, phases degrees.
    double getMagnitude(int index) const;
    void setMagnitude(double magnitude, int index);
    void getMagnitude(double& a, double& b, double& c) const;
    void setMagnitude(double a, double b, double c);
    double getPhase(int index) const;
    void setPhase(double degrees, int index);
    void getPhase(double& a, double& b, double& c) const;
    void setPhase(double a, double b, double c);
    COLORREF getColor(int index) const;
    void setColor(COLORREF color, int index);
    void getColor(COLORREF& a, COLORREF& b, COLORREF& c) const;
    void setColor(COLORREF a, COLORREF b, COLORREF c);
    KString getTraceLabel(int index) const;
    void setTraceLabel(const KString& label, int index);
    void getTraceLabel(KString& a, KString& b, KString& c) const;
    void setTraceLabel(const KString& a, const KString& b, const KString& c);

    // The magnitude at the circle's rim. 0 stores 1.0, so that the circle always has a rim;
    // a value that is not finite is ignored.
    void setRange(double range);
    double getRange() const { return range_; }
    void setDegreesEnabled(bool on) { degrees_ = on; }
    bool isDegreesEnabled() const { return degrees_; }
    void setNumbersEnabled(bool on) { numbers_ = on; }
    bool isNumbersEnabled() const { return numbers_; }
    void toggleDegrees() { degrees_ = !degrees_; }
    void toggleNumbers() { numbers_ = !numbers_; }
    void enableManualPrecision(bool on) { manualPrecision_ = on; }
    bool isManualPrecision() const { return manualPrecision_; }
    // 0 to 15 decimals; others are ignored.
    void setManualPrecision(int digits);
    int getManualPrecision() const { return precision_; }

    KString getTitle() const;
    void setTitle(const char* title);
    KTableExt* getTable() const;
    // "Mag (RMS)" and "Phase".
    void getTableColumnTitles(KStringArray& titles) const;
    // Brings the table (and the title) up to date with the phasors, and repaints.
    void updatePhasorLabels();

    // Where the circle is drawn: its bounding square, in own coordinates.
    CRect getCircleRect() const;
    // The tip of a phasor's arrow; the centre for one not shown.
    CPoint getArrowTip(int index) const;

    CSize getMinimumSize() const override;
    void doLayout() override;
    void paint(KGraphics& graphics) override;
    void processKeyEvent(KEvent& event) override;
    // "PHASOR.DEGREES" and "PHASOR.NUMBERS" toggle the switches.
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the panel part: version 1; the three phasors (magnitude, phase, colour, label),
    // the range, the switches, the precision.
    void Serialize(KArchive& archive) override;

private:
    bool isShown(int index) const;
    CRect diagramRect() const;

    double magnitude_[PHASORS];
    double phase_[PHASORS];
    COLORREF color_[PHASORS];
    KString label_[PHASORS];
    double range_ = 1.0;
    bool degrees_ = true;
    bool numbers_ = false;
    bool manualPrecision_ = false;
    std::int32_t precision_ = 3;
};
