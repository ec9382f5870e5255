#pragma once

#include <kalvo/platform/CRect.h>

class KGraphics;

// The raised look that the widgets share: push buttons with a two-pixel bevel in the system
// colours, and the arrows on them.
class KBevel {
public:
    enum Direction { UP, DOWN, LEFT, RIGHT };

    KBevel() = delete;

    // A button face filling the rectangle: raised, or flat with a shadow frame when pressed.
    static void drawButton(KGraphics& graphics, CRect rect, bool pressed);
    // A solid arrow centred in the rectangle, moved a pixel down and right when pressed;
    // etched in grey when disabled. Its size follows the rectangle's smaller side.
    static void drawArrow(KGraphics& graphics, CRect rect, Direction direction, bool enabled,
                          bool pressed);
    // A groove across a bar: a shadow line and a highlight line beside it, from `from` to
    // `to` (exclusive) at `at`, running vertically when `vertical`.
    static void drawGroove(KGraphics& graphics, int at, int from, int to, bool vertical);
};
