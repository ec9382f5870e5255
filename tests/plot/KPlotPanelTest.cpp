#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "plot/PlotTestSupport.h"

using namespace ktest;

namespace {

constexpr double PI = 3.14159265358979323846;

// Two cycles of a cosine and a sine of amplitude 5 V, 64 samples a cycle.
std::unique_ptr<KRecord> circle(int n = 129) {
    std::vector<double> c(static_cast<size_t>(n)), s(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        c[i] = 5 * std::cos(2 * PI * i / 64);
        s[i] = 5 * std::sin(2 * PI * i / 64);
    }
    auto r = makeRecord(times(n), {c, s});
    r->setTraceName(0, "VX");
    r->setTraceName(1, "VY");
    r->getTrace(0)->setUnits("V");
    r->getTrace(1)->setUnits("V");
    return r;
}

double pixelsPerUnitX(const KPlotPanel& plot) {
    return plot.getPlotRectangle().Width() / plot.getXRange().getRangeSize();
}
double pixelsPerUnitY(const KPlotPanel& plot) {
    return plot.getPlotRectangle().Height() / plot.getYRange().getRangeSize();
}

std::vector<CPoint> polylinePoints(const CRecordingDC& dc) {
    std::vector<CPoint> points;
    for (const auto* e : calls(dc, CDC::Call::Polyline))
        points.insert(points.end(), e->points.begin(), e->points.end());
    return points;
}

}  // namespace

TEST(KPlotPanelTest, XYOfASineAgainstItsCosineIsACircleOfItsRadius) {
    KCanvas canvas(760, 520);
    KPlotPanel* plot = plotOn(canvas);
    auto record = circle();
    KPlotCurve* pair = plot->addPair(record.get(), 0, 1);
    ASSERT_NE(pair, nullptr);
    EXPECT_STREQ(pair->getText().c_str(), "VY / VX");
    EXPECT_STREQ(plot->getXTitle().c_str(), "VX (V)");
    // Volts against volts: one volt is as many pixels across as up.
    EXPECT_TRUE(plot->isEqualScaling());
    EXPECT_NEAR(pixelsPerUnitX(*plot), pixelsPerUnitY(*plot), 1e-9);

    auto dc = recordPaint(*plot, CSize(760, 520));
    const std::vector<CPoint> points = polylinePoints(*dc);
    ASSERT_GT(points.size(), 100u);
    const CPoint origin = pixelOf(*plot, 0, 0);
    const double radius = 5 * pixelsPerUnitX(*plot);
    EXPECT_GT(radius, 100);
    for (const CPoint& p : points) {
        ASSERT_NEAR(std::hypot(p.x - origin.x, p.y - origin.y), radius, 1.5) << p.x << "," << p.y;
    }
    // The point at the aperture's end is marked, in the pair's colour.
    const auto ovals = calls(*dc, CDC::Call::Ellipse);
    ASSERT_FALSE(ovals.empty());
    const CRect mark = ovals.back()->rect;
    const CPoint end =
        pixelOf(*plot, 5 * std::cos(2 * PI * 128 / 64), 5 * std::sin(2 * PI * 128 / 64));
    EXPECT_NEAR((mark.left + mark.right - 1) / 2.0, end.x, 1);
    EXPECT_NEAR((mark.top + mark.bottom - 1) / 2.0, end.y, 1);
    EXPECT_EQ(ovals.back()->state.brush.GetColor(), pair->getLineColor());

    // Half the time: half the circle, ending at the aperture's end.
    plot->setTimeAperture(0, 32 / 3840.0);
    dc = recordPaint(*plot, CSize(760, 520));
    for (const CPoint& p : polylinePoints(*dc))
        ASSERT_LE(p.y, origin.y + 1) << "the upper half only";
}

