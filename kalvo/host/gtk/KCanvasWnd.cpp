#include <kalvo/host/gtk/KCanvasWnd.h>

KCanvasWnd::KCanvasWnd(const char* title, int width, int height)
    : window_(GTK_WINDOW(gtk_window_new())) {
    g_object_ref(window_);
    gtk_window_set_hide_on_close(window_, TRUE);
    gtk_window_set_default_size(window_, width, height);
    setTitle(title);
    gtk_window_set_child(window_, view_.getWidget());
}

KCanvasWnd::~KCanvasWnd() {
    gtk_window_destroy(window_);
    g_object_unref(window_);
}

void KCanvasWnd::setTitle(const char* title) {
    gtk_window_set_title(window_, title != nullptr ? title : "");
}

void KCanvasWnd::show() {
    gtk_window_present(window_);
    gtk_widget_grab_focus(view_.getWidget());
}

void KCanvasWnd::hide() {
    gtk_widget_set_visible(GTK_WIDGET(window_), FALSE);
}

bool KCanvasWnd::isVisible() const {
    return gtk_widget_get_visible(GTK_WIDGET(window_));
}
