#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"
#include "toolkit/WidgetTestSupport.h"

using namespace ktest;

namespace {

using Phasor = KSymmetricalComponents::Phasor;

constexpr double STEP = 1.0 / 3840.0;
constexpr double HAIR = STEP * 1e-3;

// Three cycles of three 60 Hz cosines of the given RMS phasors, 64 samples a cycle.
std::unique_ptr<KRecord> threePhases(const Phasor abc[3]) {
    std::vector<std::vector<double>> columns(3, std::vector<double>(192));
    for (int p = 0; p < 3; ++p) {
        for (int i = 0; i < 192; ++i) {
            columns[p][i] = std::abs(abc[p]) * std::sqrt(2.0) *
                            std::cos(2 * M_PI * 60 * i * STEP + std::arg(abc[p]));
        }
    }
    return makeRecord(times(192), columns);
}

KPhasorFrame* phasorsOn(KCanvas& canvas, KRecord* record = nullptr) {
    auto* frame = new KPhasorFrame();
    canvas.setRoot(frame);
    frame->create();
    canvas.layout();
    if (record != nullptr) {
        for (int t = 0; t < record->getTraceCount(); ++t) frame->addCurve(curveOf(*record, t));
        frame->toggleMarkers();
        frame->setMarkerXPosition(HAIR);
        frame->setMarkerOPosition(64 * STEP + HAIR);
    }
    canvas.pumpTasks();
    return frame;
}

void expectPhasor(double magnitude, double degrees, Phasor expected, const std::string& what) {
    SCOPED_TRACE(what);
    EXPECT_NEAR(magnitude, std::abs(expected), 1e-3);
    double d = degrees - std::arg(expected) * 180 / M_PI;
    while (d > 180) d -= 360;
    while (d < -180) d += 360;
    EXPECT_NEAR(d, 0.0, 0.05);
}

}  // namespace

TEST(KPhasorFrameTest, BuildsATimeGraphAndFourDiagrams) {
    KCanvas canvas(1400, 900);
    KPhasorFrame* frame = phasorsOn(canvas);
    EXPECT_EQ(frame->getName(), KString("phasorframe"));
    EXPECT_EQ(frame->getTitle(), KString("Phasor Frame"));
    for (const char* path :
         {"header", "client.frame", "client.subclient.centerpanel", "footer",
          "client.subclient.centerpanel.phasor0", "client.subclient.centerpanel.phasor3",
          "client.subclient.centerpanel.phasor2.footer.table"}) {
        EXPECT_NE(frame->findComponent(path), nullptr) << path;
    }
    std::vector<KPhasorPanel*> panels;
    frame->getPhasorPanelList(panels);
    ASSERT_EQ(panels.size(), 4u);
    EXPECT_EQ(frame->getPhasorGraph(2), panels[2]);
    EXPECT_EQ(frame->getPhasorGraph(4), nullptr);
    // Four diagrams side by side under the time graph.
    const KGraphFrame* top = frame->getGraphFrame();
    EXPECT_GE(panels[0]->getLocationOnCanvas().y,
              top->getLocationOnCanvas().y + top->getSize().cy - 1);
    EXPECT_EQ(panels[1]->getBounds().top, panels[0]->getBounds().top);
    EXPECT_GT(panels[1]->getBounds().left, panels[0]->getBounds().left);
    // The time graph's marker read-outs stand in a row under its axis.
    KGraphFrame* graphs = frame->getGraphFrame();
    const CRect axis = graphs->getAxis()->getBounds();
    const CRect x = graphs->getReadout(0)->getBounds(), o = graphs->getReadout(1)->getBounds();
    const CRect row = graphs->findComponent("footer.cn1")->getBounds();
    EXPECT_GE(row.top, axis.bottom);
    EXPECT_EQ(x.top, o.top);
    EXPECT_LT(x.left, o.left);
    // Titles even before there is anything to show.
    EXPECT_EQ(panels[0]->getTitle(), KString("PhaseABC"));
    EXPECT_EQ(panels[3]->getTitle(), KString("ZeroSeq"));
    KPhasorFrame bare;
    EXPECT_EQ(raised([&] { bare.getGraphFrame(); }).getText(),
              KString("Unable to find graph frame."));
    frame->setDataTransform(nullptr);
    EXPECT_EQ(frame->getDataTransform()->getName(), KString("NFFT"));
}

