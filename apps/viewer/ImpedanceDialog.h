#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtk/gtk.h>

#include <kalvo/plot/KImpedanceSettings.h>

class KGtkModalLoop;

// The dialog of a tab's impedance settings: the magnitude and angle of k0, and the zones in a
// list, each mho (reach, angle, offset) or quadrilateral (reactive reach, resistive reach,
// line angle), added and removed there. OK reads every field; the first that holds what it
// does not take is told through the error function, naming the field and the text, and
// takes the keyboard while the dialog stays as it was.
class ImpedanceDialog {
public:
    using ErrorFunction = std::function<void(const std::string& text, GtkWidget* over)>;

    // ohms: what the record's values are ("primary", "secondary"), for the zones' heading;
    // changed: called when a zone is added or removed.
    ImpedanceDialog(GtkWindow* parent, const KImpedanceSettings& settings,
                    const std::string& ohms, ErrorFunction error, std::function<void()> changed);
    ~ImpedanceDialog();
    ImpedanceDialog(const ImpedanceDialog&) = delete;
    ImpedanceDialog& operator=(const ImpedanceDialog&) = delete;

    // Waits for the user: true, with the settings, when OK took them; false for Cancel.
    bool run(KImpedanceSettings& settings);
    int getZoneCount() const { return static_cast<int>(zones_.size()); }

private:
    struct ZoneRow;

    static void onResponse(GtkDialog*, int response, gpointer self);
    static void onAddMho(GtkButton*, gpointer self);
    static void onAddQuad(GtkButton*, gpointer self);
    static void onRemove(GtkButton* button, gpointer self);
    static void onKindChanged(GObject* kind, GParamSpec*, gpointer self);

    // A labelled entry at column and row of the grid, the label made given back.
    GtkWidget* addEntry(GtkWidget* grid, int column, int row, const char* mnemonic,
                        GtkWidget** label = nullptr);
    void addZone(const KImpedanceSettings::Zone& zone);
    // The zones' names ("Zone 2") and their fields' labels, after a change to the list.
    void relabel();
    // The settings the fields hold; false, having told why, when a field's text is refused.
    bool read(KImpedanceSettings& settings);

    GtkWidget* dialog_;
    GtkWidget* k0Magnitude_;
    GtkWidget* k0Angle_;
    GtkWidget* zoneList_;
    std::vector<std::unique_ptr<ZoneRow>> zones_;
    ErrorFunction error_;
    std::function<void()> changed_;
    KImpedanceSettings result_;
    bool accepted_ = false;
    KGtkModalLoop* loop_ = nullptr;  // while run waits
};
