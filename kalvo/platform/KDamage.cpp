#include <kalvo/platform/KDamage.h>

#include <cstddef>
#include <cstdlib>
#include <cstdint>
#include <limits>

namespace {

std::int64_t area(const CRect& r) {
    return r.IsRectEmpty() ? 0 : static_cast<std::int64_t>(r.Width()) * r.Height();
}

// The pixels the union of a and b paints that neither of them needs.
std::int64_t waste(const CRect& a, const CRect& b) {
    CRect both, common;
    both.UnionRect(a, b);
    common.IntersectRect(a, b);
    return area(both) - (area(a) + area(b) - area(common));
}

// Worth painting as one: the union wastes at most a quarter of what the two cover.
bool mergeable(const CRect& a, const CRect& b) {
    CRect common;
    common.IntersectRect(a, b);
    return 4 * waste(a, b) <= area(a) + area(b) - area(common);
}

}  // namespace

void KDamage::add(CRect rect) {
    rect.NormalizeRect();
    if (rect.IsRectEmpty()) return;
    // A merged rectangle may now be worth merging with another: go round until none is.
    for (std::size_t i = 0; i < rects_.size();) {
        if (mergeable(rects_[i], rect)) {
            rect.UnionRect(rect, rects_[i]);
            rects_.erase(rects_.begin() + static_cast<std::ptrdiff_t>(i));
            i = 0;
        } else {
            ++i;
        }
    }
    rects_.push_back(rect);
    while (rects_.size() > static_cast<std::size_t>(MAX_RECTS)) {
        std::size_t a = 0, b = 1;
        std::int64_t least = std::numeric_limits<std::int64_t>::max();
        for (std::size_t i = 0; i < rects_.size(); ++i) {
            for (std::size_t j = i + 1; j < rects_.size(); ++j) {
                const std::int64_t w = waste(rects_[i], rects_[j]);
                if (w < least) {
                    least = w;
                    a = i;
                    b = j;
                }
            }
        }
        CRect merged;
        merged.UnionRect(rects_[a], rects_[b]);
        rects_.erase(rects_.begin() + static_cast<std::ptrdiff_t>(b));
        rects_.erase(rects_.begin() + static_cast<std::ptrdiff_t>(a));
        add(merged);
    }
}

CRect KDamage::getBounds() const {
    CRect bounds;
    for (const CRect& r : rects_) bounds.UnionRect(bounds, r);
    return bounds;
}

void KDamage::scroll(const CRect& area, int dx, int dy) {
    if (area.IsRectEmpty() || (dx == 0 && dy == 0)) return;
    std::vector<CRect> was;
    was.swap(rects_);
    for (const CRect& r : was) {
        CRect inside;
        if (!inside.IntersectRect(r, area)) {
            add(r);
            continue;
        }
        // A rectangle only partly in the area is still damaged where it was.
        if (inside != r) add(r);
        inside.OffsetRect(dx, dy);
        if (inside.IntersectRect(inside, area)) add(inside);
    }
    if (std::abs(dx) >= area.Width() || std::abs(dy) >= area.Height()) {
        add(area);
        return;
    }
    if (dx > 0) add(CRect(area.left, area.top, area.left + dx, area.bottom));
    if (dx < 0) add(CRect(area.right + dx, area.top, area.right, area.bottom));
    if (dy > 0) add(CRect(area.left, area.top, area.right, area.top + dy));
    if (dy < 0) add(CRect(area.left, area.bottom + dy, area.right, area.bottom));
}