TEST(KPhasorFrameTest, ShowsPhasesAndSequencesOfUnbalancedCurrents) {
    // Ia = 1.6 at 25, Ib = 1.0 at 180, Ic = 0.9 at 132 degrees (RMS).
    const Phasor abc[3] = {std::polar(1.6, 25 * M_PI / 180), std::polar(1.0, M_PI),
                           std::polar(0.9, 132 * M_PI / 180)};
    const Phasor zero = std::polar(0.4512, 96.4529 * M_PI / 180),
                 positive = std::polar(0.9435, -0.0550 * M_PI / 180),
                 negative = std::polar(0.6024, 22.3157 * M_PI / 180);
    auto record = threePhases(abc);
    KCanvas canvas(1400, 900);
    KPhasorFrame* frame = phasorsOn(canvas, record.get());
    std::vector<KPhasorPanel*> panels;
    frame->getPhasorPanelList(panels);
    for (int i = 0; i < 3; ++i) {
        expectPhasor(panels[0]->getMagnitude(i), panels[0]->getPhase(i), abc[i],
                     "phase " + std::to_string(i));
    }
    expectPhasor(panels[1]->getMagnitude(0), panels[1]->getPhase(0), positive, "A+");
    expectPhasor(panels[2]->getMagnitude(0), panels[2]->getPhase(0), negative, "A-");
    expectPhasor(panels[3]->getMagnitude(2), panels[3]->getPhase(2), zero, "C0");
    // Under ABC, B+ lags A+ by 120 degrees and B- leads A- by as much.
    expectPhasor(panels[1]->getMagnitude(1), panels[1]->getPhase(1),
                 positive * std::polar(1.0, -2 * M_PI / 3), "B+");
    expectPhasor(panels[2]->getMagnitude(1), panels[2]->getPhase(1),
                 negative * std::polar(1.0, 2 * M_PI / 3), "B-");
    // Titles, labels, colours of the curves, one scale for all: the largest phase quantity.
    const char* titles[4] = {"PhaseABC", "PosSeq", "NegSeq", "ZeroSeq"};
    const char* labels[4] = {"A ", "B+", "C-", "A0"};
    std::vector<KCurve*> curves;
    frame->getCurveList(curves);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(panels[k]->getTitle(), KString(titles[k]));
        EXPECT_EQ(std::string(panels[k]->getTraceLabel(k % 3).c_str()), labels[k]);
        EXPECT_EQ(panels[k]->getColor(1), curves[1]->getLineColor());
        EXPECT_NEAR(panels[k]->getRange(), 1.6, 1e-3);
    }
    EXPECT_NE(curves[0]->getLineColor(), curves[1]->getLineColor());
    // The table under each diagram.
    KTableExt* table = panels[1]->getTable();
    EXPECT_EQ(table->getRowTitle(1), KString("B+"));
    EXPECT_EQ(table->getCellText(0, 0), KString("0.943"));
    EXPECT_EQ(std::string(table->getCellText(0, 1).c_str()), "- 0\xBA");
    EXPECT_EQ(std::string(panels[0]->getTable()->getCellText(0, 1).c_str()), "+ 25\xBA");
    KStringArray columns;
    panels[0]->getTableColumnTitles(columns);
    ASSERT_EQ(columns.getCount(), 2);
    EXPECT_EQ(KString(columns.get(0)), KString("Mag (RMS)"));
    EXPECT_EQ(KString(columns.get(1)), KString("Phase"));
    EXPECT_NEAR(frame->getBaseFrequency(), 60.0, 1e-6);
    double from, to;
    frame->getRegionBounds(from, to);
    EXPECT_NEAR(to - from, 64 * STEP, 1e-12);
}

