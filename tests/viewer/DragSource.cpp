// A window to drag files from, as a file manager's would be: the tests drop them on the
// viewer with the mouse.
//
//   kalvo_test_drag_source FILE...
#include <gtk/gtk.h>

namespace {

GdkContentProvider* onPrepare(GtkDragSource*, double, double, gpointer files) {
    return gdk_content_provider_new_typed(GDK_TYPE_FILE_LIST, static_cast<GSList*>(files));
}

}  // namespace

int main(int argc, char** argv) {
    gtk_init();
    GSList* files = nullptr;
    for (int i = argc - 1; i >= 1; --i)
        files = g_slist_prepend(files, g_file_new_for_path(argv[i]));
    GtkWidget* window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(window), "Kalvo drag source");
    gtk_window_set_default_size(GTK_WINDOW(window), 220, 80);
    GtkWidget* label = gtk_label_new("records to drag");
    GtkDragSource* source = gtk_drag_source_new();
    gtk_drag_source_set_actions(source, GDK_ACTION_COPY);
    g_signal_connect(source, "prepare", G_CALLBACK(onPrepare), files);
    gtk_widget_add_controller(label, GTK_EVENT_CONTROLLER(source));
    gtk_window_set_child(GTK_WINDOW(window), label);
    gtk_window_present(GTK_WINDOW(window));
    while (g_list_model_get_n_items(gtk_window_get_toplevels()) > 0)
        g_main_context_iteration(nullptr, TRUE);
    g_slist_free_full(files, g_object_unref);
    return 0;
}
