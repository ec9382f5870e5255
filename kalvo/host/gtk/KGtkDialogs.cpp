#include <kalvo/host/gtk/KGtkDialogs.h>

#include <cstring>
#include <string>

#include <kalvo/host/gtk/KGtkModalLoop.h>
#include <kalvo/platform/KHost.h>

namespace {

struct Answer {
    KGtkModalLoop loop;
    int response = GTK_RESPONSE_NONE;
};

void onResponse(GtkDialog*, int response, gpointer data) {
    auto* answer = static_cast<Answer*>(data);
    answer->response = response;
    answer->loop.quit();
}

// "Name (*.a;*.b)" gives "Name (*.a;*.b)" and the patterns "*.a" and "*.b".
void patternsOf(const std::string& filter, std::string& name, std::vector<std::string>& patterns) {
    name = filter;
    const size_t open = filter.find('('), close = filter.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open) return;
    const std::string inside = filter.substr(open + 1, close - open - 1);
    size_t start = 0;
    while (start <= inside.size()) {
        size_t end = inside.find_first_of(";, ", start);
        if (end == std::string::npos) end = inside.size();
        if (end > start) patterns.push_back(inside.substr(start, end - start));
        start = end + 1;
    }
}

}  // namespace

GtkWindow* KGtkDialogs::windowOf(GtkWidget* widget) {
    if (widget == nullptr) return nullptr;
    GtkRoot* root = gtk_widget_get_root(widget);
    return root != nullptr && GTK_IS_WINDOW(root) ? GTK_WINDOW(root) : nullptr;
}

int KGtkDialogs::runDialog(GtkDialog* dialog) {
    Answer answer;
    const gulong handler = g_signal_connect(dialog, "response", G_CALLBACK(onResponse), &answer);
    gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
    gtk_window_present(GTK_WINDOW(dialog));
    answer.loop.run();
    g_signal_handler_disconnect(dialog, handler);
    return answer.response;
}

int KGtkDialogs::messageBox(GtkWidget* parent, const char* text, const char* caption,
                            unsigned style) {
    GtkMessageType type = GTK_MESSAGE_OTHER;
    switch (style & 0xF0) {
        case KHost::MB_ICONERROR:
            type = GTK_MESSAGE_ERROR;
            break;
        case KHost::MB_ICONQUESTION:
            type = GTK_MESSAGE_QUESTION;
            break;
        case KHost::MB_ICONWARNING:
            type = GTK_MESSAGE_WARNING;
            break;
        case KHost::MB_ICONINFORMATION:
            type = GTK_MESSAGE_INFO;
            break;
        default:
            break;
    }
    GtkWidget* box = gtk_message_dialog_new(windowOf(parent), GTK_DIALOG_MODAL, type,
                                            GTK_BUTTONS_NONE, "%s", text != nullptr ? text : "");
    if (caption != nullptr) gtk_window_set_title(GTK_WINDOW(box), caption);
    auto add = [&](const char* label, int id) {
        gtk_dialog_add_button(GTK_DIALOG(box), label, id);
    };
    const unsigned buttons = style & 0xF;
    int closed = KHost::IDCANCEL;
    switch (buttons) {
        case KHost::MB_OKCANCEL:
            add("_Cancel", KHost::IDCANCEL);
            add("_OK", KHost::IDOK);
            gtk_dialog_set_default_response(GTK_DIALOG(box), KHost::IDOK);
            break;
        case KHost::MB_YESNOCANCEL:
            add("_Cancel", KHost::IDCANCEL);
            add("_No", KHost::IDNO);
            add("_Yes", KHost::IDYES);
            gtk_dialog_set_default_response(GTK_DIALOG(box), KHost::IDYES);
            break;
        case KHost::MB_YESNO:
            add("_No", KHost::IDNO);
            add("_Yes", KHost::IDYES);
            gtk_dialog_set_default_response(GTK_DIALOG(box), KHost::IDYES);
            closed = KHost::IDNO;
            break;
        default:
            add("_OK", KHost::IDOK);
            gtk_dialog_set_default_response(GTK_DIALOG(box), KHost::IDOK);
            closed = KHost::IDOK;
            break;
    }
    const int response = runDialog(GTK_DIALOG(box));
    gtk_window_destroy(GTK_WINDOW(box));
    return response > 0 ? response : closed;
}

