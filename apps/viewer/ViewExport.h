#pragma once

#include <string>

#include <gtk/gtk.h>

class KComponent;

// A view as a picture or on paper.
class ViewExport {
public:
    ViewExport() = delete;

    // The formats by their extension, as the Export menu offers them.
    static const char* const FORMATS[4];  // "png", "svg", "pdf", "emf"
    // The file dialog's filter of a format ("PNG picture (*.png)").
    static const char* filterOf(const std::string& format);

    // Writes the component's picture, in the format of the file's extension. What was at the
    // path stays until the picture is complete. Raises KException naming the file when it
    // cannot be written.
    static void write(KComponent& component, const std::string& path);
    // Prints the component on a page, scaled to fit; asks the user for the printer. False
    // when the user cancels; raises KException when printing fails.
    static bool print(KComponent& component, GtkWindow* parent, const std::string& jobName);
};
