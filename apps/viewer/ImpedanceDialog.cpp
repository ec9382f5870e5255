#include "ImpedanceDialog.h"

#include <algorithm>
#include <cstdio>

#include <kalvo/foundation/KException.h>
#include <kalvo/host/gtk/KGtkModalLoop.h>

namespace {

enum Column { NAME, KIND, FIRST_LABEL, REMOVE = FIRST_LABEL + 6 };

// The labels and, for messages, the names of a zone's three fields.
const char* const MHO_LABELS[3] = {"Reach Ω", "Angle °", "Offset Ω"};
const char* const QUAD_LABELS[3] = {"X reach Ω", "R reach Ω", "Line angle °"};
const char* const MHO_NAMES[3] = {"reach", "angle", "offset"};
const char* const QUAD_NAMES[3] = {"reactive reach", "resistive reach", "line angle"};

std::string text(double v) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.10g", v);
    return buffer;
}

// Reads one field; on a refusal tells why and gives the field the keyboard.
bool readField(GtkWidget* entry, KImpedanceSettings::Field field, const std::string& name,
               double& value, const ImpedanceDialog::ErrorFunction& error, GtkWidget* dialog) {
    try {
        value = KImpedanceSettings::readValue(field, gtk_editable_get_text(GTK_EDITABLE(entry)),
                                              name.c_str());
        return true;
    } catch (const KException& e) {
        gtk_widget_grab_focus(entry);
        if (error) error(e.getText().c_str(), dialog);
        return false;
    }
}

}  // namespace

struct ImpedanceDialog::ZoneRow {
    GtkWidget* name;
    GtkWidget* kind;  // a drop-down: mho, quadrilateral
    GtkWidget* labels[3];
    GtkWidget* entries[3];
    GtkWidget* remove;
    bool isMho() const { return gtk_drop_down_get_selected(GTK_DROP_DOWN(kind)) == 0; }
};

ImpedanceDialog::ImpedanceDialog(GtkWindow* parent, const KImpedanceSettings& settings,
                                 const std::string& ohms, ErrorFunction error,
                                 std::function<void()> changed)
    : error_(std::move(error)), changed_(std::move(changed)) {
    dialog_ = gtk_dialog_new_with_buttons(
        "Impedance Settings", parent,
        static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
        "_Cancel", GTK_RESPONSE_CANCEL, "_OK", GTK_RESPONSE_OK, nullptr);
    g_object_ref_sink(dialog_);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog_), GTK_RESPONSE_OK);
    g_signal_connect(dialog_, "response", G_CALLBACK(onResponse), this);

    GtkWidget* box = gtk_dialog_get_content_area(GTK_DIALOG(dialog_));
    gtk_box_set_spacing(GTK_BOX(box), 8);
    for (auto margin : {gtk_widget_set_margin_start, gtk_widget_set_margin_end,
                        gtk_widget_set_margin_top, gtk_widget_set_margin_bottom})
        margin(box, 12);

    GtkWidget* k0Heading =
        gtk_label_new("Residual compensation of the ground loops, k0 = (Z0 − Z1) / 3 Z1");
    gtk_label_set_xalign(GTK_LABEL(k0Heading), 0);
    gtk_widget_add_css_class(k0Heading, "heading");
    gtk_box_append(GTK_BOX(box), k0Heading);
    GtkWidget* k0 = gtk_grid_new();
    gtk_grid_set_column_spacing(GTK_GRID(k0), 6);
    k0Magnitude_ = addEntry(k0, 0, 0, "_k0 magnitude");
    k0Angle_ = addEntry(k0, 2, 0, "k0 a_ngle °");
    gtk_editable_set_text(GTK_EDITABLE(k0Magnitude_), text(settings.getK0Magnitude()).c_str());
    gtk_editable_set_text(GTK_EDITABLE(k0Angle_), text(settings.getK0Degrees()).c_str());
    gtk_box_append(GTK_BOX(box), k0);

    GtkWidget* zonesHeading =
        gtk_label_new(("Zones, in " + ohms + " ohms and degrees").c_str());
    gtk_label_set_xalign(GTK_LABEL(zonesHeading), 0);
    gtk_widget_add_css_class(zonesHeading, "heading");
    gtk_widget_set_margin_top(zonesHeading, 8);
    gtk_box_append(GTK_BOX(box), zonesHeading);
    zoneList_ = gtk_grid_new();
    gtk_grid_set_column_spacing(GTK_GRID(zoneList_), 6);
    gtk_grid_set_row_spacing(GTK_GRID(zoneList_), 4);
    gtk_box_append(GTK_BOX(box), zoneList_);
    for (const KImpedanceSettings::Zone& z : settings.getZones()) addZone(z);

    GtkWidget* adding = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    GtkWidget* addMho = gtk_button_new_with_mnemonic("Add _Mho Zone");
    g_signal_connect(addMho, "clicked", G_CALLBACK(onAddMho), this);
    gtk_box_append(GTK_BOX(adding), addMho);
    GtkWidget* addQuad = gtk_button_new_with_mnemonic("Add _Quadrilateral Zone");
    g_signal_connect(addQuad, "clicked", G_CALLBACK(onAddQuad), this);
    gtk_box_append(GTK_BOX(adding), addQuad);
    gtk_box_append(GTK_BOX(box), adding);
}

