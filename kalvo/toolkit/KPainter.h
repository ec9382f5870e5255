#pragma once

class KGraphics;

// Anything that can paint itself through a drawing context: components, and whatever the
// clipboard or an export renders.
class KPainter {
public:
    virtual ~KPainter() = default;
    virtual void paint(KGraphics& graphics) = 0;
};
