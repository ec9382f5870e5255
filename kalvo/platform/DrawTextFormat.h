#pragma once

// Format flags of CDC::DrawText.
constexpr unsigned DT_TOP = 0x00000;
constexpr unsigned DT_LEFT = 0x00000;
constexpr unsigned DT_CENTER = 0x00001;
constexpr unsigned DT_RIGHT = 0x00002;
constexpr unsigned DT_VCENTER = 0x00004;
constexpr unsigned DT_BOTTOM = 0x00008;
constexpr unsigned DT_WORDBREAK = 0x00010;
constexpr unsigned DT_SINGLELINE = 0x00020;
constexpr unsigned DT_EXPANDTABS = 0x00040;
constexpr unsigned DT_NOCLIP = 0x00100;
constexpr unsigned DT_CALCRECT = 0x00400;
constexpr unsigned DT_NOPREFIX = 0x00800;
constexpr unsigned DT_END_ELLIPSIS = 0x08000;
// With DT_END_ELLIPSIS, writes the shortened text back into the caller's buffer, which must
// have room for four more characters than the text.
constexpr unsigned DT_MODIFYSTRING = 0x10000;
