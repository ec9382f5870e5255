#pragma once

#include <memory>

#include <gtk/gtk.h>

#include "ViewerOptions.h"

class ViewerWindow;

// The viewer as a desktop application: its window, its keys, and the files of the command
// line opened once the window shows. Several viewers may run side by side.
class ViewerApp {
public:
    explicit ViewerApp(ViewerOptions options);
    ~ViewerApp();
    ViewerApp(const ViewerApp&) = delete;
    ViewerApp& operator=(const ViewerApp&) = delete;

    // Runs until the window closes or Quit is chosen; the exit status.
    int run(const char* program);

private:
    static void onStartup(GApplication* application, gpointer self);
    static void onActivate(GApplication* application, gpointer self);
    static void onQuit(GSimpleAction*, GVariant*, gpointer self);

    ViewerOptions options_;
    GtkApplication* application_;
    std::unique_ptr<ViewerWindow> window_;
};
