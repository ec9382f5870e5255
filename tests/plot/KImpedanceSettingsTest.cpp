#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "plot/PlotTestSupport.h"

using namespace ktest;

namespace {

// The text of the exception that reading an option raises; empty when it reads.
std::string refusal(KImpedanceSettings& settings, const char* option, const char* text) {
    try {
        settings.readOption(option, text);
    } catch (const KException& e) {
        return e.getText().c_str();
    }
    return "";
}

std::string refusal(KImpedanceSettings::Field field, const char* text, const char* name) {
    try {
        KImpedanceSettings::readValue(field, text, name);
    } catch (const KException& e) {
        return e.getText().c_str();
    }
    return "";
}

}  // namespace

TEST(KImpedanceSettingsTest, OptionsSetK0AndAddZonesInOrder) {
    KImpedanceSettings s;
    EXPECT_EQ(std::string(s.describeK0().c_str()), "no k0");
    ASSERT_EQ(refusal(s, "--k0", "0.6686,-7.49"), "");
    ASSERT_EQ(refusal(s, "--mho", "19.35,82.87"), "");
    ASSERT_EQ(refusal(s, "--quad", "29,12,82.87"), "");
    ASSERT_EQ(refusal(s, "--mho", " 30 , 80 ,2"), "") << "blanks around the numbers";
    EXPECT_EQ(std::string(s.describeK0().c_str()), "k0 0.6686 at -7.49 deg");

    const std::vector<KImpedanceSettings::Zone> expected = {
        {true, {19.35, 82.87, 0}}, {false, {29, 12, 82.87}}, {true, {30, 80, 2}}};
    EXPECT_TRUE(s.getZones() == expected);

    std::vector<std::unique_ptr<KCharacteristic>> zones;
    for (KCharacteristic* z : s.makeZones()) zones.emplace_back(z);
    ASSERT_EQ(zones.size(), 3u);
    EXPECT_EQ(std::string(zones[1]->getName().c_str()), "Zone 2");
    EXPECT_EQ(std::string(zones[0]->describe().c_str()), "mho 19.35 ohm at 82.87 deg");
    EXPECT_EQ(std::string(zones[1]->describe().c_str()), "quad X 29 ohm, R 12 ohm at 82.87 deg");
    EXPECT_EQ(std::string(zones[2]->describe().c_str()), "mho 30 ohm at 80 deg, offset 2 ohm");

    KImpedanceTransform transform;
    s.apply(transform);
    double magnitude, degrees;
    transform.getResidualFactor(magnitude, degrees);
    EXPECT_DOUBLE_EQ(magnitude, 0.6686);
    EXPECT_DOUBLE_EQ(degrees, -7.49);
}