TEST(KPlotPanelTest, PolarOfABalancedSetPutsItsPhasorsAThirdOfATurnApart) {
    // The one-cycle phasors of three cosines 120 degrees apart, as magnitude and angle.
    const int n = 256;
    std::vector<std::vector<double>> phases(3, std::vector<double>(static_cast<size_t>(n)));
    for (int p = 0; p < 3; ++p) {
        for (int i = 0; i < n; ++i)
            phases[p][i] = 100 * std::sqrt(2.0) *
                           std::cos(2 * PI * 60 * i / 3840.0 + (20 - 120 * p) * PI / 180);
    }
    auto record = makeRecord(times(n), phases);
    for (int p = 0; p < 3; ++p) record->getTrace(p)->setUnits("kV");
    record->setProperty(KRecord::LINE_FREQUENCY, "60");
    KRecord phasors;
    KSlidingPhasorTransform transform;
    transform.setForm(KSlidingPhasorTransform::POLAR);
    ASSERT_TRUE(transform.transformTraces(*record, {0, 1, 2}, phasors));

    KCanvas canvas(700, 600);
    KPlotPanel* plot = plotOn(canvas);
    plot->setMode(KPlotPanel::POLAR);
    for (int p = 0; p < 3; ++p) plot->addPair(&phasors, 2 * p, 2 * p + 1);
    EXPECT_TRUE(plot->isEqualScaling()) << "always, for a polar plot";
    auto dc = recordPaint(*plot, CSize(700, 600));
    // The marks of the three ends: the coloured ovals (each over a white ring).
    std::vector<CPoint> ends;
    for (const auto* e : calls(*dc, CDC::Call::Ellipse)) {
        if (e->state.brush.GetColor() != 0xFFFFFF && e->state.brush.GetKind() == CBrush::SOLID)
            ends.emplace_back((e->rect.left + e->rect.right - 1) / 2,
                              (e->rect.top + e->rect.bottom - 1) / 2);
    }
    ASSERT_EQ(ends.size(), 3u);
    const CPoint origin = pixelOf(*plot, 0, 0);
    double angles[3];
    for (int p = 0; p < 3; ++p) {
        angles[p] = std::atan2(-(ends[p].y - origin.y), ends[p].x - origin.x) * 180 / PI;
        EXPECT_NEAR(std::hypot(ends[p].x - origin.x, ends[p].y - origin.y),
                    100 * pixelsPerUnitX(*plot), 1.5);
    }
    EXPECT_NEAR(angles[0], 20, 1);
    auto apart = [](double a, double b) { return std::fmod(a - b + 720, 360); };
    EXPECT_NEAR(apart(angles[0], angles[1]), 120, 1);
    EXPECT_NEAR(apart(angles[1], angles[2]), 120, 1);
    // Rings and spokes, named.
    std::set<std::string> texts;
    for (const auto* e : calls(*dc, CDC::Call::TextOut)) texts.insert(e->text);
    for (const char* spoke :
         {"0\xC2\xB0", "90\xC2\xB0", "180\xC2\xB0", "-90\xC2\xB0", "-30\xC2\xB0"})
        EXPECT_EQ(texts.count(spoke), 1u) << spoke;
    EXPECT_EQ(texts.count("100 kV"), 1u);
    EXPECT_GE(dc->Count(CDC::Call::Ellipse), 3 + 3 + 3) << "rings besides the marks";
}

TEST(KPlotPanelTest, ScatterOfALinearRelationLiesOnItsLine) {
    // y = 2x + 1 at points in no order, of unlike units: the scales are not tied.
    const int n = 200;
    std::vector<double> x(static_cast<size_t>(n)), y(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        x[i] = 5 * std::sin(i * 1.7);
        y[i] = 2 * x[i] + 1;
    }
    auto record = makeRecord(times(n), {x, y});
    record->getTrace(0)->setUnits("A");
    record->getTrace(1)->setUnits("V");
    KCanvas canvas(700, 500);
    KPlotPanel* plot = plotOn(canvas);
    plot->setMode(KPlotPanel::SCATTER);
    KPlotCurve* pair = plot->addPair(record.get(), 0, 1);
    EXPECT_FALSE(plot->isEqualScaling());
    auto dc = recordPaint(*plot, CSize(700, 500));
    const CPoint a = pixelOf(*plot, -5, -9), b = pixelOf(*plot, 5, 11);
    int points = 0;
    for (const auto* e : calls(*dc, CDC::Call::FillRect)) {
        if (e->brush.GetColor() != pair->getLineColor() || e->rect.Width() > 6) continue;
        ++points;
        const double cx = (e->rect.left + e->rect.right - 1) / 2.0,
                     cy = (e->rect.top + e->rect.bottom - 1) / 2.0;
        // The distance of the point's centre from the line through a and b.
        const double d = std::fabs((b.x - a.x) * (a.y - cy) - (a.x - cx) * (b.y - a.y)) /
                         std::hypot(b.x - a.x, b.y - a.y);
        ASSERT_LE(d, 1.5) << cx << "," << cy;
    }
    EXPECT_GT(points, 100) << "one square per pixel";
    EXPECT_EQ(dc->Count(CDC::Call::Polyline), 0) << "points alone";
}