ImpedanceDialog::~ImpedanceDialog() {
    g_signal_handlers_disconnect_by_data(dialog_, this);
    for (const auto& row : zones_) {
        g_signal_handlers_disconnect_by_data(row->kind, this);
        g_signal_handlers_disconnect_by_data(row->remove, this);
    }
    gtk_window_destroy(GTK_WINDOW(dialog_));
    g_object_unref(dialog_);
}

GtkWidget* ImpedanceDialog::addEntry(GtkWidget* grid, int column, int row, const char* mnemonic,
                                     GtkWidget** labelMade) {
    GtkWidget* label = gtk_label_new_with_mnemonic(mnemonic);
    if (labelMade != nullptr) *labelMade = label;
    gtk_label_set_xalign(GTK_LABEL(label), 1);
    GtkWidget* entry = gtk_entry_new();
    gtk_editable_set_width_chars(GTK_EDITABLE(entry), 9);
    gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
    gtk_label_set_mnemonic_widget(GTK_LABEL(label), entry);
    gtk_grid_attach(GTK_GRID(grid), label, column, row, 1, 1);
    gtk_grid_attach(GTK_GRID(grid), entry, column + 1, row, 1, 1);
    return entry;
}

void ImpedanceDialog::addZone(const KImpedanceSettings::Zone& zone) {
    const int row = static_cast<int>(zones_.size());
    auto added = std::make_unique<ZoneRow>();
    added->name = gtk_label_new("");
    gtk_grid_attach(GTK_GRID(zoneList_), added->name, NAME, row, 1, 1);
    const char* const kinds[] = {"Mho", "Quadrilateral", nullptr};
    added->kind = gtk_drop_down_new_from_strings(kinds);
    gtk_drop_down_set_selected(GTK_DROP_DOWN(added->kind), zone.mho ? 0 : 1);
    gtk_grid_attach(GTK_GRID(zoneList_), added->kind, KIND, row, 1, 1);
    for (int v = 0; v < 3; ++v) {
        added->entries[v] = addEntry(zoneList_, FIRST_LABEL + 2 * v, row, "", &added->labels[v]);
        gtk_editable_set_text(GTK_EDITABLE(added->entries[v]), text(zone.values[v]).c_str());
    }
    added->remove = gtk_button_new_with_label("Remove");
    gtk_grid_attach(GTK_GRID(zoneList_), added->remove, REMOVE, row, 1, 1);
    g_signal_connect(added->kind, "notify::selected", G_CALLBACK(onKindChanged), this);
    g_signal_connect(added->remove, "clicked", G_CALLBACK(onRemove), this);
    zones_.push_back(std::move(added));
    relabel();
    if (changed_) changed_();
}

