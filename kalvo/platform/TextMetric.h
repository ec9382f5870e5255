#pragma once

// Metrics of the font selected in a device context, in logical units.
struct TEXTMETRIC {
    int tmHeight;           // ascent + descent
    int tmAscent;           // above the baseline
    int tmDescent;          // below the baseline
    int tmInternalLeading;  // accent room inside tmHeight
    int tmExternalLeading;  // extra room between lines
    int tmAveCharWidth;
    int tmMaxCharWidth;
    int tmWeight;
    bool tmItalic;
};
