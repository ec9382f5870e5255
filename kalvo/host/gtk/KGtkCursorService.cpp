#include <kalvo/host/gtk/KGtkCursorService.h>

#include <gtk/gtk.h>

void KGtkCursorService::beginWaitCursor() {
    if (depth_++ == 0) show("wait");
}

void KGtkCursorService::endWaitCursor() {
    if (depth_ == 0) return;
    if (--depth_ == 0) show(nullptr);
}

void KGtkCursorService::show(const char* name) {
    GListModel* windows = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
        auto* window = GTK_WIDGET(g_list_model_get_item(windows, i));
        gtk_widget_set_cursor_from_name(window, name);
        g_object_unref(window);
    }
    // The work goes on without returning to the main loop: the cursor must reach the
    // display now.
    if (GdkDisplay* display = gdk_display_get_default()) gdk_display_flush(display);
}
