#pragma once

#include <functional>

#include <kalvo/platform/CPoint.h>
#include <kalvo/foundation/KString.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/platform/HWND.h>
#include <kalvo/resources/KMenuResource.h>

class CDC;

// All that the toolkit knows of the window system: the host that shows a tree of
// components. The root container of the tree holds it; every component reaches it through
// its ancestors. Points and rectangles are in the host's client coordinates, which are the
// root's parent coordinates. The clipboard is not here: hosts install theirs as the
// platform clipboard.
class KHost {
public:
    // Message box styles and answers.
    static constexpr unsigned MB_OK = 0x0;
    static constexpr unsigned MB_OKCANCEL = 0x1;
    static constexpr unsigned MB_YESNOCANCEL = 0x3;
    static constexpr unsigned MB_YESNO = 0x4;
    static constexpr unsigned MB_ICONERROR = 0x10;
    static constexpr unsigned MB_ICONQUESTION = 0x20;
    static constexpr unsigned MB_ICONWARNING = 0x30;
    static constexpr unsigned MB_ICONINFORMATION = 0x40;
    static constexpr int IDOK = 1;
    static constexpr int IDCANCEL = 2;
    static constexpr int IDYES = 6;
    static constexpr int IDNO = 7;

    KHost();
    KHost(const KHost&) = delete;
    KHost& operator=(const KHost&) = delete;
    virtual ~KHost();

    // The handle under which window-level services (the clipboard's owner, for one) name
    // this host, and the live host of a handle: null for none, or once the host is gone.
    HWND getWindow() const;
    static KHost* fromWindow(HWND window);
    // The client area, from (0, 0).
    virtual CRect getClientRect() const = 0;

    // Asks for the area to be painted again; erase asks for the background first.
    virtual void invalidateRect(const CRect& rect, bool erase) = 0;
    // Moves what the area shows by (dx, dy), as a pan moves a picture along, and asks for
    // what the move uncovers to be painted; areas waiting to be painted in it move along.
    // The tree must show the same there as before, moved. Hosts that keep no picture of
    // their own paint the whole area again (the default).
    virtual void scrollRect(const CRect& area, int dx, int dy);
    // Sends all mouse input to the tree until released, even from outside the client area.
    virtual void setCapture() = 0;
    virtual void releaseCapture() = 0;
    // Shows the cursor resource of that name; null or an unknown name shows the arrow.
    virtual void setCursor(const char* resourceName) = 0;
    // Where the pointer is, in client coordinates.
    virtual CPoint getCursorPos() const = 0;
    // Client to screen coordinates.
    virtual CPoint clientToScreen(CPoint point) const = 0;

    // Calls the callback every interval until the timer is killed; a non-zero timer id.
    virtual unsigned setTimer(unsigned intervalMs, std::function<void()> callback) = 0;
    virtual void killTimer(unsigned timerId) = 0;
    // Runs the task later on the interface thread, after the current event.
    virtual void postTask(std::function<void()> task) = 0;

    // Shows the popup at the client point and waits for the choice: the chosen item's
    // command number, or 0 when the menu was dismissed.
    virtual unsigned trackPopupMenu(const KMenuResource::Item& popup, CPoint at) = 0;
    // Asks a question; the answer is one of the ID values.
    virtual int messageBox(const char* text, const char* caption, unsigned style) = 0;
    // Asks for the name of a file to write ("Name (*.ext)" filter, default extension);
    // empty when the user cancels.
    virtual KString getSaveFileName(const char* filter, const char* extension) = 0;

    // Shows a tooltip (lines separated by line feeds, tabs between columns) near the
    // client point, replacing the one shown; hideTooltip takes it away. A host may wait a
    // moment before it shows one.
    virtual void showTooltip(const char* text, CPoint at) = 0;
    virtual void hideTooltip() = 0;

    // A device context for measuring text as it will be drawn; owned by the host.
    virtual CDC* getMeasureDC() = 0;
    // A new device context drawing straight onto the client area, for rubber bands and
    // other immediate feedback; the caller deletes it.
    virtual CDC* createClientDC() = 0;
};
