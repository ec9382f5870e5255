#pragma once

#include <kalvo/resources/KImageResource.h>

// The library's named bitmaps and cursors. Names are matched ignoring case.
class KResources {
public:
    // "GRAPH_MARKERS" (11-pixel cells: 0 marker X, 1 marker O), "SEVEN_SEGMENT" (7x11
    // cells: digits 0 to 9, minus, point), "LABEL_ICONS" (16-pixel cells: information,
    // warning, error, question); null for an unknown name.
    static const KImageResource* findBitmap(const char* name);
    // "HAND_OPEN", "HAND_CLOSE", "HAND_POINT", "HORZ_APERTURE", "VERT_APERTURE",
    // "COMPONENT_DRAG"; null for an unknown name.
    static const KImageResource* findCursor(const char* name);

    static int getBitmapCount();
    static const KImageResource& getBitmap(int index);
    static int getCursorCount();
    static const KImageResource& getCursor(int index);
};
