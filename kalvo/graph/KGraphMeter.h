#pragma once

#include <array>
#include <vector>

#include <kalvo/toolkit/KPanel.h>

class KCurve;

// The read-out of a graph's markers: a row per curve with its colour and name, its value at marker X,
// at marker O and the difference O - X (status curves show their state words instead). The
// graph hands it the curves and the marker positions whenever either changes.
class KGraphMeter : public KPanel {
    K_DECLARE_CLASS(KGraphMeter);

public:
    KGraphMeter();

    void setCurveList(const std::vector<KCurve*>& curves);
    void setMarkerPositions(double x, double o);
    void getMarkerPositions(double& x, double& o) const;
    // The texts of a row: value at X, value at O, difference; the header row for -1.
    void getRowTexts(int row, KString& atX, KString& atO, KString& difference) const;
    int getRowCount() const { return static_cast<int>(curves_.size()); }

    CSize getPreferredSize() const override;
    CSize getMinimumSize() const override;
    void paint(KGraphics& graphics) override;

    void copy(const KObject& other) override;

private:
    // The texts of the header row and of every curve's row, in that order.
    std::vector<std::array<KString, 3>> allRowTexts() const;
    static int columnWidth(const std::vector<std::array<KString, 3>>& rows);
    int nameWidth() const;

    std::vector<KCurve*> curves_;
    double markerX_;
    double markerO_;
};
