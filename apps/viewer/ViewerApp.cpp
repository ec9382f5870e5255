#include "ViewerApp.h"

#include "ViewerWindow.h"

ViewerApp::ViewerApp(ViewerOptions options)
    : options_(std::move(options)),
      application_(gtk_application_new("org.kalvo.Viewer", G_APPLICATION_NON_UNIQUE)) {
    g_signal_connect(application_, "startup", G_CALLBACK(onStartup), this);
    g_signal_connect(application_, "activate", G_CALLBACK(onActivate), this);
}

ViewerApp::~ViewerApp() {
    window_.reset();
    g_object_unref(application_);
}

int ViewerApp::run(const char* program) {
    // The options are the viewer's own, read already.
    char* argv[] = {const_cast<char*>(program), nullptr};
    const int status = g_application_run(G_APPLICATION(application_), 1, argv);
    window_.reset();
    return status;
}

namespace {

// Denser lists than the theme's: a record may have hundreds of channels.
const char* const STYLE =
    "list.channels row { padding: 0 2px; }"
    "list.channels dropdown > button { padding: 1px 6px; min-height: 22px; }"
    "list.channels checkbutton { padding: 2px; }"
    "label.heading { font-weight: bold; }";

}  // namespace

void ViewerApp::onStartup(GApplication* application, gpointer self) {
    GtkCssProvider* css = gtk_css_provider_new();
    gtk_css_provider_load_from_data(css, STYLE, -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(css),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(css);
    GSimpleAction* quit = g_simple_action_new("quit", nullptr);
    g_signal_connect(quit, "activate", G_CALLBACK(onQuit), self);
    g_action_map_add_action(G_ACTION_MAP(application), G_ACTION(quit));
    g_object_unref(quit);
    ViewerWindow::installAccelerators(GTK_APPLICATION(application));
}

void ViewerApp::onActivate(GApplication* application, gpointer self) {
    auto* app = static_cast<ViewerApp*>(self);
    if (app->window_ != nullptr) {
        gtk_window_present(app->window_->getWindow());
        return;
    }
    app->window_ = std::make_unique<ViewerWindow>(GTK_APPLICATION(application), app->options_);
    app->window_->open(app->options_.files);
}

void ViewerApp::onQuit(GSimpleAction*, GVariant*, gpointer self) {
    auto* app = static_cast<ViewerApp*>(self);
    if (app->window_ != nullptr) gtk_window_close(app->window_->getWindow());
}