TEST(KPlotPanelTest, ZoomsByBoxAndWheelWithTheGraphsHistory) {
    KCanvas canvas(760, 520);
    KPlotPanel* plot = plotOn(canvas);
    auto record = circle();
    plot->addPair(record.get(), 0, 1);
    const KRange xAll = plot->getXRange();
    // A drag zooms to the box, scales kept equal.
    const CPoint from = pixelOf(*plot, 0, 5), to = pixelOf(*plot, 4, 1);
    canvas.mousePress(from);
    canvas.mouseDrag(to);
    canvas.mouseRelease(to);
    EXPECT_EQ(plot->getHistoryCount(), 1);
    EXPECT_LE(plot->getXRange().getMinimum(), 0.05);
    EXPECT_GE(plot->getXRange().getMaximum(), 3.95);
    EXPECT_LT(plot->getXRange().getRangeSize(), xAll.getRangeSize() / 2);
    EXPECT_NEAR(pixelsPerUnitX(*plot), pixelsPerUnitY(*plot), 1e-6);
    // The wheel zooms both ways about the pointer, which keeps its value.
    const CPoint at = pixelOf(*plot, 1, 3);
    const double x = plot->toRealX(at.x), y = plot->toRealY(at.y);
    canvas.mouseWheel(at, 120);
    EXPECT_EQ(plot->getHistoryCount(), 2);
    EXPECT_NEAR(plot->toRealX(at.x), x, 0.02);
    EXPECT_NEAR(plot->toRealY(at.y), y, 0.02);
    // Back a step, and the extents again with the history anew.
    KComponent::setFocus(plot);
    canvas.keyPress('P');
    EXPECT_NEAR(pixelsPerUnitX(*plot), pixelsPerUnitY(*plot), 1e-6);
    EXPECT_EQ(plot->getHistoryPosition(), 0);
    canvas.keyPress('X');
    EXPECT_EQ(plot->getXRange(), xAll);
    EXPECT_EQ(plot->getHistoryCount(), 0);
    // Without equal scaling the box is taken as it is.
    canvas.keyPress('E');
    EXPECT_FALSE(plot->isEqualScaling());
    const CPoint wide = pixelOf(*plot, 4, 4.5);
    canvas.mousePress(pixelOf(*plot, -4, 3));
    canvas.mouseDrag(wide);
    canvas.mouseRelease(wide);
    EXPECT_GT(pixelsPerUnitY(*plot) / pixelsPerUnitX(*plot), 2);
    // Keys change the kind of plot; the markers and trigger of time graphs do not apply.
    canvas.keyPress('2');
    EXPECT_EQ(plot->getMode(), KPlotPanel::POLAR);
    canvas.keyPress('3');
    EXPECT_EQ(plot->getMode(), KPlotPanel::SCATTER);
    canvas.keyPress('M');
    canvas.keyPress('T');
    EXPECT_FALSE(plot->isMarkersEnabled() || plot->isTriggerEnabled());
    EXPECT_TRUE(plot->isTimeColoring());
}

TEST(KPlotPanelTest, ReadsOutAndCopiesItsPairs) {
    KLocalClipboard clipboard;
    KPlatformClipboard::install(&clipboard);
    KCanvas canvas(760, 520);
    KPlotPanel* plot = plotOn(canvas);
    auto record = circle();
    KPlotCurve* pair = plot->addPair(record.get(), 0, 1, "locus");
    EXPECT_STREQ(pair->getText().c_str(), "locus");
    // The cross hair at a drawn point: both values, and the pair and time of the point.
    const CPoint at = pixelOf(*plot, 5 * std::cos(2 * PI * 8 / 64), 5 * std::sin(2 * PI * 8 / 64));
    const std::string text = plot->getCrossHairText(at).c_str();
    EXPECT_EQ(text.rfind("x:\t3.5", 0), 0u) << text;
    EXPECT_NE(text.find("\ny:\t3.5"), std::string::npos) << text;
    EXPECT_NE(text.find("\nlocus at 2.083 ms:\t3.536 V, 3.536 V"), std::string::npos) << text;

    // The aperture's samples as text: time, X and Y.
    plot->setTimeAperture(1 / 3840.0, 3 / 3840.0);
    ASSERT_TRUE(plot->copyPairs(nullptr, true));
    const std::string copied = clipboardText();
    EXPECT_EQ(copied.rfind("Time,VX,VY\n0.000260,", 0), 0u) << copied;
    EXPECT_EQ(std::count(copied.begin(), copied.end(), '\n'), 4);
    ASSERT_TRUE(plot->copyPairs(pair, false));
    const std::string all = clipboardText();
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 130);
    KPlatformClipboard::install(nullptr);
}
