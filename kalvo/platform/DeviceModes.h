#pragma once

// Background modes: whether text, hatch and pattern gaps and dashed-pen gaps are filled
// with the background colour.
constexpr int TRANSPARENT = 1;
constexpr int OPAQUE = 2;

// Text alignment flags: horizontal (left, right, centre) and vertical (top, bottom,
// baseline) reference of the point given to TextOut.
constexpr unsigned TA_LEFT = 0;
constexpr unsigned TA_TOP = 0;
constexpr unsigned TA_RIGHT = 2;
constexpr unsigned TA_CENTER = 6;
constexpr unsigned TA_BOTTOM = 8;
constexpr unsigned TA_BASELINE = 24;

// Mapping modes. MM_TEXT maps one logical unit to one pixel; the others scale by the ratio
// of viewport extent to window extent.
constexpr int MM_TEXT = 1;
constexpr int MM_ISOTROPIC = 7;
constexpr int MM_ANISOTROPIC = 8;

// Polygon fill modes.
constexpr int ALTERNATE = 1;
constexpr int WINDING = 2;

// What GetPixel returns for a point outside the device or clip.
constexpr unsigned CLR_INVALID = 0xFFFFFFFF;
