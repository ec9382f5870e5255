#include <kalvo/graph/KWaveformPainter.h>

#include <algorithm>
#include <cmath>

#include <kalvo/platform/CBrush.h>
#include <kalvo/platform/CPen.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/record/KTraceSummary.h>

namespace {

// How far outside the plot segments are kept: their clipped ends must never show, and
// points just outside still reach in.
constexpr int MARGIN = 3;
// Pixel coordinates are held within this distance of the plot before clipping, so that the
// clip's arithmetic stays exact; lines that far out are vertical or horizontal to well
// under a pixel where they cross the plot.
constexpr double REACH = 1e7;

struct Box {
    double left, top, right, bottom;
    bool contains(double x, double y) const {
        return x >= left && x <= right && y >= top && y <= bottom;
    }
};

// Liang-Barsky: the part [t0, t1] of the segment a + t (b - a) inside the box.
bool clipSegment(double ax, double ay, double bx, double by, const Box& r, double& t0,
                 double& t1) {
    t0 = 0.0;
    t1 = 1.0;
    const double dx = bx - ax, dy = by - ay;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {ax - r.left, r.right - ax, ay - r.top, r.bottom - ay};
    for (int k = 0; k < 4; ++k) {
        if (p[k] == 0.0) {
            if (q[k] < 0.0) return false;
            continue;
        }
        const double t = q[k] / p[k];
        if (p[k] < 0.0) {
            if (t > t1) return false;
            if (t > t0) t0 = t;
        } else {
            if (t < t0) return false;
            if (t < t1) t1 = t;
        }
    }
    return true;
}

// Halves away from zero, as lround does, for values within the margin's reach.
int roundedValue(double v) { return static_cast<int>(v >= 0 ? v + 0.5 : v - 0.5); }

CPoint rounded(double x, double y) { return CPoint(roundedValue(x), roundedValue(y)); }

}  // namespace

// Turns the walk's points into drawing calls for one pass: the area's fill, the line or
// the points.
class KWaveformPainter::Emitter {
public:
    enum Pass { FILL, LINE, POINTS };

    Emitter(CDC* dc, Pass pass, const Box& box, COLORREF color, int width, double baseRow, bool steps)
        : dc_(dc), pass_(pass), box_(box), color_(color), width_(width), baseRow_(baseRow),
          steps_(steps) {
        pointSize_ = std::max(3, width + 2);
    }
    ~Emitter() { gap(); }
    // Leaves out the lines and points that draw no pixel between columns left and right (the
    // device's clip): what is drawn there is the same pixels as without.
    void cull(double left, double right) {
        cullLeft_ = left;
        cullRight_ = right;
    }

    void sample(double x, double y) {
        x = std::clamp(x, box_.left - REACH, box_.right + REACH);
        y = std::clamp(y, box_.top - REACH, box_.bottom + REACH);
        // A step holds the last value up to this sample's time.
        if (steps_ && havePrevious_ && pass_ != POINTS && x != px_) {
            const double held = pass_ == FILL ? area_.back().y : py_;
            if (pass_ == FILL) {
                area_.push_back({x, held});
            } else {
                lineTo(x, held);
            }
        }
        if (pass_ != LINE) havePrevious_ = true;
        switch (pass_) {
            case FILL:
                area_.push_back({x, y});
                px_ = x;
                break;
            case LINE: lineTo(x, y); break;
            case POINTS: square(x, y, y); break;
        }
    }
    // A summarised column of the line: the line comes in to its first sample, covers every
    // row from its top to its bottom value once, and goes on from its last sample.
    void column(double x, double first, double top, double bottom, double last) {
        sample(x, first);
        const double t = std::max(top, box_.top), b = std::min(bottom, box_.bottom);
        if (t <= b && x >= box_.left && x <= box_.right && x >= cullLeft_ && x <= cullRight_) {
            const CPoint from = rounded(x, t), to = rounded(x, b);
            // The line in ends on the column, which covers its last pixel.
            const bool covered = width_ <= 1 && !run_.empty() && run_.back().x == from.x &&
                                 run_.back().y >= from.y && run_.back().y <= to.y;
            flushRun(!covered);
            dc_->MoveTo(from);
            dc_->LineTo(to.x, to.y + 1);
        } else {
            flushRun();
        }
        havePrevious_ = false;
        sample(x, last);
    }
    // A crowded column of the point styles: one band over its values' rows.
    void band(double x, double top, double bottom) {
        square(x, std::max(top, box_.top - REACH), std::min(bottom, box_.bottom + REACH));
    }
    // A break in the data.
    void gap() {
        if (pass_ == LINE) flushRun();
        if (pass_ == FILL) flushArea();
        havePrevious_ = false;
    }

private:
    void lineTo(double x, double y) {
        if (!havePrevious_) {
            havePrevious_ = true;
            px_ = x;
            py_ = y;
            if (box_.contains(x, y)) run_.push_back(rounded(x, y));
            return;
        }
        double t0, t1;
        const double ax = px_, ay = py_;
        px_ = x;
        py_ = y;
        if (std::max(ax, x) < cullLeft_ || std::min(ax, x) > cullRight_ ||
            !clipSegment(ax, ay, x, y, box_, t0, t1)) {
            flushRun();
            return;
        }
        if (t0 > 0.0 || run_.empty()) {
            flushRun();
            run_.push_back(rounded(ax + t0 * (x - ax), ay + t0 * (y - ay)));
        }
        run_.push_back(rounded(ax + t1 * (x - ax), ay + t1 * (y - ay)));
        if (t1 < 1.0) flushRun();
    }

