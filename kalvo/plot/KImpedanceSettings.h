#pragma once

#include <vector>

#include <kalvo/foundation/KObject.h>
#include <kalvo/foundation/KString.h>

class KCharacteristic;
class KImpedanceTransform;

// What a distance relay is set to, as the impedance plane shows it: the residual compensation
// factor k0 of its ground loops and its zones (mho circles and quadrilaterals), in the ohms of
// the record. Every value is checked as it is set, against what its field takes; a refused
// value raises KException titled "Impedance Settings" with a sentence naming the field (or
// option) and the value as given.
class KImpedanceSettings : public KObject {
    K_DECLARE_CLASS(KImpedanceSettings);

public:
    // The values, each with the range it takes.
    enum Field {
        K0_MAGNITUDE,          // 0 or more
        K0_ANGLE,              // degrees
        MHO_REACH,             // above 0 ohm
        MHO_ANGLE,             // degrees
        MHO_OFFSET,            // 0 ohm or more
        QUAD_REACH,            // reactive reach, above 0 ohm
        QUAD_RESISTIVE_REACH,  // above 0 ohm
        QUAD_LINE_ANGLE,       // 45 to 90 degrees
    };
    // A zone: mho (reach, angle, offset) or quadrilateral (reactive reach, resistive reach,
    // line angle).
    struct Zone {
        bool mho;
        double values[3];
        bool operator==(const Zone& other) const;
    };

    KImpedanceSettings() = default;

    void setResidualFactor(double magnitude, double degrees);
    double getK0Magnitude() const { return k0Magnitude_; }
    double getK0Degrees() const { return k0Degrees_; }
    void addZone(const Zone& zone);
    const std::vector<Zone>& getZones() const { return zones_; }
    void removeAllZones() { zones_.clear(); }
    bool operator==(const KImpedanceSettings& other) const;

    // The field of value 0, 1 or 2 of a zone of that kind.
    static Field getZoneField(bool mho, int value);
    // What the field takes, as the messages say it: "a reach above 0 ohm".
    static const char* describeField(Field field);
    static bool accepts(Field field, double value);
    // The value of the field written in text (blanks around it allowed); raises
    // "<name> needs <what the field takes>, not '<text>'".
    static double readValue(Field field, const char* text, const char* name);

    // Whether the option is one of the settings' own: --k0 MAG,ANGLE,
    // --mho REACH,ANGLE[,OFFSET] or --quad X,R,ANGLE.
    static bool isOption(const char* option);
    // Takes an option's value: --k0 sets k0, --mho and --quad add a zone.
    void readOption(const char* option, const char* text);

    // Gives a transform the settings' k0.
    void apply(KImpedanceTransform& transform) const;
    // The zones as characteristics, "Zone 1", "Zone 2"... in order; the caller takes them.
    std::vector<KCharacteristic*> makeZones() const;
    // "k0 0.6686 at -7.49 deg", or "no k0" for a magnitude of 0.
    KString describeK0() const;

    void copy(const KObject& other) override;
    // Version 1: k0 magnitude and angle; the zones: a count, then for each its kind (1 mho,
    // 0 quadrilateral) and its three values.
    void Serialize(KArchive& archive) override;

private:
    double k0Magnitude_ = 0.0;
    double k0Degrees_ = 0.0;
    std::vector<Zone> zones_;
};
