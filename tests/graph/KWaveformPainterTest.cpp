#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <kalvo/graph/KWaveformPainter.h>
#include <kalvo/platform/CCairoDC.h>
#include <kalvo/record/KTraceSummary.h>

namespace {

constexpr int W = 240, H = 120;
const CRect PLOT(10, 10, 210, 110);

struct Data {
    std::string name;
    std::vector<double> x, y;
};

Data make(const char* kind, int n, unsigned seed = 3) {
    Data d{kind, std::vector<double>(n), std::vector<double>(n)};
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(-1.2, 1.2);
    for (int i = 0; i < n; ++i) {
        d.x[i] = -0.1 + 1.2 * i / (n - 1);  // a little before and after the view
        const std::string k = kind;
        if (k == "random") d.y[i] = uniform(random);
        if (k == "constant") d.y[i] = 0.25;
        if (k == "alternating") d.y[i] = i % 2 ? 0.8 : -0.6;
        if (k == "spike") d.y[i] = i % 97 == 13 ? (i % 2 ? 40.0 : -1e300) : 0.1;
        if (k == "sine") d.y[i] = std::sin(40.0 * d.x[i]);
        if (k == "gaps") d.y[i] = i % 50 < 3 ? std::nan("") : std::cos(25.0 * d.x[i]);
    }
    return d;
}

// The curve drawn in the plot, or only where it crosses the strip when one is given.
std::unique_ptr<CCairoDC> render(const Data& d, int style, bool every, int width = 1,
                                 CRect strip = CRect()) {
    std::unique_ptr<CCairoDC> dc(CCairoDC::CreateImage(W, H));
    CRect clip = PLOT;
    clip.right += 1;
    clip.bottom += 1;
    dc->IntersectClipRect(clip);
    if (!strip.IsRectEmpty()) dc->IntersectClipRect(strip);
    KTraceSummary summary;
    summary.build(d.x.data(), d.y.data(), static_cast<int>(d.y.size()));
    KWaveformPainter painter(PLOT, 0.0, 1.0, -1.0, 1.0);
    painter.setEverySample(every);
    painter.draw(dc.get(), d.x.data(), d.y.data(), static_cast<int>(d.y.size()), &summary, style,
                 RGB(0, 0, 128), width, 0.0);
    return dc;
}

// The pixels where the two pictures differ.
int differences(const CCairoDC& a, const CCairoDC& b) {
    int count = 0;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) count += a.GetPixel(x, y) != b.GetPixel(x, y);
    return count;
}

int inked(const CCairoDC& a) {
    int count = 0;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) count += a.GetPixel(x, y) != RGB(255, 255, 255);
    return count;
}

}  // namespace

// Lines and areas through the columns' first, smallest, largest and last samples give the
// picture of every sample, however many samples a column holds.
TEST(KWaveformPainterTest, ColumnsDrawWhatEverySampleDraws) {
    for (const char* kind : {"random", "constant", "alternating", "spike", "sine", "gaps"}) {
        for (int n : {30, 200, 1000, 50000}) {
            const Data d = make(kind, n);
            for (int style : {KWaveformPainter::LINE, KWaveformPainter::AREA}) {
                auto every = render(d, style, true);
                auto fast = render(d, style, false);
                EXPECT_GT(inked(*every), 0) << kind << " " << n;
                EXPECT_EQ(differences(*every, *fast), 0) << kind << " n=" << n << " style=" << style;
            }
        }
    }
}

// Points are drawn one by one while columns hold few samples; a crowded column draws the
// band of its values, which holds every point drawn one by one.
TEST(KWaveformPainterTest, PointsMatchWhileSparseAndStayInTheirBandWhenCrowded) {
    for (const char* kind : {"random", "constant", "alternating", "spike", "sine", "gaps"}) {
        const Data sparse = make(kind, 500);  // at most 3 samples per column
        for (int style : {KWaveformPainter::POINT, KWaveformPainter::LINE_POINT}) {
            auto every = render(sparse, style, true);
            auto fast = render(sparse, style, false);
            EXPECT_EQ(differences(*every, *fast), 0) << kind << " style=" << style;
        }
        const Data crowded = make(kind, 40000);
        auto every = render(crowded, KWaveformPainter::POINT, true);
        auto fast = render(crowded, KWaveformPainter::POINT, false);
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x)
                if (every->GetPixel(x, y) != RGB(255, 255, 255))
                    ASSERT_NE(fast->GetPixel(x, y), RGB(255, 255, 255)) << kind << " " << x << "," << y;
    }
}