    // Draws the run and its last pixel, which a line leaves out, so that a sample before a
    // gap, and a lone one, show (unless the caller covers it).
    void flushRun(bool withEnd = true) {
        if (run_.empty()) return;
        if (run_.size() == 2) {
            dc_->MoveTo(run_[0]);
            dc_->LineTo(run_[1].x, run_[1].y);
        } else if (run_.size() > 2) {
            dc_->Polyline(run_.data(), static_cast<int>(run_.size()));
        }
        const CPoint end = run_.back();
        if (!withEnd) {
            run_.clear();
            return;
        }
        if (width_ <= 1) {
            dc_->SetPixelV(end.x, end.y, color_);
        } else if (run_.size() == 1) {
            const int h = width_ / 2;
            dc_->FillSolidRect(end.x - h, end.y - h, width_, width_, color_);
        }
        run_.clear();
    }

    void square(double x, double top, double bottom) {
        const int h = pointSize_ / 2;
        if (x + h < box_.left || x - h > box_.right || bottom + h < box_.top ||
            top - h > box_.bottom || x + h < cullLeft_ || x - h > cullRight_) {
            return;
        }
        const double t = std::max(top, box_.top), b = std::min(bottom, box_.bottom);
        const CPoint a = rounded(x, t), z = rounded(x, b);
        dc_->FillSolidRect(a.x - h, a.y - h, pointSize_, z.y - a.y + pointSize_, color_);
    }

    // Fills the polygon under the run of points down to the baseline, clipped to the box.
    void flushArea() {
        if (area_.size() < 2) {
            area_.clear();
            return;
        }
        std::vector<Point> polygon;
        polygon.reserve(area_.size() + 2);
        polygon.push_back({area_.front().x, baseRow_});
        polygon.insert(polygon.end(), area_.begin(), area_.end());
        polygon.push_back({area_.back().x, baseRow_});
        area_.clear();
        clipPolygon(polygon);
        if (polygon.size() < 3) return;
        std::vector<CPoint> points;
        points.reserve(polygon.size());
        for (const Point& p : polygon) points.push_back(rounded(p.x, p.y));
        dc_->Polygon(points.data(), static_cast<int>(points.size()));
    }

