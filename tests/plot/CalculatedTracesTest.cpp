#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "plot/PlotTestSupport.h"

using namespace ktest;

// Phasors and impedances are records like any other: the time graphs show them, a curve
// copies them as text, the COMTRADE writer writes them, and the plots pair them.
TEST(CalculatedTracesTest, GoWhereverRecordsGo) {
    KLocalClipboard clipboard;
    KPlatformClipboard::install(&clipboard);
    KRecord fault = readLineFault("AG-60");
    KRecord phasors;
    KSlidingPhasorTransform transform;
    transform.setForm(KSlidingPhasorTransform::POLAR);
    ASSERT_TRUE(transform.transformTraces(fault, {0, 3}, phasors));

    // Graphs by units: kV and degrees apart from A.
    KCanvas canvas(1000, 700);
    KGraphFrame* frame = frameOn(canvas);
    frame->addRecord(&phasors);
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    EXPECT_EQ(graphs.size(), 3u);

    // A curve of the magnitude copies its samples: 77.4 kV RMS before the fault.
    phasors.selectTrace(0);
    KCurve curve;
    curve.setProducer(&phasors);
    EXPECT_STREQ(curve.getText().c_str(), "VA mag");
    ASSERT_TRUE(curve.copyData(-0.03, -0.02));
    const std::string text = clipboardText();
    EXPECT_EQ(text.rfind("Domain,VA mag\n-0.030000,77.38", 0), 0u) << text.substr(0, 80);

    // Written as COMTRADE and read back.
    const std::string path = ::testing::TempDir() + "kalvo-phasors.cff";
    KComtradeRecordWriter::write(phasors, path.c_str(), KComtradeConfig::REV_2013,
                                 KComtradeConfig::FLOAT32);
    KComtradeReader reader;
    KRecord back;
    reader.read(path.c_str(), back);
    std::remove(path.c_str());
    ASSERT_EQ(back.getTraceCount(), 4);
    EXPECT_STREQ(back.getTrace(3)->getName().c_str(), "IA ang");
    EXPECT_NEAR(back.getTrace(2)->getSample(700), phasors.getTrace(2)->getSample(700), 1e-2);

    // A polar plot of the current's phasor: its magnitude and angle, as a pair.
    KCanvas other(700, 600);
    KPlotPanel* plot = plotOn(other);
    plot->setMode(KPlotPanel::POLAR);
    KPlotCurve* pair = plot->addPair(&phasors, 2, 3);
    EXPECT_STREQ(pair->getText().c_str(), "IA mag at IA ang");
    double x, y;
    ASSERT_TRUE(plot->pointOf(pair, 799, x, y));
    EXPECT_NEAR(std::hypot(x, y), phasors.getTrace(2)->getSample(799), 1e-9);
    EXPECT_FALSE(plot->pointOf(pair, 10, x, y)) << "no phasor in the first cycle";
    KPlatformClipboard::install(nullptr);
}