// A window repainting a strip of the plot draws only what crosses it, and the strip comes
// out as the whole picture has it: no seam where the lines left out would have entered, and
// nothing drawn outside it.
TEST(KWaveformPainterTest, AStripIsDrawnAsTheWholePictureHasIt) {
    const CRect strips[] = {CRect(60, 0, 63, H), CRect(9, 0, 12, H), CRect(150, 40, 170, 80),
                            CRect(208, 0, 240, H)};
    for (const char* kind : {"random", "alternating", "spike", "sine", "gaps"}) {
        for (int n : {40, 500, 50000}) {
            const Data d = make(kind, n);
            for (int style :
                 {KWaveformPainter::LINE, KWaveformPainter::POINT, KWaveformPainter::LINE_POINT}) {
                for (int width : {1, 3}) {
                    auto whole = render(d, style, false, width);
                    for (const CRect& strip : strips) {
                        auto part = render(d, style, false, width, strip);
                        int wrong = 0;
                        for (int y = 0; y < H; ++y)
                            for (int x = 0; x < W; ++x) {
                                const COLORREF a = part->GetPixel(x, y);
                                const COLORREF b = strip.PtInRect(CPoint(x, y))
                                                       ? whole->GetPixel(x, y)
                                                       : part->GetPixel(0, 0);
                                const int diff = std::max({std::abs(GetRValue(a) - GetRValue(b)),
                                                           std::abs(GetGValue(a) - GetGValue(b)),
                                                           std::abs(GetBValue(a) - GetBValue(b))});
                                // Wide lines are smoothed, and any clip shades their edges a
                                // little differently.
                                wrong += diff > (width > 1 ? 8 : 0);
                            }
                        EXPECT_EQ(wrong, 0) << kind << " n=" << n << " style=" << style
                                            << " width=" << width << " strip at " << strip.left;
                    }
                }
            }
        }
    }
}

// The columns kept from one paint serve the next of the same view, and are made anew for
// another view.
TEST(KWaveformPainterTest, KeptColumnsServeTheSameViewOnly) {
    const Data d = make("sine", 20000);
    KTraceSummary summary;
    summary.build(d.x.data(), d.y.data(), 20000);
    KWaveformPainter::Columns kept;
    auto paint = [&](double x0, double x1, KWaveformPainter::Columns* columns) {
        std::unique_ptr<CCairoDC> dc(CCairoDC::CreateImage(W, H));
        KWaveformPainter painter(PLOT, x0, x1, -1.0, 1.0);
        painter.draw(dc.get(), d.x.data(), d.y.data(), 20000, &summary, KWaveformPainter::LINE, 0, 1, 0.0, 0, -1, columns);
        return dc;
    };
    auto first = paint(0.0, 1.0, &kept);
    ASSERT_FALSE(kept.columns.empty());
    EXPECT_EQ(differences(*paint(0.0, 1.0, &kept), *first), 0);
    auto zoomed = paint(0.25, 0.5, &kept);
    EXPECT_EQ(differences(*zoomed, *paint(0.25, 0.5, nullptr)), 0);
    EXPECT_GT(differences(*zoomed, *first), 0);
    EXPECT_EQ(kept.key.scale, KColumnScale(0.25, 0.5, PLOT.Width(), 0.25));
}

