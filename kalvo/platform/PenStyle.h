#pragma once

// Pen styles. Dashed styles apply to pens of width 0 or 1; wider pens draw solid.
constexpr int PS_SOLID = 0;
constexpr int PS_DASH = 1;        // -------
constexpr int PS_DOT = 2;         // .......
constexpr int PS_DASHDOT = 3;     // _._._._
constexpr int PS_DASHDOTDOT = 4;  // _.._.._
constexpr int PS_NULL = 5;
constexpr int PS_INSIDEFRAME = 6;

// Every dashed style's pattern repeats after this many pixels.
constexpr int PS_PATTERN_PERIOD = 24;