void KGtkDialogs::addFilters(GtkFileChooser* chooser, const char* filter) {
    if (filter == nullptr || *filter == '\0') return;
    const std::string all(filter);
    size_t start = 0;
    while (start < all.size()) {
        size_t end = all.find('|', start);
        if (end == std::string::npos) end = all.size();
        std::string name;
        std::vector<std::string> patterns;
        patternsOf(all.substr(start, end - start), name, patterns);
        GtkFileFilter* f = gtk_file_filter_new();
        gtk_file_filter_set_name(f, name.c_str());
        for (const std::string& p : patterns)
            gtk_file_filter_add_suffix(f, p.substr(p.find('.') + 1).c_str());
        if (patterns.empty()) gtk_file_filter_add_pattern(f, "*");
        gtk_file_chooser_add_filter(chooser, f);
        g_object_unref(f);
        start = end + 1;
    }
    GtkFileFilter* any = gtk_file_filter_new();
    gtk_file_filter_set_name(any, "All files");
    gtk_file_filter_add_pattern(any, "*");
    gtk_file_chooser_add_filter(chooser, any);
    g_object_unref(any);
}

KString KGtkDialogs::getSaveFileName(GtkWidget* parent, const char* title, const char* filter,
                                     const char* extension, const char* suggested) {
    GtkWidget* dialog = gtk_file_chooser_dialog_new(
        title != nullptr ? title : "Save As", windowOf(parent), GTK_FILE_CHOOSER_ACTION_SAVE,
        "_Cancel", GTK_RESPONSE_CANCEL, "_Save", GTK_RESPONSE_ACCEPT, nullptr);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_ACCEPT);
    addFilters(GTK_FILE_CHOOSER(dialog), filter);
    if (suggested != nullptr && *suggested != '\0')
        gtk_file_chooser_set_current_name(GTK_FILE_CHOOSER(dialog), suggested);
    KString path;
    if (runDialog(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT) {
        GFile* file = gtk_file_chooser_get_file(GTK_FILE_CHOOSER(dialog));
        if (char* name = file != nullptr ? g_file_get_path(file) : nullptr) {
            std::string chosen(name);
            g_free(name);
            const size_t slash = chosen.rfind('/');
            const std::string base = chosen.substr(slash == std::string::npos ? 0 : slash + 1);
            if (extension != nullptr && *extension != '\0' && base.find('.') == std::string::npos) {
                chosen += extension[0] == '.' ? extension : (std::string(".") + extension);
            }
            path = chosen.c_str();
        }
        if (file != nullptr) g_object_unref(file);
    }
    gtk_window_destroy(GTK_WINDOW(dialog));
    return path;
}

std::vector<KString> KGtkDialogs::getOpenFileNames(GtkWidget* parent, const char* title,
                                                   const char* filter) {
    GtkWidget* dialog = gtk_file_chooser_dialog_new(
        title != nullptr ? title : "Open", windowOf(parent), GTK_FILE_CHOOSER_ACTION_OPEN,
        "_Cancel", GTK_RESPONSE_CANCEL, "_Open", GTK_RESPONSE_ACCEPT, nullptr);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_ACCEPT);
    gtk_file_chooser_set_select_multiple(GTK_FILE_CHOOSER(dialog), TRUE);
    addFilters(GTK_FILE_CHOOSER(dialog), filter);
    std::vector<KString> paths;
    if (runDialog(GTK_DIALOG(dialog)) == GTK_RESPONSE_ACCEPT) {
        GListModel* files = gtk_file_chooser_get_files(GTK_FILE_CHOOSER(dialog));
        for (guint i = 0; i < g_list_model_get_n_items(files); ++i) {
            auto* file = G_FILE(g_list_model_get_item(files, i));
            if (char* name = g_file_get_path(file)) {
                paths.emplace_back(name);
                g_free(name);
            }
            g_object_unref(file);
        }
        g_object_unref(files);
    }
    gtk_window_destroy(GTK_WINDOW(dialog));
    return paths;
}