TEST(KImpedanceSettingsTest, RefusedOptionsNameTheOptionAndTheValueAndChangeNothing) {
    KImpedanceSettings s;
    ASSERT_EQ(refusal(s, "--k0", "0.5,10"), "");
    ASSERT_EQ(refusal(s, "--mho", "10,75"), "");
    const KImpedanceSettings before = s;
    struct Case {
        const char* option;
        const char* text;
        const char* message;
    };
    const Case cases[] = {
        {"--k0", "0.6", "--k0 needs the magnitude and angle of k0: MAG,ANGLE, not '0.6'"},
        {"--k0", "0.6,1,2", "--k0 needs the magnitude and angle of k0: MAG,ANGLE, not '0.6,1,2'"},
        {"--k0", "-1,0", "--k0 needs a magnitude of 0 or more, not '-1'"},
        {"--k0", "1,x", "--k0 needs the magnitude and angle of k0: MAG,ANGLE, not '1,x'"},
        {"--k0", "1,inf", "--k0 needs the magnitude and angle of k0: MAG,ANGLE, not '1,inf'"},
        {"--mho", "-4,75", "--mho needs a reach above 0 ohm, not '-4'"},
        {"--mho", "0,75", "--mho needs a reach above 0 ohm, not '0'"},
        {"--mho", "4,75,-1", "--mho needs an offset of 0 ohm or more, not '-1'"},
        {"--mho", "4", "--mho needs REACH,ANGLE[,OFFSET] in ohms and degrees, not '4'"},
        {"--mho", "4,75,,", "--mho needs REACH,ANGLE[,OFFSET] in ohms and degrees, not '4,75,,'"},
        {"--quad", "10,5,120", "--quad needs a line angle from 45 to 90 degrees, not '120'"},
        {"--quad", "10,5,44.9", "--quad needs a line angle from 45 to 90 degrees, not '44.9'"},
        {"--quad", "10,0,75", "--quad needs a resistive reach above 0 ohm, not '0'"},
        {"--quad", "10,5", "--quad needs X,R,ANGLE: reactive and resistive reach in ohms, line "
                           "angle in degrees, not '10,5'"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(refusal(s, c.option, c.text), c.message) << c.option << " " << c.text;
        EXPECT_TRUE(s == before) << c.option << " " << c.text;
    }
    // The edges of the ranges are taken.
    EXPECT_EQ(refusal(s, "--quad", "10,5,45"), "");
    EXPECT_EQ(refusal(s, "--quad", "10,5,90"), "");
    EXPECT_EQ(refusal(s, "--k0", "0,0"), "");
    EXPECT_EQ(std::string(s.describeK0().c_str()), "no k0");
}

TEST(KImpedanceSettingsTest, AFieldsValueIsReadFromTextOrRefusedByName) {
    EXPECT_DOUBLE_EQ(KImpedanceSettings::readValue(KImpedanceSettings::K0_ANGLE, " -7.49 ", "k0 angle"),
                     -7.49);
    EXPECT_EQ(refusal(KImpedanceSettings::K0_MAGNITUDE, "-0.5", "k0 magnitude"),
              "k0 magnitude needs a magnitude of 0 or more, not '-0.5'");
    EXPECT_EQ(refusal(KImpedanceSettings::MHO_REACH, "1O", "Zone 2 reach"),
              "Zone 2 reach needs a reach above 0 ohm, not '1O'");
    EXPECT_EQ(refusal(KImpedanceSettings::QUAD_LINE_ANGLE, "95", "Zone 1 line angle"),
              "Zone 1 line angle needs a line angle from 45 to 90 degrees, not '95'");
    EXPECT_EQ(refusal(KImpedanceSettings::MHO_ANGLE, "  ", "Zone 3 angle"),
              "Zone 3 angle needs an angle in degrees; it is empty");
    EXPECT_EQ(refusal(KImpedanceSettings::MHO_ANGLE, "nan", "Zone 3 angle"),
              "Zone 3 angle needs an angle in degrees, not 'nan'");
    // Values given as numbers are checked as well.
    KImpedanceSettings s;
    EXPECT_THROW(s.addZone({false, {10, 5, 30}}), KException);
    EXPECT_THROW(s.setResidualFactor(-1, 0), KException);
    EXPECT_TRUE(s.getZones().empty());
}

TEST(KImpedanceSettingsTest, TheStoredFormReadsBackAndDamageIsRefused) {
    KImpedanceSettings s;
    s.readOption("--k0", "0.6686,-7.49");
    s.readOption("--mho", "19.35,82.87,1.5");
    s.readOption("--quad", "29,12,82.87");
    KArchive out;
    out.writeObject(&s);
    KArchive in(out.getBuffer());
    std::unique_ptr<KObject> read(in.readObject(K_CLASS(KImpedanceSettings)));
    auto* back = k_dynamic_cast<KImpedanceSettings>(read.get());
    ASSERT_NE(back, nullptr);
    EXPECT_TRUE(*back == s);

    // A negative reach where the first zone's is stored: refused, not drawn.
    std::vector<std::uint8_t> bytes = out.getBuffer();
    KArchive reach;
    reach << 19.35;
    const std::vector<std::uint8_t>& pattern = reach.getBuffer();
    const auto at = std::search(bytes.begin(), bytes.end(), pattern.begin(), pattern.end());
    ASSERT_NE(at, bytes.end());
    KArchive negative;
    negative << -19.35;
    std::copy(negative.getBuffer().begin(), negative.getBuffer().end(), at);
    KArchive damaged(bytes);
    EXPECT_THROW(delete damaged.readObject(K_CLASS(KImpedanceSettings)), KException);
    // Cut short.
    bytes = out.getBuffer();
    bytes.resize(bytes.size() - 4);
    KArchive cut(bytes);
    EXPECT_THROW(delete cut.readObject(K_CLASS(KImpedanceSettings)), KException);
}