TEST(KPhasorFrameTest, RotationACBSwapsTheSequences) {
    // A single-line-to-ground fault's voltages (Va = 0, Vb and Vc of 1.0127 pu at -102.22
    // and 102.22 degrees): under ABC the positive sequence is 0.6429 at 0 and the negative
    // 0.5 at 180 degrees; the same phasors under ACB have them the other way round, and the
    // same fault in an ACB system (B and C exchanged) has them as under ABC.
    const Phasor v[3] = {0.0, std::polar(1.0127, -102.2163 * M_PI / 180),
                         std::polar(1.0127, 102.2163 * M_PI / 180)};
    auto record = threePhases(v);
    KCanvas canvas(1400, 900);
    KPhasorFrame* frame = phasorsOn(canvas, record.get());
    KPhasorPanel* positive = frame->getPhasorGraph(1);
    KPhasorPanel* negative = frame->getPhasorGraph(2);
    expectPhasor(positive->getMagnitude(0), positive->getPhase(0), 0.6429, "ABC positive");
    expectPhasor(negative->getMagnitude(0), negative->getPhase(0), -0.5, "ABC negative");
    frame->setPhaseRotation("acb");
    canvas.pumpTasks();
    EXPECT_STREQ(frame->getPhaseRotation(), "ACB");
    EXPECT_EQ(frame->getPhasorGraph(0)->getTitle(), KString("PhaseACB"));
    expectPhasor(positive->getMagnitude(0), positive->getPhase(0), -0.5, "ACB positive");
    expectPhasor(negative->getMagnitude(0), negative->getPhase(0), 0.6429, "ACB negative");
    // Under ACB, B+ leads A+.
    const Phasor a1 = std::polar(positive->getMagnitude(0), positive->getPhase(0) * M_PI / 180);
    expectPhasor(positive->getMagnitude(1), positive->getPhase(1),
                 a1 * std::polar(1.0, 2 * M_PI / 3), "ACB B+");
    frame->setPhaseRotation("CBA");
    EXPECT_STREQ(frame->getPhaseRotation(), "ACB");

    const Phasor swapped[3] = {v[0], v[2], v[1]};
    auto mirrored = threePhases(swapped);
    KPhasorFrame* other = phasorsOn(canvas, mirrored.get());
    other->setPhaseRotation("ACB");
    canvas.pumpTasks();
    expectPhasor(other->getPhasorGraph(1)->getMagnitude(0), other->getPhasorGraph(1)->getPhase(0),
                 0.6429, "mirrored positive");
    expectPhasor(other->getPhasorGraph(3)->getMagnitude(0), other->getPhasorGraph(3)->getPhase(0),
                 -0.1429, "mirrored zero");
}

TEST(KPhasorFrameTest, RecomputesWhenTheMarkersMoveAndTitlesThePanelsThere) {
    const Phasor abc[3] = {1.0, std::polar(1.0, -2 * M_PI / 3), std::polar(1.0, 2 * M_PI / 3)};
    auto record = threePhases(abc);
    KCanvas canvas(1400, 900);
    KPhasorFrame* frame = phasorsOn(canvas, record.get());
    KPhasorPanel* phases = frame->getPhasorGraph(0);
    EXPECT_NEAR(phases->getPhase(0), 0.0, 0.05);
    // A quarter cycle later, every angle has turned by 90 degrees, after the posted task.
    frame->setMarkerXPosition(16 * STEP + HAIR);
    frame->setMarkerOPosition(80 * STEP + HAIR);
    EXPECT_NEAR(phases->getPhase(0), 0.0, 0.05);
    canvas.pumpTasks();
    EXPECT_NEAR(phases->getPhase(0), 90.0, 0.05);
    // Markers off: nothing to show.
    frame->toggleMarkers();
    canvas.pumpTasks();
    EXPECT_TRUE(std::isnan(phases->getMagnitude(0)));
    EXPECT_EQ(std::string(phases->getTable()->getCellText(0, 0).c_str()), "---");
    // The maximum number of curves holds; the "update" command computes again.
    EXPECT_FALSE(frame->addCurve(new KCurve()));
    frame->toggleMarkers();
    frame->setMarkerXPosition(HAIR);
    frame->setMarkerOPosition(64 * STEP + HAIR);
    canvas.pumpTasks();
    // With three panels left, those three are titled and the missing one skipped.
    delete frame->getPhasorGraph(3);
    delete frame->getPhasorGraph(1);
    frame->getPhasorGraph(0)->setTitle("x");
    frame->getPhasorGraph(1)->setTitle("x");
    canvas.command(0, "update");
    canvas.pumpTasks();
    std::vector<KPhasorPanel*> panels;
    frame->getPhasorPanelList(panels);
    ASSERT_EQ(panels.size(), 2u);
    EXPECT_EQ(panels[0]->getTitle(), KString("PhaseABC"));
    EXPECT_EQ(panels[1]->getTitle(), KString("PosSeq"));
    EXPECT_NEAR(panels[1]->getMagnitude(0), 1.0, 1e-3);
}

