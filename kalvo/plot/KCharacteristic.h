#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/foundation/KObject.h>
#include <kalvo/foundation/KString.h>
#include <kalvo/platform/ColorRef.h>

// A distance relay's operating characteristic on the impedance plane: the region of
// impedances R + jX (ohms) in which a zone operates. Each kind says which impedances lie in it
// (its boundary included) and gives its outline, which the impedance plane draws; the plane
// reports when a locus enters it.
class KCharacteristic : public KObject {
    K_DECLARE_CLASS(KCharacteristic);

public:
    struct Point {
        double r, x;
    };

    KCharacteristic();

    // What the zone is called on the plane and in reports ("Zone 1").
    void setName(const char* name) { name_ = name; }
    const KString& getName() const { return name_; }
    void setColor(COLORREF color) { color_ = color; }
    COLORREF getColor() const { return color_; }

    // Whether R + jX lies in the zone, its boundary included (to a millionth of its size).
    virtual bool contains(double r, double x) const = 0;
    // The outline, once round, as a closed polygon (the last point joins the first).
    virtual void getOutline(std::vector<Point>& outline) const = 0;
    // The settings in a few words, for legends and reports ("mho 8 ohm at 75 deg").
    virtual KString describe() const = 0;

    // Where a locus of impedances r + jx at times t first comes into the zone among samples
    // first..last (from outside it, or being in it at first): its index; -1 when it never is
    // in the zone. Samples that are not finite are passed over.
    int findEntry(const double* t, const double* r, const double* x, int first, int last) const;

    void copy(const KObject& other) override;
    // Version 1: name, colour.
    void Serialize(KArchive& archive) override;

private:
    KString name_;
    COLORREF color_ = 0;
};
