#pragma once

#include <kalvo/graph/KGraphPanel.h>

class KLabel;
class KSpinControl;

// The time graph of sampled quantities: every curve drawn as a waveform over the shared
// time range, in its colour, render style and width, with numbered glyphs along it on
// request; a value range that follows the data (or the auto-range extents, or is set by
// hand); the marker read-out "meter" under the legend; the offset control "spin", which
// shifts the active curve up and down; and the information line "info" over the plot.
class KGraphPanelAnalog : public KGraphPanel {
    K_DECLARE_CLASS(KGraphPanelAnalog);

public:
    // Whether the panel shows its own time axis under the plot, and whether it has a meter.
    explicit KGraphPanelAnalog(bool ownXAxis = false, bool meter = true);

    // The library-wide switch that asks before a pasted curve replaces those shown.
    static void setConfirmReplace(bool on);
    static bool isConfirmReplace();

    // Names the panel "analog" and adds the legend, "info", "spin" and "meter".
    void create() override;

    void setManualScaling(bool on) { manualScaling_ = on; }
    bool isManualScaling() const { return manualScaling_; }
    void setAutoRange(bool on) { autoRange_ = on; }
    bool isAutoRange() const { return autoRange_; }
    void setAutoRangeExtents(double lower, double upper);
    void getAutoRangeExtents(double& lower, double& upper) const;
    // A paste then goes in beside the curves there, without asking.
    void setDirectPaste(bool on) { directPaste_ = on; }
    bool isDirectPaste() const { return directPaste_; }
    // Whether the last paste came into an empty panel.
    bool wasEmptyOnPaste() const { return emptyOnPaste_; }

    // Sets one of the three texts of the "info" line (0 left, 1 centre, 2 right) in the
    // colour; an empty text clears it.
    void setExtendedText(int slot, const char* text, int alignment, int color);

    bool addCurve(KCurve* curve) override;
    // False with manual scaling; else the auto-range extents or the curves' extents.
    bool resetZoomY() override;
    KContainer* componentPasting(KComponent* component) override;
    void updateOffsetControl() override;

    void doLayout() override;
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the graph panel: version 1; own axis, manual scaling, auto range and its
    // extents, direct paste.
    void Serialize(KArchive& archive) override;

protected:
    void drawCurve(KGraphics& graphics, KCurve* curve, int index) override;
    void drawSegments(KGraphics& graphics, const KCurve* curve, int first, int last) override;
    void drawYAxis(KGraphics& graphics) override;
    // Glyphs stand at fixed columns of the plot.
    bool isPlotPannable() const override { return !getFlag(GLYPHS); }
    // The curve's glyph, with its number, along the curve.
    void drawGlyphs(KGraphics& graphics, KCurve* curve, int index);
    CRect layoutPlot() override;

private:
    KLabel* infoLabel(int slot) const;

    bool manualScaling_ = false;
    bool autoRange_ = false;
    double autoLower_ = 0.0;
    double autoUpper_ = 0.0;
    bool directPaste_ = false;
    bool emptyOnPaste_ = false;
    bool meterEnabled_;

    static bool confirmReplace_;
};