    // Sutherland-Hodgman against the four sides of the box.
    void clipPolygon(std::vector<Point>& polygon) const {
        auto clipSide = [&polygon](auto inside, auto cross) {
            std::vector<Point> out;
            out.reserve(polygon.size() + 4);
            for (std::size_t i = 0; i < polygon.size(); ++i) {
                const Point& a = polygon[i];
                const Point& b = polygon[(i + 1) % polygon.size()];
                const bool ia = inside(a), ib = inside(b);
                if (ia) out.push_back(a);
                if (ia != ib) out.push_back(cross(a, b));
            }
            polygon.swap(out);
        };
        const Box r = box_;
        auto atX = [](const Point& a, const Point& b, double x) {
            return Point{x, a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x)};
        };
        auto atY = [](const Point& a, const Point& b, double y) {
            return Point{a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y), y};
        };
        clipSide([&](const Point& p) { return p.x >= r.left; },
                 [&](const Point& a, const Point& b) { return atX(a, b, r.left); });
        clipSide([&](const Point& p) { return p.x <= r.right; },
                 [&](const Point& a, const Point& b) { return atX(a, b, r.right); });
        clipSide([&](const Point& p) { return p.y >= r.top; },
                 [&](const Point& a, const Point& b) { return atY(a, b, r.top); });
        clipSide([&](const Point& p) { return p.y <= r.bottom; },
                 [&](const Point& a, const Point& b) { return atY(a, b, r.bottom); });
    }

    CDC* dc_;
    Pass pass_;
    Box box_;
    COLORREF color_;
    int width_;
    double baseRow_;
    bool steps_;
    int pointSize_;
    double cullLeft_ = -REACH * 2, cullRight_ = REACH * 2;
    bool havePrevious_ = false;
    double px_ = 0.0, py_ = 0.0;
    std::vector<CPoint> run_;
    std::vector<Point> area_;
};

KWaveformPainter::KWaveformPainter(const CRect& plot, double xMin, double xMax, double yMin,
                                   double yMax)
    : KWaveformPainter(plot, KColumnScale(xMin, xMax, plot.Width(), xMin), yMin, yMax) {}

KWaveformPainter::KWaveformPainter(const CRect& plot, const KColumnScale& columns, double yMin,
                                   double yMax)
    : plot_(plot), columns_(columns), yMax_(yMax) {
    const double h = plot.Height();
    valid_ = columns.isValid() && std::isfinite(yMin) && std::isfinite(yMax) && yMax > yMin &&
             plot.Width() >= 1 && h >= 1;
    if (!valid_) return;
    ky_ = h / (yMax - yMin);
    valid_ = std::isfinite(ky_);
}

double KWaveformPainter::columnOf(double x) const { return columns_.columnOf(x); }

double KWaveformPainter::rowOf(double y) const { return std::floor(ky_ * (yMax_ - y) + 0.5); }

int KWaveformPainter::firstAfter(const double* x, int from, int to, double column, int guess) const {
    int lo = from, hi = to;
    if (guess > 0 && from < to) {
        // The answer is most likely guess samples on: look there first, then widen the window
        // step by doubling step toward the answer.
        const auto after = [&](int k) { return columnOf(x[k]) > column; };
        int p = std::min(to - 1, from + guess - 1);
        if (after(p)) {
            hi = p;
            for (long step = 1; hi > from; step *= 2) {
                const int q = static_cast<int>(std::max<long>(from, hi - step));
                if (!after(q)) {
                    lo = q + 1;
                    break;
                }
                hi = q;
            }
            if (hi == from) return from;
        } else {
            lo = p + 1;
            hi = to;
            for (long step = 1; lo < to; step *= 2) {
                const int q = static_cast<int>(std::min<long>(to - 1, lo + step - 1));
                if (after(q)) {
                    hi = q;
                    break;
                }
                lo = q + 1;
            }
            if (lo >= to) return to;
        }
        // after(hi) holds, after(lo - 1) does not: the answer is in [lo, hi].
        hi += 1;
    }
    while (lo < hi) {
        const int mid = lo + (hi - lo) / 2;
        if (columnOf(x[mid]) > column) {
            hi = mid;
        } else {
            lo = mid + 1;
        }
    }
    return lo;
}

int KWaveformPainter::edgeReach(const double* x, int n, const KTraceSummary* summary,
                                bool right) const {
    const int w = plot_.Width();
    if (!valid_ || x == nullptr || n <= 0) return 0;
    if (summary == nullptr || !summary->isDomainOrdered() || summary->getCount() != n) return w + 1;
    // Segments are clipped to the box MARGIN outside the plot: the line that crosses it runs
    // from the last sample inside to the first beyond.
    double reach;
    if (right) {
        const int beyond = firstAfter(x, 0, n, w + MARGIN);
        if (beyond == 0 || beyond == n) return 0;
        reach = w - columnOf(x[beyond - 1]);
    } else {
        const int inside = firstAfter(x, 0, n, -MARGIN - 1.0);
        if (inside == 0 || inside == n) return 0;
        reach = columnOf(x[inside]);
    }
    return static_cast<int>(std::clamp(reach, 0.0, w + 0.0)) + 1;
}