// Views of the same samples take over the columns of the view before wherever their
// samples still make one column: the columns, and so the picture, are those made anew. Pans
// by whole pixels keep all but the ends; pans by fractions of one, and slight zooms (which
// keep the columns near the left and move the others by a sample or two), keep some.
TEST(KWaveformPainterTest, LaterViewsKeepTheColumnsThatStillHold) {
    for (const char* kind : {"sine", "gaps", "spike"}) {
        for (int n : {300, 20000, 200000}) {
            const Data d = make(kind, n);
            KTraceSummary summary;
            summary.build(d.x.data(), d.y.data(), n);
            KWaveformPainter::Columns kept;
            auto paint = [&](double x0, double width, KWaveformPainter::Columns& columns) {
                std::unique_ptr<CCairoDC> dc(CCairoDC::CreateImage(W, H));
                KWaveformPainter painter(PLOT, x0, x0 + width, -1.0, 1.0);
                painter.draw(dc.get(), d.x.data(), d.y.data(), n, &summary, KWaveformPainter::LINE,
                             0, 1, 0.0, 0, -1, &columns);
                return dc;
            };
            const double pixel = 0.5 / PLOT.Width();
            const struct {
                double x0, width;
            } views[] = {{0.0, 0.5},
                         {pixel, 0.5},
                         {4 * pixel, 0.5},
                         {4.37 * pixel, 0.5},
                         {1.87 * pixel, 0.5},
                         {41.87 * pixel, 0.5},
                         {41.87 * pixel, 0.5005},
                         {41.87 * pixel, 0.501},
                         {0.1, 0.49},
                         {0.1, 0.4901}};
            for (const auto& v : views) {
                auto later = paint(v.x0, v.width, kept);
                KWaveformPainter::Columns fresh;
                auto anew = paint(v.x0, v.width, fresh);
                const std::string at = std::string(kind) + " n=" + std::to_string(n) + " view " +
                                       std::to_string(v.x0) + "+" + std::to_string(v.width);
                EXPECT_EQ(differences(*later, *anew), 0) << at;
                ASSERT_EQ(kept.columns.size(), fresh.columns.size()) << at;
                for (size_t c = 0; c < fresh.columns.size(); ++c) {
                    const auto &a = kept.columns[c], &b = fresh.columns[c];
                    ASSERT_TRUE(a.column == b.column && a.first == b.first && a.end == b.end &&
                                a.exact == b.exact &&
                                (a.exact || (a.min == b.min && a.max == b.max)))
                        << at << ": column " << c;
                }
            }
        }
    }
}

TEST(KWaveformPainterTest, BackwardTimesHugeValuesAndBadViews) {
    // Times that run backwards are drawn sample by sample, in the order given.
    Data back = make("sine", 300);
    std::swap(back.x[100], back.x[200]);
    auto every = render(back, KWaveformPainter::LINE, true);
    auto fast = render(back, KWaveformPainter::LINE, false);
    EXPECT_EQ(differences(*every, *fast), 0);
    EXPECT_GT(inked(*fast), 0);

    // Values far outside the view draw only where they cross it.
    Data huge{"huge", {0.0, 0.5, 1.0}, {-1e300, 1e300, 0.0}};
    auto h = render(huge, KWaveformPainter::LINE, false);
    EXPECT_GT(inked(*h), 0);

    // A view that cannot map draws nothing.
    KWaveformPainter flat(PLOT, 0.0, 1.0, 2.0, 2.0);
    EXPECT_FALSE(flat.isValid());
    KWaveformPainter empty(CRect(0, 0, 0, 10), 0.0, 1.0, 0.0, 1.0);
    EXPECT_FALSE(empty.isValid());
    KWaveformPainter nan(PLOT, 0.0, std::nan(""), 0.0, 1.0);
    EXPECT_FALSE(nan.isValid());
    std::unique_ptr<CCairoDC> dc(CCairoDC::CreateImage(W, H));
    flat.draw(dc.get(), huge.x.data(), huge.y.data(), 3, nullptr, 0, 0, 1, 0.0);
    EXPECT_EQ(inked(*dc), 0);

    // One sample shows as a dot; an isolated sample between gaps too.
    Data one{"one", {0.5}, {0.0}};
    EXPECT_GT(inked(*render(one, KWaveformPainter::LINE, false)), 0);
    Data lone{"lone", {0.2, 0.5, 0.8}, {std::nan(""), 0.3, std::nan("")}};
    EXPECT_GT(inked(*render(lone, KWaveformPainter::LINE, false)), 0);
    // Mapping: the view's ends fall on the plot's edges.
    KWaveformPainter p(PLOT, 0.0, 1.0, -1.0, 1.0);
    EXPECT_EQ(p.columnOf(0.0), 0.0);
    EXPECT_EQ(p.columnOf(1.0), 200.0);
    EXPECT_EQ(p.rowOf(1.0), 0.0);
    EXPECT_EQ(p.rowOf(-1.0), 100.0);
}