void ImpedanceDialog::relabel() {
    for (size_t i = 0; i < zones_.size(); ++i) {
        const ZoneRow& row = *zones_[i];
        gtk_label_set_text(GTK_LABEL(row.name), ("Zone " + std::to_string(i + 1)).c_str());
        for (int v = 0; v < 3; ++v)
            gtk_label_set_text(GTK_LABEL(row.labels[v]),
                               row.isMho() ? MHO_LABELS[v] : QUAD_LABELS[v]);
    }
}

void ImpedanceDialog::onAddMho(GtkButton*, gpointer self) {
    auto* d = static_cast<ImpedanceDialog*>(self);
    d->addZone({true, {0, 75, 0}});
    // The reach is what every new zone needs first; the others hold common values.
    GtkWidget* reach = d->zones_.back()->entries[0];
    gtk_editable_set_text(GTK_EDITABLE(reach), "");
    gtk_widget_grab_focus(reach);
}

void ImpedanceDialog::onAddQuad(GtkButton*, gpointer self) {
    auto* d = static_cast<ImpedanceDialog*>(self);
    d->addZone({false, {0, 0, 75}});
    for (int v = 0; v < 2; ++v) gtk_editable_set_text(GTK_EDITABLE(d->zones_.back()->entries[v]), "");
    gtk_widget_grab_focus(d->zones_.back()->entries[0]);
}

void ImpedanceDialog::onRemove(GtkButton* button, gpointer self) {
    auto* d = static_cast<ImpedanceDialog*>(self);
    const auto it = std::find_if(d->zones_.begin(), d->zones_.end(), [button](const auto& row) {
        return row->remove == GTK_WIDGET(button);
    });
    if (it == d->zones_.end()) return;
    g_signal_handlers_disconnect_by_data((*it)->kind, self);
    g_signal_handlers_disconnect_by_data((*it)->remove, self);
    gtk_grid_remove_row(GTK_GRID(d->zoneList_), static_cast<int>(it - d->zones_.begin()));
    d->zones_.erase(it);
    d->relabel();
    if (d->changed_) d->changed_();
}

void ImpedanceDialog::onKindChanged(GObject*, GParamSpec*, gpointer self) {
    static_cast<ImpedanceDialog*>(self)->relabel();
}

bool ImpedanceDialog::read(KImpedanceSettings& settings) {
    double magnitude = 0, degrees = 0;
    if (!readField(k0Magnitude_, KImpedanceSettings::K0_MAGNITUDE, "k0 magnitude", magnitude,
                   error_, dialog_) ||
        !readField(k0Angle_, KImpedanceSettings::K0_ANGLE, "k0 angle", degrees, error_, dialog_))
        return false;
    KImpedanceSettings read;
    read.setResidualFactor(magnitude, degrees);
    for (size_t i = 0; i < zones_.size(); ++i) {
        const ZoneRow& row = *zones_[i];
        KImpedanceSettings::Zone zone{row.isMho(), {0, 0, 0}};
        for (int v = 0; v < 3; ++v) {
            const std::string name = "Zone " + std::to_string(i + 1) + " " +
                                     (zone.mho ? MHO_NAMES[v] : QUAD_NAMES[v]);
            if (!readField(row.entries[v], KImpedanceSettings::getZoneField(zone.mho, v), name,
                           zone.values[v], error_, dialog_))
                return false;
        }
        read.addZone(zone);
    }
    settings = read;
    return true;
}

void ImpedanceDialog::onResponse(GtkDialog*, int response, gpointer self) {
    auto* d = static_cast<ImpedanceDialog*>(self);
    if (response == GTK_RESPONSE_OK && !d->read(d->result_)) return;
    d->accepted_ = response == GTK_RESPONSE_OK;
    if (d->loop_ != nullptr) d->loop_->quit();
}

bool ImpedanceDialog::run(KImpedanceSettings& settings) {
    KGtkModalLoop loop;
    loop_ = &loop;
    accepted_ = false;
    gtk_window_present(GTK_WINDOW(dialog_));
    gtk_widget_grab_focus(k0Magnitude_);
    loop.run();
    loop_ = nullptr;
    gtk_widget_set_visible(dialog_, FALSE);
    if (accepted_) settings = result_;
    return accepted_;
}