void KWaveformPainter::summarise(const double* x, const double* y, int first, int last,
                                 const KTraceSummary& summary, Columns& out) const {
    std::vector<Column> before;
    before.swap(out.columns);
    // The samples in view and in the margin, and one on either side to draw the lines into
    // it from.
    out.lo = firstAfter(x, first, last, -MARGIN - 1.0);
    out.hi = firstAfter(x, out.lo, last, plot_.Width() + MARGIN);
    // After a pan by whole columns every sample lies that many columns over: the columns
    // still in view are taken over as they are, and only those that came into view are made.
    if (!before.empty() && out.key.width == plot_.Width() && columns_.isPanOf(out.key.scale)) {
        const double moved = out.key.scale.getFirst() - columns_.getFirst();
        auto inView = [&](const Column& c) {
            return c.column + moved >= -MARGIN && c.column + moved <= plot_.Width() + MARGIN;
        };
        const auto from = std::find_if(before.begin(), before.end(), inView);
        const auto to = std::find_if_not(from, before.end(), inView);
        if (from != to && from->first >= out.lo && (to - 1)->end <= out.hi) {
            summariseRun(x, y, out.lo, from->first, summary, {}, out.columns);
            for (auto c = from; c != to; ++c) {
                out.columns.push_back(*c);
                out.columns.back().column += moved;
            }
            summariseRun(x, y, (to - 1)->end, out.hi, summary, {}, out.columns);
            return;
        }
    }
    summariseRun(x, y, out.lo, out.hi, summary, before, out.columns);
}

void KWaveformPainter::summariseRun(const double* x, const double* y, int from, int to,
                                    const KTraceSummary& summary, const std::vector<Column>& before,
                                    std::vector<Column>& out) const {
    // The columns of the view before (of the same samples, or none) are taken over where
    // their samples still make one whole column of this view: a view that moved reads only
    // the ends of the columns it keeps, and their extremes come from the summary once.
    size_t next = 0;
    int guess = 1;
    for (int i = from; i < to;) {
        // The samples four columns on are most likely far in memory from these: their domain
        // and the block of values around where that column ends are fetched meanwhile.
        if (const int ahead = i + 4 * guess; ahead < to) {
            __builtin_prefetch(x + ahead);
            const int block = ahead & ~(KTraceSummary::BLOCK - 1);
            for (int k = block; k < block + KTraceSummary::BLOCK && k < to; k += 8) __builtin_prefetch(y + k);
        }
        const double column = columnOf(x[i]);
        while (next < before.size() && before[next].first < i) ++next;
        if (next < before.size() && before[next].first == i) {
            // The domain runs forward: the samples from i to end-1 are this column's alone
            // when the last of them is in it and the one after is not (or ends the run).
            const Column& kept = before[next];
            if (kept.end <= to && columnOf(x[kept.end - 1]) == column &&
                (kept.end == to || columnOf(x[kept.end]) > column)) {
                out.push_back(kept);
                out.back().column = column;
                guess = kept.end - i;
                i = kept.end;
                continue;
            }
        }
        const int j = firstAfter(x, i + 1, to, column, guess);
        guess = std::max(1, j - i);
        Column c{column, i, j, 0.0, 0.0, y[i], y[j - 1], true};
        if (j - i > POINTS_PER_COLUMN) {
            const KTraceSummary::Extremes e = summary.find(y, i, j);
            c.exact = e.gap;
            c.min = e.min;
            c.max = e.max;
        }
        out.push_back(c);
        i = j;
    }
}