TEST(KPhasorFrameTest, APanelDrawsItsDiagram) {
    KCanvas canvas(400, 500);
    auto* panel = hosted(canvas, new KPhasorPanel(), CRect(0, 0, 400, 500));
    panel->create();
    canvas.layout();
    panel->setRange(0);
    EXPECT_EQ(panel->getRange(), 1.0);
    panel->setRange(2.5);
    EXPECT_EQ(panel->getRange(), 2.5);
    panel->setMagnitude(2.0, 1.0, 0.5);
    panel->setPhase(0.0, 90.0, -135.0);
    panel->setColor(RGB(255, 0, 0), 0);
    panel->setTraceLabel("VA", 0);
    panel->setMagnitude(7.0, 5);
    EXPECT_TRUE(std::isnan(panel->getMagnitude(5)));
    panel->updatePhasorLabels();
    // The arrows: from the centre, at their angles, as long as their share of the range.
    const CRect circle = panel->getCircleRect();
    const CPoint centre = circle.CenterPoint();
    const CPoint a = panel->getArrowTip(0), b = panel->getArrowTip(1);
    EXPECT_NEAR(a.x - centre.x, circle.Width() / 2.0 * 2.0 / 2.5, 1.5);
    EXPECT_EQ(a.y, centre.y);
    EXPECT_EQ(b.x, centre.x);
    EXPECT_NEAR(centre.y - b.y, circle.Width() / 2.0 / 2.5, 1.5);
    auto dc = recordPaint(*panel->getParent(), CSize(400, 500));
    bool arrow = false;
    for (const auto* e : calls(*dc, CDC::Call::LineTo)) {
        arrow = arrow || (e->state.pen.GetColor() == RGB(255, 0, 0) && e->points[1] == a &&
                          e->points[0] == centre);
    }
    EXPECT_TRUE(arrow);
    EXPECT_GE(dc->Count(CDC::Call::Ellipse), 2);
    auto texts = [&](const CRecordingDC& d) {
        std::vector<std::string> out;
        for (const auto* e : calls(d, CDC::Call::DrawText)) out.push_back(e->text);
        return out;
    };
    auto has = [&](const std::vector<std::string>& all, const std::string& text) {
        return std::find(all.begin(), all.end(), text) != all.end();
    };
    // Angle labels by default; D hides them, N shows each phasor's numbers.
    auto shown = texts(*dc);
    EXPECT_TRUE(has(shown, "90\xBA"));
    EXPECT_TRUE(has(shown, "VA"));
    KComponent::setFocus(panel);
    canvas.keyPress('D');
    canvas.keyPress('n');
    EXPECT_FALSE(panel->isDegreesEnabled());
    EXPECT_TRUE(panel->isNumbersEnabled());
    dc = recordPaint(*panel->getParent(), CSize(400, 500));
    shown = texts(*dc);
    EXPECT_FALSE(has(shown, "90\xBA"));
    EXPECT_TRUE(has(shown, "VA 2.00 + 0\xBA"));
    EXPECT_EQ(panel->getTable()->getCellText(2, 0), KString("0.500"));
    EXPECT_EQ(std::string(panel->getTable()->getCellText(2, 1).c_str()), "- 135\xBA");
    // Stored and read back.
    auto back = roundTrip<KPhasorPanel>(*panel);
    EXPECT_EQ(back->getRange(), 2.5);
    EXPECT_EQ(back->getPhase(2), -135.0);
    EXPECT_EQ(back->getTraceLabel(0), KString("VA"));
    EXPECT_FALSE(back->isDegreesEnabled());
    EXPECT_NE(back->getTable(), nullptr);
}

TEST(KPhasorFrameTest, AStoredFrameComputesAgainWhenRead) {
    const Phasor abc[3] = {2.0, std::polar(1.0, -2 * M_PI / 3), std::polar(1.0, 2 * M_PI / 3)};
    auto record = threePhases(abc);
    KCanvas canvas(1400, 900);
    KPhasorFrame* frame = phasorsOn(canvas, record.get());
    frame->setPhaseRotation("ACB");
    frame->setMaximumCurves(5);
    canvas.pumpTasks();
    auto back = roundTrip<KPhasorFrame>(*frame);
    EXPECT_STREQ(back->getPhaseRotation(), "ACB");
    EXPECT_EQ(back->getMaximumCurves(), 5);
    std::vector<KCurve*> curves;
    back->getCurveList(curves);
    ASSERT_EQ(curves.size(), 3u);
    EXPECT_NEAR(back->getPhasorGraph(0)->getMagnitude(0), 2.0, 1e-3);
    EXPECT_EQ(back->getPhasorGraph(0)->getTitle(), KString("PhaseACB"));
    EXPECT_NEAR(std::abs(back->getSequence(KSymmetricalComponents::ZERO)), 1.0 / 3, 1e-3);
}
