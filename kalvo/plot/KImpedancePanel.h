#pragma once

#include <memory>
#include <vector>

#include <kalvo/plot/KPlotPanel.h>

class KCharacteristic;
class KRecord;

// The impedance plane of a distance relay: R against X in ohms (primary or secondary, as the
// record's values are), with equal scales, the loci of apparent impedances (as
// KImpedanceTransform makes them) coloured by time, and the relay's zones (mho circles,
// quadrilaterals) drawn under them. Where a locus enters a zone within the aperture the point
// is marked on the plane, and beside it each zone is listed with its settings and the time
// the locus came into it.
class KImpedancePanel : public KPlotPanel {
    K_DECLARE_CLASS(KImpedancePanel);

public:
    KImpedancePanel();
    ~KImpedancePanel() override;

    // Names the panel "impedance" and adds the legend.
    void create() override;

    // The locus of a record of R (trace 0) and X (trace 1), which the curve keeps alive.
    KPlotCurve* addLocus(std::shared_ptr<KRecord> impedance, const char* caption = nullptr);

    // Zones, which the panel takes over; one without a colour (black) takes the next of the
    // panel's zone colours.
    void addCharacteristic(KCharacteristic* zone);
    int getCharacteristicCount() const { return static_cast<int>(zones_.size()); }
    // Null outside 0..count-1.
    KCharacteristic* getCharacteristic(int i) const;
    void removeAllCharacteristics();
    void setZonesVisible(bool on) { zonesVisible_ = on; }
    bool isZonesVisible() const { return zonesVisible_; }

    // Where the pair's locus first comes into the zone within the aperture (from outside it,
    // or being in it from the aperture's start): the time and the impedance there. False when
    // it never is in the zone.
    bool findEntry(KPlotCurve* pair, int zone, double& time, double& r, double& x) const;

    // The origin, the zones and the part of the loci within twice the zones' size (without
    // zones, three times the loci's typical level: the impedance that a quarter of their
    // points are nearer than), with a margin: the far load points come in from the edge.
    bool resetZoom() override;
    // Room for the zones' report beside the plot.
    int getRightMarginNeeded() const override;

    void paint(KGraphics& graphics) override;
    void processKeyEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the plot: version 1; zones visible, the zones.
    void Serialize(KArchive& archive) override;

protected:
    // Why there is no impedance to show.
    KString getEmptyNote() const override;
    void drawUnderlay(KGraphics& graphics) override;
    void drawOverlay(KGraphics& graphics) override;

private:
    // One line of the zones' report.
    struct Line {
        bool bold;
        COLORREF color;
        int indent;
        KString text;
    };
    void getReport(std::vector<Line>& lines) const;
    void drawReport(KGraphics& graphics);

    std::vector<std::unique_ptr<KCharacteristic>> zones_;
    bool zonesVisible_ = true;
};
