#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"

using namespace ktest;

namespace {

constexpr double STEP = 1.0 / 3840.0;  // 64 samples a cycle of 60 Hz
// A hair after a sample: a marker there takes the stretch from that sample on.
constexpr double HAIR = STEP * 1e-3;

KHarmonicFrame* harmonicOn(KCanvas& canvas) {
    auto* frame = new KHarmonicFrame();
    canvas.setRoot(frame);
    frame->create();
    canvas.layout();
    return frame;
}

// Shows both markers at x and o and runs the computation they post.
void stretch(KCanvas& canvas, KHarmonicFrame* frame, double x, double o) {
    if (!frame->getAxis()->isMarkersEnabled()) frame->toggleMarkers();
    frame->setMarkerXPosition(x);
    frame->setMarkerOPosition(o);
    canvas.pumpTasks();
}

// 0.5 A of harmonic 3 on 2 A of fundamental (sines), and a curve of nothing.
std::unique_ptr<KRecord> twoCurves(int n = 192) {
    std::vector<double> a(n), zero(n, 0.0);
    for (int i = 0; i < n; ++i) {
        const double t = i * STEP;
        a[i] = 2.0 * std::sin(2 * M_PI * 60 * t) + 0.5 * std::sin(2 * M_PI * 180 * t);
    }
    return makeRecord(times(n), {a, zero});
}

// The FFT transform, counting the spectra it was asked for.
struct Counting : KFftTransform {
    using KFftTransform::transform;
    bool transform(KVector<KCurve>& curves, KVector<KRecord>& records, double from, double to,
                   bool normalizeX, bool normalizeY) override {
        ++calls;
        return KFftTransform::transform(curves, records, from, to, normalizeX, normalizeY);
    }
    int calls = 0;
};

double magnitude(const KRecord* result, int bin) {
    return result->getTrace(0)->getSample(bin);
}

std::string clipboardText() {
    unsigned long length = 0;
    if (!KClipboard::getDataLength(1, &length, 0)) return "";
    std::string text(length, '\0');
    KClipboard::getData(1, text.data(), static_cast<int>(length), 0);
    return std::string(text.c_str());
}

}  // namespace

