#include <kalvo/plot/KImpedanceSettings.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/plot/KMhoCharacteristic.h>
#include <kalvo/plot/KQuadCharacteristic.h>
#include <kalvo/record/KImpedanceTransform.h>

K_IMPLEMENT_CLASS(KImpedanceSettings, KObject, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr const char* TITLE = "Impedance Settings";

// A number written alone in text, blanks around it allowed; false for anything else.
bool parseNumber(const std::string& text, double& value) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return false;
    const std::string trimmed = text.substr(first, text.find_last_not_of(" \t") - first + 1);
    char* end = nullptr;
    value = std::strtod(trimmed.c_str(), &end);
    return *end == '\0' && std::isfinite(value);
}

}  // namespace

bool KImpedanceSettings::Zone::operator==(const Zone& other) const {
    return mho == other.mho && values[0] == other.values[0] && values[1] == other.values[1] &&
           values[2] == other.values[2];
}

bool KImpedanceSettings::operator==(const KImpedanceSettings& other) const {
    return k0Magnitude_ == other.k0Magnitude_ && k0Degrees_ == other.k0Degrees_ &&
           zones_ == other.zones_;
}

void KImpedanceSettings::setResidualFactor(double magnitude, double degrees) {
    if (!accepts(K0_MAGNITUDE, magnitude))
        KException::raise(TITLE, "k0 needs %s, not %g", describeField(K0_MAGNITUDE), magnitude);
    if (!accepts(K0_ANGLE, degrees))
        KException::raise(TITLE, "k0 needs %s, not %g", describeField(K0_ANGLE), degrees);
    k0Magnitude_ = magnitude;
    k0Degrees_ = degrees;
}

void KImpedanceSettings::addZone(const Zone& zone) {
    for (int v = 0; v < 3; ++v) {
        const Field field = getZoneField(zone.mho, v);
        if (!accepts(field, zone.values[v]))
            KException::raise(TITLE, "a %s zone needs %s, not %g", zone.mho ? "mho" : "quad",
                              describeField(field), zone.values[v]);
    }
    zones_.push_back(zone);
}

KImpedanceSettings::Field KImpedanceSettings::getZoneField(bool mho, int value) {
    return static_cast<Field>((mho ? MHO_REACH : QUAD_REACH) + value);
}

const char* KImpedanceSettings::describeField(Field field) {
    switch (field) {
        case K0_MAGNITUDE:
            return "a magnitude of 0 or more";
        case MHO_REACH:
            return "a reach above 0 ohm";
        case MHO_OFFSET:
            return "an offset of 0 ohm or more";
        case QUAD_REACH:
            return "a reactive reach above 0 ohm";
        case QUAD_RESISTIVE_REACH:
            return "a resistive reach above 0 ohm";
        case QUAD_LINE_ANGLE:
            return "a line angle from 45 to 90 degrees";
        case K0_ANGLE:
        case MHO_ANGLE:
            break;
    }
    return "an angle in degrees";
}

bool KImpedanceSettings::accepts(Field field, double value) {
    if (!std::isfinite(value)) return false;
    switch (field) {
        case K0_MAGNITUDE:
        case MHO_OFFSET:
            return value >= 0;
        case MHO_REACH:
        case QUAD_REACH:
        case QUAD_RESISTIVE_REACH:
            return value > 0;
        case QUAD_LINE_ANGLE:
            return value >= 45 && value <= 90;
        case K0_ANGLE:
        case MHO_ANGLE:
            break;
    }
    return true;
}

double KImpedanceSettings::readValue(Field field, const char* text, const char* name) {
    double value = 0;
    if (text == nullptr || text[strspn(text, " \t")] == '\0')
        KException::raise(TITLE, "%s needs %s; it is empty", name, describeField(field));
    if (!parseNumber(text, value) || !accepts(field, value))
        KException::raise(TITLE, "%s needs %s, not '%s'", name, describeField(field), text);
    return value;
}

