#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "plot/PlotTestSupport.h"

using namespace ktest;

namespace {

constexpr double PI = 3.14159265358979323846;

double radians(double degrees) {
    return degrees * PI / 180;
}

// A millionth outside, and a millionth inside, the point r + jx along the unit direction.
bool in(const KCharacteristic& zone, double r, double x) {
    return zone.contains(r, x);
}

}  // namespace

TEST(KCharacteristicTest, MhoMembershipAtItsBoundary) {
    KMhoCharacteristic mho(10, 75);
    const double a = radians(75);
    // The reach point and the origin lie on the circle; a step past either is outside.
    EXPECT_TRUE(in(mho, 10 * std::cos(a), 10 * std::sin(a)));
    EXPECT_FALSE(in(mho, 10.001 * std::cos(a), 10.001 * std::sin(a)));
    EXPECT_TRUE(in(mho, 0, 0));
    EXPECT_FALSE(in(mho, -0.001 * std::cos(a), -0.001 * std::sin(a)))
        << "directional: nothing behind";
    // Across the diameter, at the centre, the circle is 5 ohm to either side.
    const double cr = 5 * std::cos(a), cx = 5 * std::sin(a), pr = -std::sin(a), px = std::cos(a);
    EXPECT_TRUE(in(mho, cr + 5 * pr, cx + 5 * px));
    EXPECT_FALSE(in(mho, cr + 5.001 * pr, cx + 5.001 * px));
    EXPECT_TRUE(in(mho, cr - 4.999 * pr, cx - 4.999 * px));

    // An offset reaches back along the angle: the origin is then inside.
    KMhoCharacteristic offset(10, 75, 2);
    EXPECT_TRUE(in(offset, -2 * std::cos(a), -2 * std::sin(a)));
    EXPECT_FALSE(in(offset, -2.001 * std::cos(a), -2.001 * std::sin(a)));
    EXPECT_TRUE(in(offset, 0.01, 0));
    EXPECT_STREQ(offset.describe().c_str(), "mho 10 ohm at 75 deg, offset 2 ohm");

    // Settings that make no circle are ignored; the outline goes once round.
    mho.setReach(-3);
    mho.setOffset(-1);
    mho.setAngle(NAN);
    EXPECT_EQ(mho.getReach(), 10);
    EXPECT_EQ(mho.getOffset(), 0);
    EXPECT_EQ(mho.getAngle(), 75);
    std::vector<KCharacteristic::Point> outline;
    mho.getOutline(outline);
    ASSERT_GT(outline.size(), 90u);
    for (const auto& p : outline) EXPECT_NEAR(std::hypot(p.r - cr, p.x - cx), 5, 1e-9);
}

TEST(KCharacteristicTest, QuadrilateralMembershipAtItsBoundary) {
    // X 10 ohm, R 5 ohm at 75 degrees, directional lines 15 degrees from the axes.
    KQuadCharacteristic quad(10, 5, 75);
    std::vector<KCharacteristic::Point> corners;
    quad.getOutline(corners);
    ASSERT_EQ(corners.size(), 4u);
    EXPECT_NEAR(corners[0].r, 0, 1e-12);
    EXPECT_NEAR(corners[0].x, 0, 1e-12);
    for (const auto& c : corners) EXPECT_TRUE(in(quad, c.r, c.x)) << c.r << "," << c.x;
    // Top: the reactance line at 10 ohm.
    EXPECT_TRUE(in(quad, 1, 10));
    EXPECT_FALSE(in(quad, 1, 10.001));
    // Right: through 5 ohm on the R axis at the line angle.
    EXPECT_TRUE(in(quad, 5, 0));
    EXPECT_FALSE(in(quad, 5.001, 0));
    EXPECT_TRUE(in(quad, 5 + 8 * std::cos(radians(75)), 8 * std::sin(radians(75))));
    EXPECT_FALSE(in(quad, 5.001 + 8 * std::cos(radians(75)), 8 * std::sin(radians(75))));
    // Bottom: 15 degrees below the R axis; left: 15 degrees left of the X axis.
    EXPECT_TRUE(in(quad, 2, -2 * std::tan(radians(15))));
    EXPECT_FALSE(in(quad, 2, -2 * std::tan(radians(15)) - 0.001));
    EXPECT_TRUE(in(quad, -4 * std::tan(radians(15)), 4));
    EXPECT_FALSE(in(quad, -4 * std::tan(radians(15)) - 0.001, 4));
    EXPECT_FALSE(in(quad, -1, -1)) << "nothing behind the relay";
    // A tilted top comes down to the right.
    quad.setTilt(10);
    EXPECT_FALSE(in(quad, 4, 10 - 4 * std::tan(radians(10)) + 0.001));
    EXPECT_TRUE(in(quad, 4, 10 - 4 * std::tan(radians(10)) - 0.001));
    EXPECT_STREQ(quad.describe().c_str(), "quad X 10 ohm, R 5 ohm at 75 deg");
    quad.setLineAngle(120);
    quad.setDirectionalAngle(60);
    EXPECT_EQ(quad.getLineAngle(), 75);
    EXPECT_EQ(quad.getDirectionalAngle(), 15);
}

TEST(KCharacteristicTest, StoredZonesReadBackWhole) {
    KMhoCharacteristic mho(12.5, 80, 1.5);
    mho.setName("Zone 2");
    mho.setColor(RGB(1, 2, 3));
    const auto back = roundTrip<KMhoCharacteristic>(mho);
    EXPECT_STREQ(back->getName().c_str(), "Zone 2");
    EXPECT_EQ(back->getColor(), RGB(1, 2, 3));
    EXPECT_EQ(back->getReach(), 12.5);
    EXPECT_EQ(back->getAngle(), 80);
    EXPECT_EQ(back->getOffset(), 1.5);
    KQuadCharacteristic quad(20, 8, 70, -3, 20);
    const auto quadBack = roundTrip<KQuadCharacteristic>(quad);
    EXPECT_EQ(quadBack->getResistiveReach(), 8);
    EXPECT_EQ(quadBack->getTilt(), -3);
    EXPECT_EQ(quadBack->getDirectionalAngle(), 20);
    const std::vector<std::uint8_t> bytes = stored(quad);
    for (size_t n : {bytes.size() - 1, bytes.size() / 2, size_t{20}}) expectCutRaises(bytes, n);
}
