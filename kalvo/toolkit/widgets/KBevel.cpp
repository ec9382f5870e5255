#include <kalvo/toolkit/widgets/KBevel.h>

#include <algorithm>

#include <kalvo/platform/SysColor.h>
#include <kalvo/toolkit/KGraphics.h>

void KBevel::drawButton(KGraphics& graphics, CRect rect, bool pressed) {
    if (rect.IsRectEmpty()) return;
    graphics.setColor(GetSysColor(COLOR_BTNFACE));
    graphics.fillRect(rect);
    if (pressed) {
        graphics.setColor(GetSysColor(COLOR_BTNSHADOW));
        graphics.drawRect(rect);
        return;
    }
    // Light and dark outside, highlight and shadow inside.
    graphics.getDC()->Draw3dRect(rect, GetSysColor(COLOR_3DLIGHT), GetSysColor(COLOR_3DDKSHADOW));
    rect.DeflateRect(1, 1);
    if (!rect.IsRectEmpty()) graphics.draw3DRect(rect, true);
}

namespace {

// The arrow as rows of pixels, from the tip (one pixel) to the base (2 * depth - 1 pixels).
void fillArrow(KGraphics& graphics, CPoint centre, int depth, KBevel::Direction direction) {
    // The tip stands half the depth before the centre, so the arrow sits in the middle.
    const int tip = (depth - 1) / 2;
    for (int i = 0; i < depth; ++i) {
        switch (direction) {
            case KBevel::UP:
                graphics.drawLine(centre.x - i, centre.y - tip + i, centre.x + i + 1,
                                  centre.y - tip + i);
                break;
            case KBevel::DOWN:
                graphics.drawLine(centre.x - i, centre.y + tip - i, centre.x + i + 1,
                                  centre.y + tip - i);
                break;
            case KBevel::LEFT:
                graphics.drawLine(centre.x - tip + i, centre.y - i, centre.x - tip + i,
                                  centre.y + i + 1);
                break;
            case KBevel::RIGHT:
                graphics.drawLine(centre.x + tip - i, centre.y - i, centre.x + tip - i,
                                  centre.y + i + 1);
                break;
        }
    }
}

}  // namespace

void KBevel::drawArrow(KGraphics& graphics, CRect rect, Direction direction, bool enabled,
                       bool pressed) {
    const int side = std::min(rect.Width(), rect.Height());
    if (side < 5) return;
    // A quarter of the side, but at least three rows while the face inside the bevel has
    // room for them.
    const int depth = std::min((side - 3) / 2, std::max(3, (side + 1) / 4));
    // The middle pixel of the rectangle; the base's middle pixel is on it.
    CPoint centre((rect.left + rect.right - 1) / 2, (rect.top + rect.bottom - 1) / 2);
    if (pressed) centre += CPoint(1, 1);
    if (!enabled) {
        graphics.setColor(GetSysColor(COLOR_BTNHIGHLIGHT));
        fillArrow(graphics, centre + CPoint(1, 1), depth, direction);
    }
    graphics.setColor(GetSysColor(enabled ? COLOR_BTNTEXT : COLOR_GRAYTEXT));
    fillArrow(graphics, centre, depth, direction);
}

void KBevel::drawGroove(KGraphics& graphics, int at, int from, int to, bool vertical) {
    const COLORREF colors[] = {GetSysColor(COLOR_BTNSHADOW), GetSysColor(COLOR_BTNHIGHLIGHT)};
    for (int i = 0; i < 2; ++i) {
        graphics.setColor(colors[i]);
        if (vertical) {
            graphics.drawLine(at + i, from, at + i, to);
        } else {
            graphics.drawLine(from, at + i, to, at + i);
        }
    }
}
