#pragma once

#include <kalvo/platform/CRect.h>
#include <kalvo/platform/HWND.h>

class CDC;

// What the toolkit needs of a host window: its handle, its client area and a device context
// that draws on that client area. Hosts implement it.
class CWnd {
public:
    virtual ~CWnd() = default;

    virtual HWND GetSafeHwnd() const = 0;
    virtual void GetClientRect(RECT* rect) const = 0;
    // A new device context for the client area (the window's client DC); the caller
    // deletes it.
    virtual CDC* CreateClientDC() = 0;
    // Asks for the area (the whole client area when null) to be painted again.
    virtual void InvalidateRect(const RECT* rect, bool erase = true) = 0;
};
