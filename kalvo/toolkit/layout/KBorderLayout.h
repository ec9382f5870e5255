#pragma once

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/toolkit/layout/KLayout.h>

// Five regions of fixed thickness: North and South rows across the top and bottom between
// the West and East columns, the West and East columns between the North and South rows,
// and Center in the rest; the four corners stay empty. A region of thickness below 1 hides
// its component; sizes of the components never enter. Each region holds the component
// last added with its name ("North", "South", "West", "East" or "Center", exactly so),
// found again by its name when laid out.
class KBorderLayout : public KLayout {
    K_DECLARE_CLASS(KBorderLayout);

public:
    enum Region { NORTH, SOUTH, WEST, EAST, CENTER, REGIONS };

    KBorderLayout(int left = 0, int top = 0, int right = 0, int bottom = 0);

    // Negative values leave their thickness as it is.
    void setMargins(int left, int top, int right, int bottom);
    // The thicknesses as left, top, right, bottom.
    CRect getMargins() const { return CRect(left_, top_, right_, bottom_); }
    // The name of the component in the region; empty when none.
    const KString& getRegionName(Region region) const { return names_[region]; }
    // The region's constraint word.
    static const char* regionWord(Region region);

    // Raises "Adding component with invalid constraint value -> '%s'" for another word.
    void addLayoutComponent(KComponent* component, const char* constraint) override;
    CSize minimumLayoutSize(KContainer* container) override;
    CSize preferredLayoutSize(KContainer* container) override;
    void layoutContainer(KContainer* container) override;

    // After the gaps: left, top, right, bottom, then the names of North, South, West, East
    // and Center.
    void Serialize(KArchive& archive) override;
    void copy(const KObject& other) override;

private:
    int left_ = 0;
    int top_ = 0;
    int right_ = 0;
    int bottom_ = 0;
    KString names_[REGIONS];
};
