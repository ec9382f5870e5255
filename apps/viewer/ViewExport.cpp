#include "ViewExport.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include <kalvo/foundation/KException.h>
#include <kalvo/platform/CCairoDC.h>
#include <kalvo/toolkit/KComponent.h>
#include <kalvo/toolkit/KGraphics.h>

#include "OutputFile.h"

const char* const ViewExport::FORMATS[4] = {"png", "svg", "pdf", "emf"};

const char* ViewExport::filterOf(const std::string& format) {
    if (format == "png") return "PNG picture (*.png)";
    if (format == "svg") return "SVG picture (*.svg)";
    if (format == "pdf") return "PDF document (*.pdf)";
    return "Enhanced metafile (*.emf)";
}

void ViewExport::write(KComponent& component, const std::string& path) {
    const size_t dot = path.rfind('.');
    std::string extension = dot == std::string::npos ? "" : path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    if (std::none_of(std::begin(FORMATS), std::end(FORMATS),
                     [&](const char* f) { return extension == f; })) {
        KException::raise("Export", "%s: unknown picture type '%s' (use .png, .svg, .pdf or .emf)",
                          path.c_str(), extension.c_str());
    }
    // Written under a temporary name of the same extension, put in place when complete.
    OutputFile output(path);
    const std::string& temporary = output.getTemporaryPath();
    if (extension == "png") {
        const CSize size = component.getSize();
        std::unique_ptr<CCairoDC> dc(CCairoDC::CreateImage(size.cx, size.cy));
        {
            KGraphics graphics(dc.get());
            graphics.setOrigin(component.getLocation());
            component.paintAll(graphics);
        }
        if (!dc->WritePNG(temporary.c_str()))
            KException::raise("Export", "%s: cannot be written", path.c_str());
    } else {
        try {
            component.createMetaFile(temporary.c_str());
        } catch (const KException&) {
            KException::raise("Export", "%s: cannot be written", path.c_str());
        }
    }
    output.commit();
}

namespace {

struct PrintJob {
    KComponent* component;
};

void drawPage(GtkPrintOperation*, GtkPrintContext* context, int, gpointer data) {
    auto* job = static_cast<PrintJob*>(data);
    const CSize size = job->component->getSize();
    const double width = gtk_print_context_get_width(context),
                 height = gtk_print_context_get_height(context);
    cairo_t* cr = gtk_print_context_get_cairo_context(context);
    // The whole view on the page, its proportions kept.
    const double scale = std::min(width / std::max(1L, static_cast<long>(size.cx)),
                                  height / std::max(1L, static_cast<long>(size.cy)));
    cairo_save(cr);
    cairo_translate(cr, (width - scale * size.cx) / 2, (height - scale * size.cy) / 2);
    cairo_scale(cr, scale, scale);
    {
        CCairoDC dc(cr);
        dc.SetPrinting(true);
        KGraphics graphics(&dc);
        graphics.setOrigin(job->component->getLocation());
        job->component->paintAll(graphics);
    }
    cairo_restore(cr);
}

}  // namespace

bool ViewExport::print(KComponent& component, GtkWindow* parent, const std::string& jobName) {
    PrintJob job{&component};
    GtkPrintOperation* operation = gtk_print_operation_new();
    gtk_print_operation_set_n_pages(operation, 1);
    gtk_print_operation_set_job_name(operation, jobName.c_str());
    GtkPageSetup* setup = gtk_page_setup_new();
    gtk_page_setup_set_orientation(setup, component.getSize().cx >= component.getSize().cy
                                              ? GTK_PAGE_ORIENTATION_LANDSCAPE
                                              : GTK_PAGE_ORIENTATION_PORTRAIT);
    gtk_print_operation_set_default_page_setup(operation, setup);
    g_object_unref(setup);
    g_signal_connect(operation, "draw-page", G_CALLBACK(drawPage), &job);
    GError* error = nullptr;
    const GtkPrintOperationResult result =
        gtk_print_operation_run(operation, GTK_PRINT_OPERATION_ACTION_PRINT_DIALOG, parent, &error);
    g_object_unref(operation);
    if (result == GTK_PRINT_OPERATION_RESULT_ERROR) {
        const std::string text = error != nullptr ? error->message : "unknown error";
        g_clear_error(&error);
        KException::raise("Print", "Printing failed: %s", text.c_str());
    }
    return result == GTK_PRINT_OPERATION_RESULT_APPLY;
}
