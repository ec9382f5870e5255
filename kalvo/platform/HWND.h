#pragma once

// The handle of a host window: an opaque pointer that the host gives out; null for none.
struct HWND__;
using HWND = HWND__*;
