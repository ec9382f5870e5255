#pragma once

// The six standard hatch styles of hatched brushes.
constexpr int HS_HORIZONTAL = 0;  // -----
constexpr int HS_VERTICAL = 1;    // |||||
constexpr int HS_FDIAGONAL = 2;   // \\\\\ (top left to bottom right)
constexpr int HS_BDIAGONAL = 3;   // ///// (bottom left to top right)
constexpr int HS_CROSS = 4;       // +++++
constexpr int HS_DIAGCROSS = 5;   // xxxxx