bool KImpedanceSettings::isOption(const char* option) {
    return std::strcmp(option, "--k0") == 0 || std::strcmp(option, "--mho") == 0 ||
           std::strcmp(option, "--quad") == 0;
}

void KImpedanceSettings::readOption(const char* option, const char* text) {
    const bool k0 = std::strcmp(option, "--k0") == 0;
    const bool mho = std::strcmp(option, "--mho") == 0;
    const char* form = k0    ? "the magnitude and angle of k0: MAG,ANGLE"
                       : mho ? "REACH,ANGLE[,OFFSET] in ohms and degrees"
                             : "X,R,ANGLE: reactive and resistive reach in ohms, line angle in degrees";
    const size_t least = mho ? 2 : k0 ? 2 : 3, most = k0 ? 2 : 3;
    // The comma-separated numbers, each checked against its field.
    std::vector<double> values;
    const std::string list = text;
    size_t start = 0;
    for (;;) {
        const size_t comma = list.find(',', start);
        const std::string item =
            list.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        double v = 0;
        if (!parseNumber(item, v) || values.size() == most)
            KException::raise(TITLE, "%s needs %s, not '%s'", option, form, text);
        const Field field = k0 ? static_cast<Field>(K0_MAGNITUDE + values.size())
                               : getZoneField(mho, static_cast<int>(values.size()));
        if (!accepts(field, v))
            KException::raise(TITLE, "%s needs %s, not '%s'", option, describeField(field),
                              item.c_str());
        values.push_back(v);
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (values.size() < least) KException::raise(TITLE, "%s needs %s, not '%s'", option, form, text);
    if (k0) {
        setResidualFactor(values[0], values[1]);
    } else {
        addZone({mho, {values[0], values[1], values.size() > 2 ? values[2] : 0.0}});
    }
}

void KImpedanceSettings::apply(KImpedanceTransform& transform) const {
    transform.setResidualFactor(k0Magnitude_, k0Degrees_);
}

std::vector<KCharacteristic*> KImpedanceSettings::makeZones() const {
    std::vector<KCharacteristic*> made;
    for (const Zone& z : zones_) {
        KCharacteristic* zone =
            z.mho ? static_cast<KCharacteristic*>(
                        new KMhoCharacteristic(z.values[0], z.values[1], z.values[2]))
                  : new KQuadCharacteristic(z.values[0], z.values[1], z.values[2]);
        KString name;
        name.format("Zone %d", static_cast<int>(made.size()) + 1);
        zone->setName(name.c_str());
        made.push_back(zone);
    }
    return made;
}

KString KImpedanceSettings::describeK0() const {
    KString text;
    if (k0Magnitude_ == 0.0) return text = "no k0";
    return text.format("k0 %.4g at %.4g deg", k0Magnitude_, k0Degrees_);
}

void KImpedanceSettings::copy(const KObject& other) {
    if (const auto* s = k_dynamic_cast<KImpedanceSettings>(const_cast<KObject*>(&other)))
        *this = *s;
}

void KImpedanceSettings::Serialize(KArchive& ar) {
    if (ar.isStoring()) {
        ar << STORED_VERSION << k0Magnitude_ << k0Degrees_;
        ar.writeCount(static_cast<std::uint32_t>(zones_.size()));
        for (const Zone& z : zones_) {
            ar << static_cast<std::int32_t>(z.mho ? 1 : 0) << z.values[0] << z.values[1]
               << z.values[2];
        }
        return;
    }
    if (ar.readVersion(STORED_VERSION, "impedance settings") < 1) return;
    double magnitude = 0, degrees = 0;
    ar >> magnitude >> degrees;
    KImpedanceSettings read;
    read.setResidualFactor(magnitude, degrees);
    const std::uint32_t count = ar.readCount();
    for (std::uint32_t i = 0; i < count; ++i) {
        std::int32_t mho = 0;
        Zone zone{};
        ar >> mho >> zone.values[0] >> zone.values[1] >> zone.values[2];
        zone.mho = mho != 0;
        read.addZone(zone);
    }
    *this = read;
}
