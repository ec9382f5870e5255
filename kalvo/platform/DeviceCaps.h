#pragma once

// Indices of CDC::GetDeviceCaps.
constexpr int HORZRES = 8;     // width in pixels
constexpr int VERTRES = 10;    // height in pixels
constexpr int BITSPIXEL = 12;  // colour bits per pixel
constexpr int PLANES = 14;
constexpr int NUMCOLORS = 24;  // number of colours; -1 above 256
constexpr int LOGPIXELSX = 88; // pixels per inch
constexpr int LOGPIXELSY = 90;
