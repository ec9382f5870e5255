#pragma once

#include <vector>

#include <gtk/gtk.h>

#include <kalvo/foundation/KString.h>

// The questions a host asks the user, as GTK dialogs over a parent window, each waiting for
// the answer.
class KGtkDialogs {
public:
    KGtkDialogs() = delete;

    // A message box of KHost's styles (buttons and icon); the answer is one of KHost's ID
    // values. Closing the box answers Cancel where it has a Cancel button, No for Yes/No and
    // OK for a box with OK alone.
    static int messageBox(GtkWidget* parent, const char* text, const char* caption, unsigned style);
    // The name of a file to write, offered with a filter of "Name (*.ext)" (several may be
    // given, separated by '|'); the extension is added to a name given without one. Empty
    // when the user cancels.
    static KString getSaveFileName(GtkWidget* parent, const char* title, const char* filter,
                                   const char* extension, const char* suggested = nullptr);
    // Names of files to read; empty when the user cancels.
    static std::vector<KString> getOpenFileNames(GtkWidget* parent, const char* title,
                                                 const char* filter);

private:
    static GtkWindow* windowOf(GtkWidget* widget);
    static void addFilters(GtkFileChooser* chooser, const char* filter);
    static int runDialog(GtkDialog* dialog);
};
