#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "plot/PlotTestSupport.h"

using namespace ktest;

namespace {

// The apparent impedance of a loop of a line fault, with the line's k0.
std::shared_ptr<KRecord> impedanceOf(KRecord& fault, int loop) {
    KImpedanceTransform transform;
    transform.setLoop(loop);
    transform.setResidualFactor(0.6686, -7.49);
    auto out = std::make_shared<KRecord>();
    EXPECT_TRUE(transform.transform(&fault, *out, 0, fault.getSampleCount(), false, false));
    return out;
}

// Zone 1 at 80 % of the line (Z1 = 3 + j24 ohm, 24.19 ohm at 82.87 degrees), zone 2 a
// quadrilateral at 120 %.
void addZones(KImpedancePanel& plane) {
    auto* one = new KMhoCharacteristic(19.35, 82.87);
    one->setName("Zone 1");
    plane.addCharacteristic(one);
    auto* two = new KQuadCharacteristic(1.2 * 24, 12, 82.87);
    two->setName("Zone 2");
    plane.addCharacteristic(two);
}

std::multiset<std::string> textsOf(const CRecordingDC& dc) {
    std::multiset<std::string> texts;
    for (const auto* e : calls(dc, CDC::Call::DrawText)) texts.insert(e->text);
    for (const auto* e : calls(dc, CDC::Call::TextOut)) texts.insert(e->text);
    return texts;
}

}  // namespace

TEST(KImpedancePanelTest, AFaultOnTheLineEntersItsZonesAndOneBehindTheRelayStaysOut) {
    KRecord forward = readLineFault("AG-60");
    KCanvas canvas(900, 600);
    auto* plane = plotOn<KImpedancePanel>(canvas);
    addZones(*plane);
    KPlotCurve* locus = plane->addLocus(impedanceOf(forward, KImpedanceTransform::AG), "AG");
    ASSERT_NE(locus, nullptr);
    EXPECT_TRUE(plane->isEqualScaling()) << "ohms against ohms";
    EXPECT_TRUE(plane->isTimeColoring());
    EXPECT_STREQ(plane->getXTitle().c_str(), "R (\xCE\xA9)");
    // In within the first cycle of the fault, the wider zone first, and at a point of it.
    double t1, r1, x1, t2, r2, x2;
    ASSERT_TRUE(plane->findEntry(locus, 0, t1, r1, x1));
    ASSERT_TRUE(plane->findEntry(locus, 1, t2, r2, x2));
    EXPECT_GT(t1, 0);
    EXPECT_LT(t1, 0.02);
    EXPECT_LT(t2, t1);
    EXPECT_TRUE(plane->getCharacteristic(0)->contains(r1, x1));
    // Not from within an aperture that starts in the fault: then it is in from its start.
    plane->setTimeAperture(0.03, 0.1);
    ASSERT_TRUE(plane->findEntry(locus, 0, t1, r1, x1));
    EXPECT_NEAR(t1, 0.03, 0.00026) << "the first sample of the aperture";
    plane->setTimeAperture(-0.05, -0.01);
    EXPECT_FALSE(plane->findEntry(locus, 0, t1, r1, x1)) << "the load is far out";
    plane->setTimeAperture(NAN, NAN);

    // The zones around the fault, not the load, fill the view.
    ASSERT_TRUE(plane->resetZoom());
    EXPECT_TRUE(plane->getXRange().contains(1.8) && plane->getYRange().contains(14.4));
    EXPECT_TRUE(plane->getYRange().contains(28.8) && plane->getYRange().contains(-2));
    EXPECT_LT(plane->getYRange().getMaximum(), 100)
        << "the load, some 300 ohm out, comes in from the edge";

    // The report beside the plane, and the marks where the locus came in.
    auto dc = recordPaint(*plane, CSize(900, 600));
    std::multiset<std::string> texts = textsOf(*dc);
    EXPECT_EQ(texts.count("Zone 1"), 2u) << "on the plane and in the report";
    EXPECT_EQ(texts.count("mho 19.35 ohm at 82.87 deg"), 1u);
    bool entered = false;
    for (const std::string& t : texts) entered = entered || t.rfind("in at ", 0) == 0;
    EXPECT_TRUE(entered);

    // The fault behind the relay: the locus goes the other way and enters neither zone.
    KRecord reverse = readLineFault("AG-reverse");
    KCanvas other(900, 600);
    auto* behind = plotOn<KImpedancePanel>(other);
    addZones(*behind);
    KPlotCurve* away = behind->addLocus(impedanceOf(reverse, KImpedanceTransform::AG), "AG");
    EXPECT_FALSE(behind->findEntry(away, 0, t1, r1, x1));
    EXPECT_FALSE(behind->findEntry(away, 1, t1, r1, x1));
    dc = recordPaint(*behind, CSize(900, 600));
    texts = textsOf(*dc);
    EXPECT_EQ(texts.count("not entered"), 2u);
    // Hiding the zones takes them, their marks and their report away.
    KComponent::setFocus(behind);
    other.keyPress('Z');
    EXPECT_FALSE(behind->isZonesVisible());
    dc = recordPaint(*behind, CSize(900, 600));
    EXPECT_EQ(textsOf(*dc).count("not entered"), 0u);
}

TEST(KImpedancePanelTest, SeveralLociAreReportedByName) {
    KRecord fault = readLineFault("BC-60");
    KCanvas canvas(900, 600);
    auto* plane = plotOn<KImpedancePanel>(canvas);
    addZones(*plane);
    plane->addLocus(impedanceOf(fault, KImpedanceTransform::BC), "BC");
    plane->addLocus(impedanceOf(fault, KImpedanceTransform::AB), "AB");
    auto dc = recordPaint(*plane, CSize(900, 600));
    const std::multiset<std::string> texts = textsOf(*dc);
    EXPECT_EQ(texts.count("AB: not entered"), 2u);
    bool bc = false;
    for (const std::string& t : texts) bc = bc || t.rfind("BC: in at ", 0) == 0;
    EXPECT_TRUE(bc);
    EXPECT_GE(
        plane->getRightMarginNeeded(),
        KGraphics::measureText(KGraphAxis::getAxisFont(), "quad X 28.8 ohm, R 12 ohm at 82.87 deg")
            .cx);
}