void KWaveformPainter::draw(CDC* dc, const double* x, const double* y, int n,
                            const KTraceSummary* summary, int style, COLORREF color, int width,
                            double baseline, int first, int last, Columns* cache) {
    if (!valid_ || dc == nullptr || x == nullptr || y == nullptr || n <= 0) return;
    if (last < 0 || last > n) last = n;
    if (first < 0) first = 0;
    if (first >= last) return;
    if (style < LINE || style > LINE_POINT) style = LINE;
    const bool byColumns = !everySample_ && summary != nullptr && summary->isDomainOrdered() &&
                           summary->getCount() == n;
    const double left = plot_.left, top = plot_.top;
    // The drawing clip reaches one pixel past the plot, so that values at the view's upper
    // ends show on its edges.
    const Box box{left - MARGIN, top - MARGIN, plot_.right + MARGIN + 0.0, plot_.bottom + MARGIN + 0.0};
    const double baseRow = top + std::clamp(rowOf(baseline), -1.0, plot_.Height() + 1.0);

    // The columns of this view: those of the last paint when the view is the same.
    Columns local;
    Columns* columns = cache != nullptr ? cache : &local;
    if (byColumns) {
        const Columns::Key key{x, y, n, first, last, columns_, plot_.left, plot_.Width()};
        if (!(columns->key == key) || columns->columns.empty()) {
            const Columns::Key& was = columns->key;
            if (was.x != x || was.y != y || was.n != n || was.first != first || was.last != last) {
                columns->columns.clear();
            }
            summarise(x, y, first, last, *summary, *columns);
            columns->key = key;
        }
    }

    // On a raster device, only what reaches into the clip: a window repainting a strip of
    // the plot draws only the lines, points and area that cross it. Thin lines come out the
    // same to the pixel; the smoothed edges of wide ones may differ by a few levels, as any
    // clip makes them.
    CRect clip;
    const bool raster = dc->HasPixels() && dc->GetClipBox(&clip) != 1;
    auto pass = [&](Emitter::Pass kind) {
        Emitter out(dc, kind, box, color, width, baseRow, steps_);
        if (raster && kind != Emitter::FILL) {
            out.cull(clip.left - 1.0 - width, clip.right + 0.0 + width);
        }
        auto one = [&](int i) {
            if (std::isfinite(x[i]) && std::isfinite(y[i])) {
                out.sample(left + columnOf(x[i]), top + rowOf(y[i]));
            } else {
                out.gap();
            }
        };
        if (!byColumns) {
            for (int i = first; i < last; ++i) one(i);
            return;
        }
        // On a raster device only the columns that reach into the clip, and one on either
        // side for the lines (and the area's edges) into it: those elsewhere draw no pixel
        // there.
        const std::vector<Column>& all = columns->columns;
        std::size_t from = 0, to = all.size();
        if (raster) {
            const double reach = width + 2.0;
            from = std::lower_bound(all.begin(), all.end(), clip.left - left - reach,
                                    [](const Column& c, double v) { return c.column < v; }) -
                   all.begin();
            to = std::upper_bound(all.begin(), all.end(), clip.right - left + reach,
                                  [](double v, const Column& c) { return v < c.column; }) -
                 all.begin();
            if (from > 0) --from;
            if (to < all.size()) ++to;
        }
        if (from == 0 && columns->lo > first) one(columns->lo - 1);
        for (std::size_t i = from; i < to; ++i) {
            const Column& c = all[i];
            if (c.exact) {
                for (int k = c.first; k < c.end; ++k) one(k);
                continue;
            }
            const double px = left + c.column;
            const double minRow = top + rowOf(c.min), maxRow = top + rowOf(c.max);
            if (kind == Emitter::POINTS) {
                out.band(px, maxRow, minRow);
            } else if (kind == Emitter::LINE && width <= 1 && !steps_) {
                out.column(px, top + rowOf(c.start), maxRow, minRow, top + rowOf(c.stop));
            } else {
                const double a = c.start;
                out.sample(px, top + rowOf(a));
                // The nearer extreme first, as the samples would most likely go.
                if (a - c.min < c.max - a) {
                    out.sample(px, minRow);
                    out.sample(px, maxRow);
                } else {
                    out.sample(px, maxRow);
                    out.sample(px, minRow);
                }
                out.sample(px, top + rowOf(c.stop));
            }
        }
        if (to == all.size() && columns->hi < last) one(columns->hi);
    };

    const CPen pen = dc->SelectObject(CPen(PS_SOLID, width, color));
    if (style == AREA) {
        // A lighter shade of the colour under the line.
        auto tint = [](int c) { return c + (255 - c) * 3 / 4; };
        const COLORREF fill = RGB(tint(GetRValue(color)), tint(GetGValue(color)), tint(GetBValue(color)));
        const CPen none = dc->SelectObject(CPen(PS_NULL, 0, 0));
        const CBrush brush = dc->SelectObject(CBrush(fill));
        pass(Emitter::FILL);
        dc->SelectObject(brush);
        dc->SelectObject(none);
    }
    if (style != POINT) pass(Emitter::LINE);
    if (style == POINT || style == LINE_POINT) pass(Emitter::POINTS);
    dc->SelectObject(pen);
}
