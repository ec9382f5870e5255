#pragma once

#include <vector>

#include <kalvo/platform/CRect.h>

// The part of a window that needs painting again, kept as a few rectangles rather than the
// one that holds them all: a marker line moved in the time graph and a table redrawn at the
// bottom of the frame are two small areas, not the frame between them. A rectangle is
// merged into another when their union covers little more than the two do; beyond
// MAX_RECTS, the two whose union wastes least are merged. Rectangles may overlap, so a pixel
// can be painted twice, never missed.
class KDamage {
public:
    static constexpr int MAX_RECTS = 8;

    // Adds the rectangle (normalised first); an empty one adds nothing.
    void add(CRect rect);
    void clear() { rects_.clear(); }
    bool isEmpty() const { return rects_.empty(); }
    // The pixels of the area moved by (dx, dy): damage in the area moves along with them,
    // and what the move uncovers is damaged.
    void scroll(const CRect& area, int dx, int dy);
    const std::vector<CRect>& getRects() const { return rects_; }
    // The smallest rectangle that holds every damaged one; empty when nothing is damaged.
    CRect getBounds() const;

private:
    std::vector<CRect> rects_;
};
