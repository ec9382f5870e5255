#pragma once

#include <vector>

#include <kalvo/graph/KColumnScale.h>
#include <kalvo/platform/CDC.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/platform/ColorRef.h>

class KTraceSummary;

// Draws one curve's samples into a plot rectangle, mapping the view's X limits onto its
// columns and its Y limits onto its rows (the maximum at the top), as the graph panels map
// values to pixels.
//
// The picture follows pixels, not samples: the samples that fall into one pixel column are
// replaced by the first, the smallest, the largest and the last of them, which the summary
// gives in logarithmic time, and a line through those draws exactly the pixels that a line
// through every sample would. Columns that hold a non-finite sample, and domains that do not
// run forward, are drawn sample by sample. Points of the point styles are drawn one by one
// while a column holds few samples; a crowded column shows them as one band from its
// smallest to its largest value.
//
// Non-finite samples leave gaps; segments are clipped to a margin around the plot, so
// values far outside the view cost no more than those inside.
class KWaveformPainter {
public:
    // The pixel columns of one view of one curve: for each, its samples and, where they are
    // many and all finite, their extremes. A curve keeps them between paints, so that
    // painting the same view again reads no samples but the columns' first and last; another
    // view of the same samples takes over the columns whose samples make one of its columns
    // too (all but the ends, after a pan), and other data makes them anew.
    struct Column {
        double column;   // from the plot's left
        int first, end;  // the samples first..end-1
        double min, max;
        double start, stop;  // the first and the last sample's value
        bool exact;          // drawn sample by sample
    };
    struct Columns {
        struct Key {
            const double* x = nullptr;
            const double* y = nullptr;
            int n = 0, first = 0, last = 0;
            KColumnScale scale;
            int left = 0, width = 0;
            bool operator==(const Key&) const = default;
        };
        // Forget them: the samples changed.
        void clear() { columns.clear(); }
        Key key;
        std::vector<Column> columns;
        int lo = 0, hi = 0;  // the samples in view and its margin
    };

    // The render styles of a curve.
    enum Style { LINE = 0, POINT = 1, AREA = 2, LINE_POINT = 3 };
    // The most samples a column may hold for its points to be drawn one by one.
    static constexpr int POINTS_PER_COLUMN = 4;

    KWaveformPainter(const CRect& plot, double xMin, double xMax, double yMin, double yMax);
    // The times fall on the columns as the scale (of the plot's width) has them.
    KWaveformPainter(const CRect& plot, const KColumnScale& columns, double yMin, double yMax);

    // Draws every sample instead of the column summary (the reference the summary's
    // picture equals).
    void setEverySample(bool every) { everySample_ = every; }
    bool isEverySample() const { return everySample_; }
    // Holds every value until the next sample, as status channels change: each step is a
    // horizontal line followed by a vertical one.
    void setSteps(bool steps) { steps_ = steps; }
    bool isSteps() const { return steps_; }
    // Whether the view can be drawn: finite limits, maximum above minimum, a plot of at
    // least one pixel each way.
    bool isValid() const { return valid_; }

    // The column (from the plot's left) and row (from its top) of a value, not clamped.
    double columnOf(double x) const;
    double rowOf(double y) const;

    // How many columns in from the plot's right (or left) edge the drawing of the samples
    // depends on what lies beyond it: a line to a sample past the edge is clipped there,
    // and the columns between the edge and the last sample before it show the clipped
    // line. 0 when no line crosses the edge; past the plot's width when the domain is not
    // ordered (the summary tells), which hides where lines go.
    int edgeReach(const double* x, int n, const KTraceSummary* summary, bool right) const;

    // Draws samples first..last-1 (last -1: all) of x and y with the pen's colour and
    // width in the style; area fills from the baseline value. summary may be null (every
    // sample is drawn then). The columns, when given, are reused if they are of this view
    // and made anew (and kept there) if not.
    void draw(CDC* dc, const double* x, const double* y, int n, const KTraceSummary* summary,
              int style, COLORREF color, int width, double baseline, int first = 0,
              int last = -1, Columns* columns = nullptr);

private:
    struct Point {
        double x;
        double y;
    };
    class Emitter;

    // The columns of the view (out's key and columns still those of the view before).
    void summarise(const double* x, const double* y, int first, int last,
                   const KTraceSummary& summary, Columns& out) const;
    // Appends the columns of samples from..to-1 (whole columns), taking over those of
    // `before` that still hold.
    void summariseRun(const double* x, const double* y, int from, int to,
                      const KTraceSummary& summary, const std::vector<Column>& before,
                      std::vector<Column>& out) const;

    // The first index in [from, to) whose column exceeds `column` (ordered domains). The
    // search gallops forward from `from`, first by `guess` samples: consecutive columns
    // hold about as many samples, so it touches memory near the last column only.
    int firstAfter(const double* x, int from, int to, double column, int guess = 0) const;

    CRect plot_;
    KColumnScale columns_;
    double yMax_;
    double ky_ = 0.0;
    bool valid_ = false;
    bool everySample_ = false;
    bool steps_ = false;
};