TEST(KHarmonicFrameTest, BuildsItsPartsByTheirPaths) {
    KCanvas canvas(1200, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    EXPECT_EQ(frame->getName(), KString("harmonicframe"));
    EXPECT_EQ(frame->getTitle(), KString("Harmonic Frame"));
    for (const char* path :
         {"header", "client", "client.frame", "client.midclient", "client.midclient.KFreqGraph",
          "client.midclient.freqgraphtitle", "client.midclient.freqgraphunits",
          "client.midclient.eastpanel", "client.midclient.eastpanel.basefq",
          "client.midclient.eastpanel.meter", "client.lowclient.KTable", "footer"}) {
        EXPECT_NE(frame->findComponent(path), nullptr) << path;
    }
    EXPECT_EQ(frame->getFrequencyGraphTitle(), KString("Frequency Graph Magnitude"));
    EXPECT_EQ(
        k_dynamic_cast<KLabel>(frame->findComponent("client.midclient.freqgraphunits"))->getText(),
        KString("Harmonics"));
    // The time graph over the top 55 %, the spectrum to 80 %, the table below.
    const CRect client = frame->findComponent("client")->getBounds();
    EXPECT_NEAR(frame->getGraphFrame()->getBounds().bottom, client.Height() * 0.55, 2);
    EXPECT_NEAR(frame->findComponent("client.lowclient")->getBounds().top, client.Height() * 0.80,
                2);
    // Parts that are missing are named.
    KHarmonicFrame bare;
    EXPECT_EQ(raised([&] { bare.getGraphFrame(); }).getText(),
              KString("Unable to find graph frame."));
    EXPECT_EQ(raised([&] { bare.getTable(); }).getText(), KString("Unable to find table."));
    EXPECT_EQ(raised([&] { bare.getFrequencyGraph(); }).getText(),
              KString("Unable to find frequency graph."));
    // A transform replaced by null is an FFT again.
    frame->setDataTransform(nullptr);
    EXPECT_EQ(frame->getDataTransform()->getName(), KString("NFFT"));
}

TEST(KHarmonicFrameTest, MarkerMovesComputeInAPostedTask) {
    KCanvas canvas(1200, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    auto record = twoCurves();
    ASSERT_TRUE(frame->addCurve(curveOf(*record, 0)));
    ASSERT_TRUE(frame->addCurve(curveOf(*record, 1)));
    canvas.pumpTasks();
    KFreqGraph* spectrum = frame->getFrequencyGraph();
    EXPECT_TRUE(spectrum->getResults().isEmpty());
    auto* counting = new Counting();
    frame->setDataTransform(counting);
    frame->toggleMarkers();
    frame->setMarkerXPosition(HAIR);
    frame->setMarkerOPosition(64 * STEP + HAIR);
    // Nothing yet; the moves post one computation between them.
    EXPECT_TRUE(spectrum->getResults().isEmpty());
    canvas.pumpTasks();
    EXPECT_FALSE(frame->isUpdatePending());
    EXPECT_EQ(counting->calls, 1);
    ASSERT_EQ(spectrum->getResults().getCount(), 2);
    const KRecord* a = spectrum->getResults().get(0);
    ASSERT_EQ(a->getSampleCount(), 32);
    // One cycle between the markers: bin h is harmonic h (peak values, 2 / 63 of the bins).
    EXPECT_NEAR(magnitude(a, 1), 2.0 * 64 / 63, 0.01);
    EXPECT_NEAR(magnitude(a, 3), 0.5 * 64 / 63, 0.01);
    EXPECT_NEAR(magnitude(a, 2), 0.0, 0.01);
    EXPECT_EQ(frame->getBaseFrequencyText(), KString("Hz 60.00"));
    EXPECT_TRUE(frame->getMeter()->isVisible());
    EXPECT_NEAR(frame->getBaseFrequency(), 60.0, 1e-6);

    // Reversed markers give the same spectrum.
    std::vector<double> before;
    for (int k = 0; k < 32; ++k) before.push_back(magnitude(a, k));
    stretch(canvas, frame, 64 * STEP + HAIR, HAIR);
    a = spectrum->getResults().get(0);
    for (int k = 0; k < 32; ++k) EXPECT_DOUBLE_EQ(magnitude(a, k), before[k]) << k;

    // A marker dragged on the axis computes nothing until it is let go.
    KGraphAxis* axis = frame->getAxis();
    axis->setMouseDrag(true);
    frame->updateTransform();
    canvas.pumpTasks();
    EXPECT_DOUBLE_EQ(magnitude(spectrum->getResults().get(0), 1), before[1]);
    axis->setMouseDrag(false);

    // One marker hidden: the spectrum goes, and so does the base frequency.
    axis->setMarkerOEnabled(false);
    frame->getGraphFrame()->syncronizeMarkers();
    canvas.pumpTasks();
    EXPECT_TRUE(spectrum->getResults().isEmpty());
    EXPECT_TRUE(frame->getBaseFrequencyText().isEmpty());
    EXPECT_FALSE(frame->getMeter()->isVisible());
    EXPECT_FALSE(frame->isAnalysisOn());
}

TEST(KHarmonicFrameTest, NormalisedMagnitudesAreFractionsOfTheFundamental) {
    KCanvas canvas(1200, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    auto record = twoCurves();
    frame->addCurve(curveOf(*record, 0));
    frame->addCurve(curveOf(*record, 1));
    KFreqGraph* spectrum = frame->getFrequencyGraph();
    spectrum->setNormalizeY(true);
    stretch(canvas, frame, HAIR, 64 * STEP + HAIR);
    // Every curve's fundamental reads 1, the flat one's too: its bin 1 is that of the sample
    // times, which the transform takes as the real part.
    EXPECT_NEAR(magnitude(spectrum->getResults().get(0), 1), 1.0, 1e-12);
    EXPECT_NEAR(magnitude(spectrum->getResults().get(1), 1), 1.0, 1e-12);
    EXPECT_NEAR(magnitude(spectrum->getResults().get(0), 3), 0.25, 1e-3);
    EXPECT_EQ(frame->getTable()->getCellText(0, 0), KString("1.00"));
    // A fundamental of nothing at all: nothing guards the division.
    auto flat = makeRecord(std::vector<double>(8, 1.0), {std::vector<double>(8, 0.0)});
    flat->selectTrace(0);
    KRecord result;
    KFftTransform fft;
    ASSERT_TRUE(fft.transform(flat.get(), result, 0, 8, true, true));
    EXPECT_FALSE(std::isfinite(result.getTrace(0)->getSample(1)));
    // Frequencies in hertz when not normalised, the units label saying so.
    KComponent::setFocus(spectrum);
    canvas.keyPress('F');
    canvas.pumpTasks();
    EXPECT_FALSE(spectrum->isNormalizeX());
    EXPECT_NEAR(spectrum->getResults().get(0)->getDomainValue(3), 180.0, 1e-9);
    EXPECT_EQ(
        k_dynamic_cast<KLabel>(frame->findComponent("client.midclient.freqgraphunits"))->getText(),
        KString("Frequency (Hz)"));
}

TEST(KHarmonicFrameTest, ColumnsStandSideBySideOrOverlap) {
    KCanvas canvas(1200, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    auto record = makeRecord(times(192), {sine(192, 2.0), sine(192, 1.0)});
    frame->addCurve(curveOf(*record, 0));
    frame->addCurve(curveOf(*record, 1));
    stretch(canvas, frame, HAIR, 64 * STEP + HAIR);
    KFreqGraph* spectrum = frame->getFrequencyGraph();
    spectrum->setDisplayOption(KBarGraphPanel::COLUMNS_FILLED);
    std::vector<KCurve*> curves;
    frame->getGraphFrame()->getCurveList(curves);
    const CRect plot = spectrum->getPlotRectangle();
    // The fundamental's filled column of each curve.
    // (drawn in the graph's own coordinates)
    auto column = [&](const CRecordingDC& dc, COLORREF color) {
        const int at = plot.left + spectrum->toLogicalX(1.0);
        CRect inside = plot;
        inside.InflateRect(0, 0, 1, 1);
        CRect best;
        for (const auto* e : calls(dc, CDC::Call::FillRect)) {
            if (e->brush.GetColor() != color || e->brush.GetKind() != CBrush::SOLID) continue;
            if (!inside.PtInRect(e->rect.TopLeft())) continue;
            // The first column at or right of bin 1's pixel is bin 1's.
            if (e->rect.left >= at && (best.IsRectEmpty() || e->rect.left < best.left))
                best = e->rect;
        }
        return best;
    };
    spectrum->setDisplayMode(KBarGraphPanel::OFFSET);
    auto dc = recordPaint(*spectrum, CSize(1200, 900));
    CRect a = column(*dc, curves[0]->getLineColor()), b = column(*dc, curves[1]->getLineColor());
    ASSERT_FALSE(a.IsRectEmpty());
    ASSERT_FALSE(b.IsRectEmpty());
    EXPECT_GE(b.left, a.right);
    EXPECT_EQ(b.Width(), a.Width());
    // The larger curve's column is twice as tall.
    EXPECT_NEAR(a.Height(), 2 * b.Height(), 2);
    spectrum->setDisplayMode(KBarGraphPanel::OVERLAY);
    dc = recordPaint(*spectrum, CSize(1200, 900));
    a = column(*dc, curves[0]->getLineColor());
    b = column(*dc, curves[1]->getLineColor());
    EXPECT_EQ(b.left, a.left);
    EXPECT_EQ(b.right, a.right);
    // A curve whose hatch flag is set is hatched, in style (index + 3) mod 6.
    curves[1]->setGlyphVisible(true);
    frame->updateTransform();
    canvas.pumpTasks();
    dc = recordPaint(*spectrum, CSize(1200, 900));
    int hatched = 0;
    for (const auto* e : calls(*dc, CDC::Call::FillRect)) {
        if (e->brush.GetKind() == CBrush::HATCH &&
            e->brush.GetColor() == curves[1]->getLineColor()) {
            ++hatched;
            EXPECT_EQ(e->brush.GetHatchStyle(), (1 + 3) % 6);
        }
    }
    EXPECT_GE(hatched, 2);
}

TEST(KHarmonicFrameTest, TableAndCopyNameEveryHarmonic) {
    KCanvas canvas(1200, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    auto record = twoCurves();
    record->setTraceName(0, "IA");
    record->setTraceName(1, "IN");
    frame->addCurve(curveOf(*record, 0));
    frame->addCurve(curveOf(*record, 1));
    stretch(canvas, frame, HAIR, 64 * STEP + HAIR);
    KTableExt* table = frame->getTable();
    std::vector<KCurve*> curves;
    frame->getGraphFrame()->getCurveList(curves);
    // A row per harmonic from 1; Mag and Phase per curve under its colour.
    ASSERT_EQ(table->getRowCount(), 31);
    ASSERT_EQ(table->getColumnCount(), 4);
    EXPECT_EQ(table->getRowTitle(0), KString("1"));
    EXPECT_EQ(table->getRowTitle(30), KString("31"));
    EXPECT_EQ(table->getColumnTitle(0), KString("Mag"));
    EXPECT_EQ(table->getColumnTitle(3), KString("Phase"));
    EXPECT_EQ(table->getColumnSwatchColor(2), curves[1]->getLineColor());
    EXPECT_NE(curves[0]->getLineColor(), curves[1]->getLineColor());
    EXPECT_EQ(table->getCellText(0, 0), KString("2.03"));
    EXPECT_EQ(table->getCellText(2, 0), KString("0.508"));
    // A sine's phase in the transform's own convention: its values are the imaginary input.
    const double phase = frame->getFrequencyGraph()->getResults().get(0)->getTrace(1)->getSample(1);
    KString expected;
    expected.format("%c %.0f\xBA", phase < 0 ? '-' : '+', std::fabs(phase));
    EXPECT_EQ(std::string(table->getCellText(0, 1).c_str()), std::string(expected.c_str()));
    // Manual precision: that many decimals.
    frame->enableManualPrecision(true);
    frame->setManualPrecision(1);
    EXPECT_EQ(table->getCellText(0, 0), KString("2.0"));

    // The copy: bin 0 never, a header naming each curve's magnitude and phase.
    KFreqGraph* spectrum = frame->getFrequencyGraph();
    KLocalClipboard clipboard;
    KPlatformClipboard::install(&clipboard);
    ASSERT_TRUE(spectrum->copyData(0.0, 3.5));
    const std::string text = clipboardText();
    KPlatformClipboard::install(nullptr);
    EXPECT_EQ(text.substr(0, text.find('\n')),
              "Harmonic,IA_Magnitude,IA_Phase,IN_Magnitude,IN_Phase");
    EXPECT_EQ(text.find("\n0.000000,"), std::string::npos);
    EXPECT_NE(text.find("\n1.000000,2.03"), std::string::npos) << text;
    EXPECT_NE(text.find("\n3.000000,0.50"), std::string::npos) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
    KFreqGraph empty;
    empty.create();
    EXPECT_FALSE(empty.copyData(0, 10));
}

TEST(KHarmonicFrameTest, TheDisplaySwitchRetitlesTheGraph) {
    KCanvas canvas(1200, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    KFreqGraph* spectrum = frame->getFrequencyGraph();
    spectrum->setPhasePlot(true);
    canvas.pumpTasks();
    EXPECT_EQ(spectrum->getShownTrace(), 1);
    EXPECT_FALSE(spectrum->isMagnitudePlot());
    EXPECT_EQ(frame->getFrequencyGraphTitle(), KString("Frequency Graph Phase"));
    KComponent::setFocus(spectrum);
    canvas.keyPress('A');
    canvas.pumpTasks();
    EXPECT_EQ(spectrum->getShownTrace(), 0);
    EXPECT_EQ(frame->getFrequencyGraphTitle(), KString("Frequency Graph Magnitude"));
    spectrum->toggleFlag(KFreqGraph::NORMALIZE_Y);
    spectrum->toggleFlag(9);
    auto back = roundTrip<KFreqGraph>(*spectrum);
    EXPECT_TRUE(back->isNormalizeY());
    EXPECT_TRUE(back->isNormalizeX());
    EXPECT_TRUE(back->isMagnitudePlot());
}

TEST(KHarmonicFrameTest, TheEmbeddedSampleReadsBackItsHarmonics) {
    KComtradeReader reader;
    reader.setPrimaryValues(true);
    KRecord record;
    reader.read(KALVO_SOURCE_DIR "/samples/slg-fault-1999-binary.cfg", record);
    KCanvas canvas(1400, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    for (int t = 0; t < 7; ++t) frame->addCurve(curveOf(record, t));
    // Cycle 6 of the fault, once its DC offset has died away.
    const double from = 5.0 / 60;
    stretch(canvas, frame, from + HAIR, from + 64 * STEP + HAIR);
    const KVector<KRecord>& results = frame->getFrequencyGraph()->getResults();
    ASSERT_EQ(results.getCount(), 7);
    // The frame shows peak values over n - 1 sample steps (2 / 63 of the bins): RMS times
    // sqrt(2) times 64 / 63. Its phases are those of the transform's input, times plus i
    // times values: 90 degrees less the cosine's phase at the start of the stretch.
    const double scale = std::sqrt(2.0) * 64 / 63;
    struct Expected {
        int trace, harmonic;
        double rms, degrees, tolerance;
    };
    // What the generator put in (samples/generator): VA, VB, VC and IA with its 5th and 7th.
    const Expected cases[] = {{0, 1, 19900, -3, 0.005},  {1, 1, 69800, -124, 0.005},
                              {2, 1, 70500, 124, 0.005}, {3, 1, 5000, -78, 0.005},
                              {3, 5, 200, 35, 0.015},    {3, 7, 125, -60, 0.015},
                              {4, 1, 410, -141, 0.005},  {5, 1, 395, 101, 0.005}};
    for (const Expected& e : cases) {
        const KRecord* r = results.get(e.trace);
        SCOPED_TRACE(std::string(record.getTrace(e.trace)->getName().c_str()) + " harmonic " +
                     std::to_string(e.harmonic));
        EXPECT_NEAR(r->getTrace(0)->getSample(e.harmonic), e.rms * scale,
                    e.rms * scale * e.tolerance);
        double d = r->getTrace(1)->getSample(e.harmonic) - (90.0 - e.degrees);
        while (d > 180) d -= 360;
        while (d < -180) d += 360;
        EXPECT_NEAR(d, 0.0, 2.0);
    }
}

TEST(KHarmonicFrameTest, AStoredFrameComputesAgainWhenRead) {
    KCanvas canvas(1200, 900);
    KHarmonicFrame* frame = harmonicOn(canvas);
    auto record = twoCurves();
    frame->addCurve(curveOf(*record, 0));
    frame->addCurve(curveOf(*record, 1));
    frame->setCalculateOnDrag(true);
    frame->getFrequencyGraph()->setNormalizeY(true);
    stretch(canvas, frame, HAIR, 64 * STEP + HAIR);
    auto back = roundTrip<KHarmonicFrame>(*frame);
    EXPECT_TRUE(back->isCalculateOnDrag());
    EXPECT_TRUE(back->getFrequencyGraph()->isNormalizeY());
    const KVector<KRecord>& results = back->getFrequencyGraph()->getResults();
    ASSERT_EQ(results.getCount(), 2);
    EXPECT_NEAR(magnitude(results.get(0), 3), 0.25, 1e-3);
    EXPECT_EQ(back->getTable()->getRowCount(), 31);
    EXPECT_EQ(back->getBaseFrequencyText(), KString("Hz 60.00"));
}
