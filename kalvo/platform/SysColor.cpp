#include <kalvo/platform/SysColor.h>

COLORREF GetSysColor(int index) {
    static constexpr COLORREF scheme[] = {
        RGB(192, 192, 192),  // scroll bar
        RGB(0, 128, 128),    // desktop
        RGB(0, 0, 128),      // active caption
        RGB(128, 128, 128),  // inactive caption
        RGB(192, 192, 192),  // menu
        RGB(255, 255, 255),  // window
        RGB(0, 0, 0),        // window frame
        RGB(0, 0, 0),        // menu text
        RGB(0, 0, 0),        // window text
        RGB(255, 255, 255),  // caption text
        RGB(192, 192, 192),  // active border
        RGB(192, 192, 192),  // inactive border
        RGB(128, 128, 128),  // application workspace
        RGB(0, 0, 128),      // highlight
        RGB(255, 255, 255),  // highlight text
        RGB(192, 192, 192),  // button face
        RGB(128, 128, 128),  // button shadow
        RGB(128, 128, 128),  // grey text
        RGB(0, 0, 0),        // button text
        RGB(192, 192, 192),  // inactive caption text
        RGB(255, 255, 255),  // button highlight
        RGB(0, 0, 0),        // 3-D dark shadow
        RGB(223, 223, 223),  // 3-D light
        RGB(0, 0, 0),        // tool tip text
        RGB(255, 255, 225),  // tool tip background
    };
    if (index < 0 || index >= static_cast<int>(sizeof scheme / sizeof scheme[0])) return 0;
    return scheme[index];
}
