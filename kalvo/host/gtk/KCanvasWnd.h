#pragma once

#include <gtk/gtk.h>

#include <kalvo/host/gtk/KCanvasView.h>

// A top-level window whose whole client area is a canvas view: the simplest way to show a
// tree of components on the desktop. Closing the window hides it; the window and its view
// go with this object.
class KCanvasWnd {
public:
    KCanvasWnd(const char* title, int width, int height);
    ~KCanvasWnd();
    KCanvasWnd(const KCanvasWnd&) = delete;
    KCanvasWnd& operator=(const KCanvasWnd&) = delete;

    KCanvasView& getView() { return view_; }
    GtkWindow* getWindow() const { return window_; }
    void setTitle(const char* title);
    void show();
    void hide();
    bool isVisible() const;

private:
    KCanvasView view_;
    GtkWindow* window_;
};
