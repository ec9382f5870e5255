#include "ViewerWindow.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <kalvo/analysis/KHarmonicFrame.h>
#include <kalvo/analysis/KPhasorFrame.h>
#include <kalvo/analysis/KSymmetricalComponents.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphMeter.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/host/gtk/KCanvasView.h>
#include <kalvo/host/gtk/KGtkDialogs.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/plot/KCharacteristic.h>
#include <kalvo/plot/KImpedancePanel.h>
#include <kalvo/plot/KPlotCurve.h>
#include <kalvo/plot/KPlotFrame.h>
#include <kalvo/plot/KPlotPanel.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/widgets/KTableExt.h>
#include <kalvo/toolkit/widgets/KLabel.h>

#include "ChannelList.h"
#include "EventList.h"
#include "FrameTimeLog.h"
#include "ImpedanceDialog.h"
#include "RecordTab.h"
#include "StateReport.h"
#include "ViewExport.h"
#include "ViewKinds.h"
#include "ViewerOptions.h"
#include "Workspace.h"

namespace {

const char* const RECORD_FILTER =
    "COMTRADE records and Kalvo workspaces (*.cfg;*.cff;*.dat;*.kvw)|"
    "COMTRADE records (*.cfg;*.cff;*.dat)|Kalvo workspaces (*.kvw)";

const char* const KEYS_HELP =
    "In the time graphs:\n"
    "  + and -\t\tzoom the time in and out\n"
    "  P and N\t\tthe previous and next zoom\n"
    "  X, Y, R\t\tthe whole time, all values, both\n"
    "  M\t\t\tmarkers X and O on and off\n"
    "  G, I, T, C\t\tgrid, ticks, trigger, cross hair\n"
    "  Insert\t\tanother graph\n"
    "  Shift+F10, Menu\tthe graph's own menu\n"
    "On the time axis (click it first):\n"
    "  Left and Right\tpan by a grid step\n"
    "  Page Up and Down\tpan by the width in view\n"
    "  Home and End\tthe record's ends\n"
    "With the mouse:\n"
    "  drag in a graph\tzoom to the box (Shift: the time only)\n"
    "  drag a marker\tmove it, in the graph or on the axis\n"
    "  wheel\t\tzoom the time (Ctrl: the values, Shift: pan)\n"
    "  right button\tthe menu of what is under it\n"
    "Everywhere: F10 opens the menu bar.";

std::string extensionOf(const std::string& path) {
    const size_t dot = path.rfind('.'), slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = path.substr(dot);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::string absolute(const std::string& path) {
    char* canonical = g_canonicalize_filename(path.c_str(), nullptr);
    std::string result(canonical);
    g_free(canonical);
    return result;
}

std::string number(double v) {
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", v);
    return text;
}

// Text on one line of the state report.
std::string oneLine(std::string text) {
    for (char& c : text) {
        if (c == '\n' || c == '\r') c = '|';
        if (c == '\t') c = ' ';
    }
    return text;
}

GMenuItem* item(const char* label, const char* action, const char* accel = nullptr) {
    GMenuItem* entry = g_menu_item_new(label, action);
    if (accel != nullptr) g_menu_item_set_attribute(entry, "accel", "s", accel);
    return entry;
}

void append(GMenu* menu, const char* label, const char* action, const char* accel = nullptr) {
    GMenuItem* entry = item(label, action, accel);
    g_menu_append_item(menu, entry);
    g_object_unref(entry);
}

void appendSection(GMenu* menu, GMenu* section) {
    g_menu_append_section(menu, nullptr, G_MENU_MODEL(section));
    g_object_unref(section);
}

void appendSubmenu(GMenu* menu, const char* label, GMenu* submenu) {
    g_menu_append_submenu(menu, label, G_MENU_MODEL(submenu));
    g_object_unref(submenu);
}

}  // namespace

ViewerWindow::ViewerWindow(GtkApplication* application, const ViewerOptions& options)
    : window_(gtk_application_window_new(application)),
      recentMenu_(g_menu_new()),
      actions_(g_simple_action_group_new()),
      impedance_(options.impedance) {
    g_object_ref(window_);
    gtk_window_set_title(GTK_WINDOW(window_), "Kalvo");
    gtk_window_set_default_size(GTK_WINDOW(window_), options.width, options.height);
    addActions();

    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    menu_ = buildMenu();
    gtk_box_append(GTK_BOX(box), gtk_popover_menu_bar_new_from_model(menu_));

    pages_ = gtk_stack_new();
    gtk_widget_set_vexpand(pages_, TRUE);
    GtkWidget* hint = gtk_label_new(
        "Open a COMTRADE record or a workspace: File ▸ Open (Ctrl+O), the recent files,\n"
        "or drop the files here.");
    gtk_label_set_justify(GTK_LABEL(hint), GTK_JUSTIFY_CENTER);
    gtk_widget_add_css_class(hint, "dim-label");
    gtk_stack_add_named(GTK_STACK(pages_), hint, "hint");
    notebook_ = gtk_notebook_new();
    gtk_notebook_set_scrollable(GTK_NOTEBOOK(notebook_), TRUE);
    g_signal_connect(notebook_, "switch-page", G_CALLBACK(onSwitchPage), this);
    gtk_stack_add_named(GTK_STACK(pages_), notebook_, "tabs");
    gtk_stack_set_visible_child_name(GTK_STACK(pages_), "hint");
    gtk_box_append(GTK_BOX(box), pages_);

    status_ = gtk_label_new("");
    gtk_label_set_xalign(GTK_LABEL(status_), 0);
    gtk_label_set_ellipsize(GTK_LABEL(status_), PANGO_ELLIPSIZE_END);
    gtk_widget_set_margin_start(status_, 6);
    gtk_widget_set_margin_end(status_, 6);
    gtk_widget_set_margin_top(status_, 2);
    gtk_widget_set_margin_bottom(status_, 2);
    gtk_box_append(GTK_BOX(box), status_);
    gtk_window_set_child(GTK_WINDOW(window_), box);

    GtkDropTarget* drop = gtk_drop_target_new(GDK_TYPE_FILE_LIST, GDK_ACTION_COPY);
    g_signal_connect(drop, "drop", G_CALLBACK(onDrop), this);
    gtk_widget_add_controller(window_, GTK_EVENT_CONTROLLER(drop));
    g_signal_connect(window_, "close-request", G_CALLBACK(onCloseRequest), this);

    if (!options.frameLog.empty())
        frameLog_ = std::make_unique<FrameTimeLog>(window_, options.frameLog);
    if (!options.stateFile.empty()) {
        state_ =
            std::make_unique<StateReport>(options.stateFile, [this] { return describeState(); });
    }
    updateRecentMenu();
    updateActions();
    gtk_window_present(GTK_WINDOW(window_));
    changed();
}

ViewerWindow::~ViewerWindow() {
    g_signal_handlers_disconnect_by_data(notebook_, this);
    g_signal_handlers_disconnect_by_data(window_, this);
    tabs_.clear();
    if (state_ != nullptr) state_->write();
    state_.reset();
    frameLog_.reset();
    g_object_unref(actions_);
    g_object_unref(menu_);
    g_object_unref(recentMenu_);
    g_object_unref(window_);
}

// Menus and actions.

void ViewerWindow::installAccelerators(GtkApplication* application) {
    struct Key {
        const char* action;
        const char* accel;
    };
    static const Key keys[] = {
        {"win.open", "<Control>o"},
        {"win.save-workspace", "<Control>s"},
        {"win.export('png')", "<Control>e"},
        {"win.print", "<Control>p"},
        {"win.close-tab", "<Control>w"},
        {"app.quit", "<Control>q"},
        {"win.copy-curve", "<Control>c"},
        {"win.copy-visible", "<Control><Shift>c"},
        {"win.paste", "<Control>v"},
        {"win.sidebar", "F4"},
        {"win.keys", "F1"},
        {"win.next-tab", "<Control>Page_Down"},
        {"win.previous-tab", "<Control>Page_Up"},
        {"win.impedance-settings", "<Shift>F9"},
    };
    for (const Key& key : keys) {
        const char* accels[] = {key.accel, nullptr};
        gtk_application_set_accels_for_action(application, key.action, accels);
    }
    for (const ViewKind& kind : ViewKind::all()) {
        const std::string action = std::string("win.view-") + kind.id;
        const char* accels[] = {kind.key, nullptr};
        gtk_application_set_accels_for_action(application, action.c_str(), accels);
    }
}

void ViewerWindow::addActions() {
    const GActionEntry entries[] = {
        {"open", onOpen, nullptr, nullptr, nullptr, {}},
        {"open-recent", onOpenRecent, "i", nullptr, nullptr, {}},
        {"save-workspace", onSaveWorkspace, nullptr, nullptr, nullptr, {}},
        {"export", onExport, "s", nullptr, nullptr, {}},
        {"print", onPrint, nullptr, nullptr, nullptr, {}},
        {"close-tab", onCloseTab, nullptr, nullptr, nullptr, {}},
        {"next-tab", onNextTab, nullptr, nullptr, nullptr, {}},
        {"previous-tab", onPreviousTab, nullptr, nullptr, nullptr, {}},
        {"copy-curve", onCopyCurve, nullptr, nullptr, nullptr, {}},
        {"copy-visible", onCopyVisible, nullptr, nullptr, nullptr, {}},
        {"copy-picture", onCopyPicture, "s", nullptr, nullptr, {}},
        {"paste", onPaste, nullptr, nullptr, nullptr, {}},
        {"sidebar", nullptr, nullptr, "true", onSidebar, {}},
        {"dark", nullptr, nullptr, "false", onDark, {}},
        {"graph", onGraph, "s", nullptr, nullptr, {}},
        {"impedance-settings", onImpedanceSettings, nullptr, nullptr, nullptr, {}},
        {"keys", onKeys, nullptr, nullptr, nullptr, {}},
        {"about", onAbout, nullptr, nullptr, nullptr, {}},
    };
    g_action_map_add_action_entries(G_ACTION_MAP(actions_), entries, G_N_ELEMENTS(entries), this);
    for (const ViewKind& kind : ViewKind::all()) {
        const std::string name = std::string("view-") + kind.id;
        GSimpleAction* action = g_simple_action_new(name.c_str(), nullptr);
        g_signal_connect(action, "activate", G_CALLBACK(onView), this);
        g_action_map_add_action(G_ACTION_MAP(actions_), G_ACTION(action));
        g_object_unref(action);
    }
    gtk_widget_insert_action_group(window_, "win", G_ACTION_GROUP(actions_));
}

GMenuModel* ViewerWindow::buildMenu() {
    GMenu* bar = g_menu_new();

    GMenu* file = g_menu_new();
    GMenu* opening = g_menu_new();
    append(opening, "_Open Record or Workspace…", "win.open", "<Control>o");
    g_menu_append_submenu(opening, "Open _Recent", G_MENU_MODEL(recentMenu_));
    appendSection(file, opening);
    GMenu* saving = g_menu_new();
    append(saving, "_Save Workspace…", "win.save-workspace", "<Control>s");
    GMenu* exporting = g_menu_new();
    append(exporting, "_PNG Picture…", "win.export('png')", "<Control>e");
    append(exporting, "_SVG Picture…", "win.export('svg')");
    append(exporting, "P_DF Document…", "win.export('pdf')");
    append(exporting, "_EMF Metafile…", "win.export('emf')");
    appendSubmenu(saving, "_Export View", exporting);
    append(saving, "_Print…", "win.print", "<Control>p");
    appendSection(file, saving);
    GMenu* closing = g_menu_new();
    append(closing, "_Close Tab", "win.close-tab", "<Control>w");
    append(closing, "_Quit", "app.quit", "<Control>q");
    appendSection(file, closing);
    appendSubmenu(bar, "_File", file);

    GMenu* edit = g_menu_new();
    GMenu* copying = g_menu_new();
    append(copying, "_Copy Curve Data", "win.copy-curve", "<Control>c");
    append(copying, "Copy _Visible Data", "win.copy-visible", "<Control><Shift>c");
    append(copying, "Copy View as P_icture", "win.copy-picture('svg')");
    append(copying, "Copy View as _Bitmap", "win.copy-picture('png')");
    appendSection(edit, copying);
    GMenu* pasting = g_menu_new();
    append(pasting, "_Paste Data as Curves", "win.paste", "<Control>v");
    appendSection(edit, pasting);
    appendSubmenu(bar, "_Edit", edit);

    GMenu* view = g_menu_new();
    GMenu* kinds = g_menu_new();
    for (const ViewKind& kind : ViewKind::all()) {
        append(kinds, kind.label, (std::string("win.view-") + kind.id).c_str(), kind.key);
    }
    appendSection(view, kinds);
    GMenu* settings = g_menu_new();
    append(settings, "Impedance _Settings…", "win.impedance-settings", "<Shift>F9");
    appendSection(view, settings);
    GMenu* looks = g_menu_new();
    append(looks, "_Channels and Events", "win.sidebar", "F4");
    append(looks, "_Dark Colours", "win.dark");
    appendSection(view, looks);
    GMenu* tabs = g_menu_new();
    append(tabs, "_Next Tab", "win.next-tab", "<Control>Page_Down");
    append(tabs, "P_revious Tab", "win.previous-tab", "<Control>Page_Up");
    appendSection(view, tabs);
    appendSubmenu(bar, "_View", view);

    // The graphs' own keys, shown beside their commands; they act on the graph in front.
    GMenu* graph = g_menu_new();
    GMenu* zoom = g_menu_new();
    append(zoom, "Zoom _In", "win.graph('GRAPH.ZOOMIN')", "plus");
    append(zoom, "Zoom _Out", "win.graph('GRAPH.ZOOMOUT')", "minus");
    append(zoom, "_Previous Zoom", "win.graph('GRAPH.PREVIOUS')", "p");
    append(zoom, "_Next Zoom", "win.graph('GRAPH.NEXT')", "n");
    append(zoom, "Whole _Time", "win.graph('GRAPH.XEXTENTS')", "x");
    append(zoom, "All _Values", "win.graph('GRAPH.YEXTENTS')", "y");
    append(zoom, "_Reset All", "win.graph('GRAPH.RESET')", "r");
    appendSection(graph, zoom);
    GMenu* marks = g_menu_new();
    append(marks, "Toggle _Markers", "win.graph('FRAME.MARKERS')", "m");
    append(marks, "Go to Marker _X", "win.graph('AXIS.FOCUS.X')");
    append(marks, "_Go to Marker O", "win.graph('AXIS.FOCUS.O')");
    append(marks, "Go to Trigg_er", "win.graph('AXIS.FOCUS.T')");
    append(marks, "_Lock Markers", "win.graph('AXIS.LOCK')");
    appendSection(graph, marks);
    GMenu* shows = g_menu_new();
    append(shows, "Gri_d Lines", "win.graph('GRAPH.GRID')", "g");
    append(shows, "Cross _Hair", "win.graph('GRAPH.CROSSHAIR')", "c");
    append(shows, "_Show Trigger", "win.graph('GRAPH.TRIGGER')", "t");
    appendSection(graph, shows);
    GMenu* graphs = g_menu_new();
    append(graphs, "_Add Analog Graph", "win.graph('FRAME.ADD.ANALOG')", "Insert");
    append(graphs, "Move Graph _Up", "win.graph('GRAPH.UP')");
    append(graphs, "Move Graph Do_wn", "win.graph('GRAPH.DOWN')");
    append(graphs, "_Frame Properties…", "win.graph('FRAME.PROPERTIES')");
    appendSection(graph, graphs);
    appendSubmenu(bar, "_Graph", graph);

    GMenu* help = g_menu_new();
    append(help, "_Keys and Mouse", "win.keys", "F1");
    append(help, "_About Kalvo", "win.about");
    appendSubmenu(bar, "_Help", help);
    return G_MENU_MODEL(bar);
}

void ViewerWindow::updateRecentMenu() {
    g_menu_remove_all(recentMenu_);
    const std::vector<std::string>& paths = recent_.getPaths();
    for (size_t i = 0; i < paths.size(); ++i) {
        // "_1 name" with the folder after it, for telling records of one name apart.
        const std::string& p = paths[i];
        const size_t slash = p.rfind('/');
        std::string label = (i < 9 ? "_" + std::to_string(i + 1) + " " : "") + p.substr(slash + 1);
        if (slash != std::string::npos) label += "   (" + p.substr(0, slash) + ")";
        GMenuItem* entry = g_menu_item_new(label.c_str(), nullptr);
        g_menu_item_set_action_and_target_value(entry, "win.open-recent",
                                                g_variant_new_int32(static_cast<int>(i)));
        g_menu_append_item(recentMenu_, entry);
        g_object_unref(entry);
    }
    if (paths.empty()) append(recentMenu_, "(none yet)", "win.no-such-action");
}

void ViewerWindow::updateActions() {
    RecordTab* tab = getCurrentTab();
    const bool ready = tab != nullptr && !tab->isLoading() && tab->getTimeGraphs() != nullptr;
    const bool time = ready && std::strcmp(tab->getView().id, "time") == 0;
    auto enable = [this](const char* name, bool on) {
        GAction* action = g_action_map_lookup_action(G_ACTION_MAP(actions_), name);
        if (action != nullptr) g_simple_action_set_enabled(G_SIMPLE_ACTION(action), on);
    };
    enable("save-workspace", !tabs_.empty());
    enable("export", ready);
    enable("print", ready);
    enable("close-tab", tab != nullptr);
    enable("next-tab", tabs_.size() > 1);
    enable("previous-tab", tabs_.size() > 1);
    enable("copy-curve", time);
    enable("copy-visible", time);
    enable("copy-picture", ready);
    enable("paste", time);
    enable("graph", time);
    for (const ViewKind& kind : ViewKind::all()) {
        enable((std::string("view-") + kind.id).c_str(), ready);
    }
    enable("impedance-settings", ready);
}

// Opening and saving.

void ViewerWindow::open(const std::vector<std::string>& paths) {
    for (const std::string& p : paths) {
        if (extensionOf(p) == Workspace::EXTENSION) {
            openWorkspace(p);
        } else {
            openRecord(p);
        }
    }
}

struct ViewerWindow::TabEvents {
    static RecordTab::Events of(ViewerWindow* w) {
        RecordTab::Events e;
        e.loaded = [w](RecordTab& tab) {
            w->recent_.add(tab.getPath());
            w->updateRecentMenu();
            KRecord* record = tab.getRecord();
            std::string text = "Read " + tab.getPath() + ": " +
                               std::to_string(record->getTraceCount()) + " channels, " +
                               std::to_string(record->getSampleCount()) + " samples";
            if (tab.getEventList() != nullptr && !tab.getEventList()->getEvents().empty()) {
                text += ", " + std::to_string(tab.getEventList()->getEvents().size()) +
                        " status changes";
            }
            const KString& comment = record->getComment();
            if (!comment.isEmpty()) text += ". Read with warnings: " + oneLine(comment.c_str());
            w->setStatus(text);
            if (w->dark_) tab.getTimeGraphs()->setMode(1);
            tab.setSidebarVisible(w->sidebar_);
            if (&tab == w->getCurrentTab()) tab.focusView();
            w->updateActions();
            w->changed();
        };
        e.failed = [w](RecordTab& tab, const std::string& message) {
            const std::string path = tab.getPath();
            w->closeTab(&tab);
            if (message.empty()) {
                w->setStatus("Stopped reading " + path);
                return;
            }
            w->recent_.remove(path);
            w->updateRecentMenu();
            w->showError("The record cannot be opened.\n\n" + message);
        };
        e.closeAsked = [w](RecordTab& tab) { w->closeTab(&tab); };
        e.error = [w](const std::string& text) { w->showError(text); };
        e.changed = [w] { w->changed(); };
        e.painted = [w](double ms) {
            if (w->frameLog_ != nullptr) w->frameLog_->painted(ms);
        };
        return e;
    }
};

void ViewerWindow::openRecord(const std::string& given) {
    const std::string path = absolute(given);
    for (const auto& tab : tabs_) {
        if (tab->getPath() == path) {
            gtk_notebook_set_current_page(GTK_NOTEBOOK(notebook_), indexOf(tab.get()));
            setStatus(path + " is open already");
            return;
        }
    }
    auto tab = std::make_unique<RecordTab>(path, TabEvents::of(this));
    tab->setImpedanceSettings(impedance_);
    addTab(std::move(tab));
    setStatus("Reading " + path);
}

void ViewerWindow::openWorkspace(const std::string& given) {
    const std::string path = absolute(given);
    std::vector<Workspace::LoadedPage> pages;
    int active = 0;
    try {
        pages = Workspace::load(path, active);
    } catch (const KException& e) {
        showError(std::string("The workspace cannot be opened.\n\n") + e.getText().c_str());
        recent_.remove(path);
        updateRecentMenu();
        return;
    }
    // A workspace saved in dark colours turns them on.
    const bool darkPages =
        std::any_of(pages.begin(), pages.end(),
                    [](const Workspace::LoadedPage& p) { return p.frame->getMode() == 1; });
    const int first = static_cast<int>(tabs_.size());
    for (Workspace::LoadedPage& page : pages) {
        auto tab = std::make_unique<RecordTab>(page.frame.release(), page.path, page.title,
                                               TabEvents::of(this));
        RecordTab* added = tab.get();
        added->setImpedanceSettings(page.impedance);
        addTab(std::move(tab));
        if (dark_) added->getTimeGraphs()->setMode(1);
        added->setSidebarVisible(sidebar_);
        if (const ViewKind* kind = ViewKind::find(page.view.c_str())) added->showView(*kind);
    }
    if (!pages.empty()) gtk_notebook_set_current_page(GTK_NOTEBOOK(notebook_), first + active);
    if (darkPages && !dark_)
        g_action_group_change_action_state(G_ACTION_GROUP(actions_), "dark",
                                           g_variant_new_boolean(TRUE));
    recent_.add(path);
    updateRecentMenu();
    setStatus("Opened workspace " + path + ": " + std::to_string(pages.size()) + " tabs");
}

void ViewerWindow::saveWorkspace(const std::string& given) {
    std::string path = absolute(given);
    if (extensionOf(path) != Workspace::EXTENSION) path += Workspace::EXTENSION;
    std::vector<Workspace::Page> pages;
    int active = 0;
    for (const auto& tab : tabs_) {
        if (tab->getTimeGraphs() == nullptr) continue;
        if (tab.get() == getCurrentTab()) active = static_cast<int>(pages.size());
        pages.push_back({tab->getPath(), tab->getTitle(), tab->getView().id, tab->getTimeGraphs(),
                         &tab->getImpedanceSettings()});
    }
    try {
        Workspace::save(path, pages, active);
    } catch (const KException& e) {
        showError(std::string("The workspace cannot be saved.\n\n") + e.getText().c_str());
        return;
    }
    recent_.add(path);
    updateRecentMenu();
    setStatus("Saved workspace " + path);
}

void ViewerWindow::exportView(const std::string& path) {
    RecordTab* tab = getCurrentTab();
    KContainer* root = tab != nullptr ? tab->getRoot() : nullptr;
    if (root == nullptr) return;
    try {
        ViewExport::write(*root, path);
        setStatus("Exported the view to " + path);
    } catch (const KException& e) {
        showError(std::string("The view cannot be exported.\n\n") + e.getText().c_str());
    }
}

// Tabs.

void ViewerWindow::addTab(std::unique_ptr<RecordTab> tab) {
    RecordTab* added = tab.get();
    tabs_.push_back(std::move(tab));
    const int index =
        gtk_notebook_append_page(GTK_NOTEBOOK(notebook_), added->getPage(), added->getTabLabel());
    gtk_notebook_set_tab_reorderable(GTK_NOTEBOOK(notebook_), added->getPage(), TRUE);
    gtk_stack_set_visible_child_name(GTK_STACK(pages_), "tabs");
    gtk_notebook_set_current_page(GTK_NOTEBOOK(notebook_), index);
    updateActions();
    changed();
}

int ViewerWindow::indexOf(const RecordTab* tab) const {
    return tab != nullptr ? gtk_notebook_page_num(GTK_NOTEBOOK(notebook_), tab->getPage()) : -1;
}

RecordTab* ViewerWindow::getCurrentTab() const {
    const int current = gtk_notebook_get_current_page(GTK_NOTEBOOK(notebook_));
    if (current < 0) return nullptr;
    GtkWidget* page = gtk_notebook_get_nth_page(GTK_NOTEBOOK(notebook_), current);
    for (const auto& tab : tabs_) {
        if (tab->getPage() == page) return tab.get();
    }
    return nullptr;
}

void ViewerWindow::closeTab(RecordTab* tab) {
    const int index = indexOf(tab);
    for (auto it = tabs_.begin(); it != tabs_.end(); ++it) {
        if (it->get() != tab) continue;
        // Deleted once the signal or callback that asked is over: it may be the tab's own.
        RecordTab* going = it->release();
        tabs_.erase(it);
        if (index >= 0) gtk_notebook_remove_page(GTK_NOTEBOOK(notebook_), index);
        g_idle_add_once([](gpointer t) { delete static_cast<RecordTab*>(t); }, going);
        break;
    }
    if (tabs_.empty()) gtk_stack_set_visible_child_name(GTK_STACK(pages_), "hint");
    if (RecordTab* current = getCurrentTab()) current->focusView();
    updateActions();
    changed();
}

void ViewerWindow::onSwitchPage(GtkNotebook*, GtkWidget*, guint, gpointer self) {
    // The notebook switches before the page shows: the page takes the keyboard after.
    g_idle_add_once(
        [](gpointer data) {
            auto* window = static_cast<ViewerWindow*>(data);
            if (RecordTab* current = window->getCurrentTab()) current->focusView();
            window->updateActions();
            window->changed();
        },
        self);
}

gboolean ViewerWindow::onDrop(GtkDropTarget*, const GValue* value, double, double, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    if (!G_VALUE_HOLDS(value, GDK_TYPE_FILE_LIST)) return FALSE;
    std::vector<std::string> paths;
    for (GSList* l = static_cast<GSList*>(g_value_get_boxed(value)); l != nullptr; l = l->next) {
        if (char* path = g_file_get_path(G_FILE(l->data))) {
            paths.emplace_back(path);
            g_free(path);
        }
    }
    w->open(paths);
    return TRUE;
}

gboolean ViewerWindow::onCloseRequest(GtkWindow*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    for (const auto& tab : w->tabs_) tab->cancelLoading();
    return FALSE;
}

// Status and messages.

void ViewerWindow::showError(const std::string& text, GtkWidget* over) {
    messages_.push_back(text);
    changed();
    if (state_ != nullptr) state_->write();
    KGtkDialogs::messageBox(over != nullptr ? over : window_, text.c_str(), "Kalvo",
                            KHost::MB_OK | KHost::MB_ICONERROR);
}

void ViewerWindow::setStatus(const std::string& text) {
    statusText_ = text;
    gtk_label_set_text(GTK_LABEL(status_), text.c_str());
    changed();
}

void ViewerWindow::changed() {
    if (state_ != nullptr) state_->changed();
}

namespace {

// Every item of a menu: "File/_Close Tab|<Control>w|win.close-tab", submenus by their path.
void listMenu(GMenuModel* menu, const std::string& path, std::string& out) {
    for (int i = 0; i < g_menu_model_get_n_items(menu); ++i) {
        char* label = nullptr;
        char* accel = nullptr;
        char* action = nullptr;
        g_menu_model_get_item_attribute(menu, i, G_MENU_ATTRIBUTE_LABEL, "s", &label);
        g_menu_model_get_item_attribute(menu, i, "accel", "s", &accel);
        g_menu_model_get_item_attribute(menu, i, G_MENU_ATTRIBUTE_ACTION, "s", &action);
        if (GMenuModel* section = g_menu_model_get_item_link(menu, i, G_MENU_LINK_SECTION)) {
            listMenu(section, path, out);
            g_object_unref(section);
        } else if (GMenuModel* submenu = g_menu_model_get_item_link(menu, i, G_MENU_LINK_SUBMENU)) {
            const std::string name = path + (label != nullptr ? label : "") + "/";
            out += "menu " + name + "||\n";
            listMenu(submenu, name, out);
            g_object_unref(submenu);
        } else {
            out += "menu " + path + (label != nullptr ? label : "") + "|" +
                   (accel != nullptr ? accel : "") + "|" + (action != nullptr ? action : "") + "\n";
        }
        g_free(label);
        g_free(accel);
        g_free(action);
    }
}

}  // namespace

std::string ViewerWindow::describeState() const {
    std::string s;
    auto line = [&s](const std::string& key, const std::string& value) {
        s += key + " " + value + "\n";
    };
    listMenu(menu_, "", s);
    line("tabs", std::to_string(tabs_.size()));
    const RecordTab* current = getCurrentTab();
    line("active", std::to_string(indexOf(current)));
    for (const auto& tab : tabs_) {
        const int i = indexOf(tab.get());
        std::string state = tab->isLoading() ? "loading " + number(tab->getProgress()) : "ready";
        line("tab." + std::to_string(i),
             state + " view " + tab->getView().id + " path " + tab->getPath());
        line("tab." + std::to_string(i) + ".title", tab->getTitle());
        const KImpedanceSettings& impedance = tab->getImpedanceSettings();
        line("tab." + std::to_string(i) + ".k0",
             number(impedance.getK0Magnitude()) + " " + number(impedance.getK0Degrees()));
        for (size_t z = 0; z < impedance.getZones().size(); ++z) {
            const KImpedanceSettings::Zone& zone = impedance.getZones()[z];
            line("tab." + std::to_string(i) + ".zone." + std::to_string(z),
                 std::string(zone.mho ? "mho " : "quad ") + number(zone.values[0]) + " " +
                     number(zone.values[1]) + " " + number(zone.values[2]));
        }
    }
    if (settingsDialog_ != nullptr)
        line("dialog", "impedance-settings zones " + std::to_string(settingsDialog_->getZoneCount()));
    line("sidebar", sidebar_ ? "1" : "0");
    line("dark", dark_ ? "1" : "0");
    line("status", oneLine(statusText_));
    line("messages", std::to_string(messages_.size()));
    for (size_t i = 0; i < messages_.size(); ++i)
        line("message." + std::to_string(i), oneLine(messages_[i]));
    for (size_t i = 0; i < recent_.getPaths().size(); ++i)
        line("recent." + std::to_string(i), recent_.getPaths()[i]);
    KGraphFrame* frame = current != nullptr ? current->getTimeGraphs() : nullptr;
    if (frame == nullptr) return s;
    // Where things are, in the window's coordinates, for scripts that point at them.
    auto bounds = [this](GtkWidget* widget) -> std::string {
        graphene_rect_t r;
        if (widget == nullptr || !gtk_widget_compute_bounds(widget, window_, &r)) return "-";
        return number(std::round(r.origin.x)) + " " + number(std::round(r.origin.y)) + " " +
               number(std::round(r.origin.x + r.size.width)) + " " +
               number(std::round(r.origin.y + r.size.height));
    };
    auto onCanvas = [](const KComponent* c, CRect r) {
        r.OffsetRect(c->getLocationOnCanvas());
        return std::to_string(r.left) + " " + std::to_string(r.top) + " " +
               std::to_string(r.right) + " " + std::to_string(r.bottom);
    };
    line("canvas",
         bounds(current->getCanvas() != nullptr ? current->getCanvas()->getWidget() : nullptr));
    line("painted", std::to_string(current->getPaintCount()));
    if (KGraphFrame* own = current->getViewGraphs(); own != frame) {
        const KGraphAxis* a = own->getAxis();
        line("view.root", current->getRoot()->getClassName());
        line("view.markers", std::string(a->isMarkerXEnabled() ? "1 " : "0 ") +
                                 (a->isMarkerOEnabled() ? "1 " : "0 ") +
                                 number(a->getMarkerXPosition()) + " " +
                                 number(a->getMarkerOPosition()));
        if (auto* plot = k_dynamic_cast<KPlotFrame>(current->getRoot())) {
            std::vector<KPlotCurve*> pairs;
            plot->getPlotPanel()->getPairList(pairs);
            double t0, t1;
            plot->getPlotPanel()->getTimeAperture(t0, t1);
            line("view.title", plot->getTitle().c_str());
            line("view.pairs",
                 std::to_string(pairs.size()) + " aperture " + number(t0) + " " + number(t1));
            if (auto* plane = k_dynamic_cast<KImpedancePanel>(plot->getPlotPanel())) {
                line("view.zones", std::to_string(plane->getCharacteristicCount()));
                // Each locus's last point in the aperture and the zones (from 1) it lies in.
                for (size_t p = 0; p < pairs.size(); ++p) {
                    std::string text = pairs[p]->getCaption().c_str();
                    int first, last;
                    const double* rs = pairs[p]->getXValues();
                    const double* xs = pairs[p]->getYData();
                    int end = -1;
                    if (rs != nullptr && xs != nullptr && pairs[p]->findStretch(t0, t1, first, last)) {
                        for (int k = last; k >= first && end < 0; --k) {
                            if (std::isfinite(rs[k]) && std::isfinite(xs[k])) end = k;
                        }
                    }
                    if (end >= 0) {
                        std::string in;
                        for (int z = 0; z < plane->getCharacteristicCount(); ++z) {
                            if (plane->getCharacteristic(z)->contains(rs[end], xs[end]))
                                in += (in.empty() ? "" : " ") + std::to_string(z + 1);
                        }
                        text += " end " + number(rs[end]) + " " + number(xs[end]) + " in " +
                                (in.empty() ? "-" : in);
                    } else {
                        text += " end -";
                    }
                    line("view.locus." + std::to_string(p), text);
                }
            }
        }
        if (auto* harmonics = k_dynamic_cast<KHarmonicFrame>(current->getRoot())) {
            line("view.base", oneLine(harmonics->getBaseFrequencyText().c_str()));
            const KTableExt* table = harmonics->getTable();
            for (int r = 0; r < table->getRowCount() && r < 5; ++r) {
                std::string cells = table->getRowTitle(r).c_str();
                for (int c = 0; c < table->getColumnCount(); ++c) {
                    cells += std::string(" | ") + table->getCellText(r, c).c_str();
                }
                line("view.row." + std::to_string(r), cells);
            }
        }
        if (auto* phasors = k_dynamic_cast<KPhasorFrame>(current->getRoot())) {
            // Magnitude and angle in degrees of phases A, B and C, then the zero, positive
            // and negative sequences.
            for (int i = 0; i < 6; ++i) {
                const KSymmetricalComponents::Phasor p =
                    i < 3 ? phasors->getPhasor(i) : phasors->getSequence(i - 3);
                line("view.phasor." + std::to_string(i),
                     number(std::abs(p)) + " " + number(KSymmetricalComponents::degreesOf(p)));
            }
        }
    }
    if (const ChannelList* channels = current->getChannelList()) {
        for (int t = 0; t < current->getRecord()->getTraceCount(); ++t) {
            const KCurve* curve = channels->findCurve(t);
            line("channel." + std::to_string(t),
                 std::string(current->getRecord()->getTrace(t)->getName().c_str()) + " shown " +
                     (curve != nullptr && curve->isVisible() ? "1" : "0") + " check " +
                     bounds(channels->getCheckButton(t)) + " graph " +
                     bounds(channels->getGraphChooser(t)));
        }
    }
    KGraphAxis* axis = frame->getAxis();
    double lo, hi;
    axis->getRange(lo, hi);
    line("range", number(lo) + " " + number(hi));
    line("axis", onCanvas(axis, axis->getClientRect()));
    line("markers", std::string(axis->isMarkerXEnabled() ? "1 " : "0 ") +
                        (axis->isMarkerOEnabled() ? "1 " : "0 ") +
                        number(axis->getMarkerXPosition()) + " " +
                        number(axis->getMarkerOPosition()));
    for (int i = 0; i < 6; ++i) {
        if (KLabel* label = frame->getReadout(i))
            line("readout." + std::to_string(i), oneLine(label->getText().c_str()));
    }
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    line("graphs", std::to_string(graphs.size()));
    for (size_t g = 0; g < graphs.size(); ++g) {
        std::vector<KCurve*> curves;
        graphs[g]->getCurveList(curves);
        const KRange& y = graphs[g]->getYRange();
        line("graph." + std::to_string(g),
             std::string(graphs[g]->getClassName()) + " curves " + std::to_string(curves.size()) +
                 " active " + (graphs[g]->isActive() ? "1" : "0") + " y " + number(y.getMinimum()) +
                 " " + number(y.getMaximum()) + " plot " +
                 onCanvas(graphs[g], graphs[g]->getPlotRectangle()));
        for (size_t c = 0; c < curves.size(); ++c) {
            KCurve* curve = curves[c];
            char color[8];
            const COLORREF rgb = curve->getLineColor();
            std::snprintf(color, sizeof color, "#%02x%02x%02x", GetRValue(rgb), GetGValue(rgb),
                          GetBValue(rgb));
            line("curve." + std::to_string(g) + "." + std::to_string(c),
                 std::string(curve->getText().c_str()) + " visible " +
                     (curve->isVisible() ? "1" : "0") + " samples " +
                     std::to_string(curve->getSampleCount()) + " color " + color + " active " +
                     (curve == graphs[g]->getActiveCurve() ? "1" : "0") + " legend " +
                     onCanvas(curve, curve->getExtents()));
        }
        if (KGraphMeter* meter = graphs[g]->getMeter(); meter != nullptr && meter->isVisible()) {
            for (int r = 0; r < meter->getRowCount(); ++r) {
                KString atX, atO, difference;
                meter->getRowTexts(r, atX, atO, difference);
                line("meter." + std::to_string(g) + "." + std::to_string(r),
                     oneLine(std::string(atX.c_str()) + " | " + atO.c_str() + " | " +
                             difference.c_str()));
            }
        }
    }
    if (const KComponent* focus = KComponent::getFocus()) line("focus", focus->getClassName());
    if (const EventList* events = current->getEventList()) {
        line("events",
             std::to_string(events->getEvents().size()) + " list " + bounds(events->getWidget()));
        for (size_t i = 0; i < events->getEvents().size() && i < 3; ++i) {
            line("event." + std::to_string(i), number(events->getEvents()[i].time));
        }
    }
    return s;
}

// The actions.

void ViewerWindow::onOpen(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    const std::vector<KString> paths =
        KGtkDialogs::getOpenFileNames(w->window_, "Open Records or a Workspace", RECORD_FILTER);
    std::vector<std::string> chosen;
    for (const KString& p : paths) chosen.emplace_back(p.c_str());
    w->open(chosen);
}

void ViewerWindow::onOpenRecent(GSimpleAction*, GVariant* index, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    const int i = g_variant_get_int32(index);
    if (i < 0 || i >= static_cast<int>(w->recent_.getPaths().size())) return;
    w->open({w->recent_.getPaths()[static_cast<size_t>(i)]});
}

void ViewerWindow::onSaveWorkspace(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    const KString path = KGtkDialogs::getSaveFileName(
        w->window_, "Save Workspace", Workspace::FILTER, Workspace::EXTENSION, "workspace.kvw");
    if (!path.isEmpty()) w->saveWorkspace(path.c_str());
}

void ViewerWindow::onExport(GSimpleAction*, GVariant* format, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    if (tab == nullptr || tab->getRoot() == nullptr) return;
    const std::string kind = g_variant_get_string(format, nullptr);
    std::string name = tab->getPath();
    name = name.substr(name.rfind('/') + 1);
    name = name.substr(0, name.rfind('.')) + "." + kind;
    const KString path = KGtkDialogs::getSaveFileName(
        w->window_, "Export View", ViewExport::filterOf(kind), ("." + kind).c_str(), name.c_str());
    if (!path.isEmpty()) w->exportView(path.c_str());
}

void ViewerWindow::onPrint(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    if (tab == nullptr || tab->getRoot() == nullptr) return;
    try {
        if (ViewExport::print(*tab->getRoot(), GTK_WINDOW(w->window_), tab->getTitle()))
            w->setStatus("Printed " + tab->getTitle());
    } catch (const KException& e) {
        w->showError(e.getText().c_str());
    }
}

void ViewerWindow::onCloseTab(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    if (RecordTab* tab = w->getCurrentTab()) w->closeTab(tab);
}

void ViewerWindow::onNextTab(GSimpleAction*, GVariant*, gpointer self) {
    static_cast<ViewerWindow*>(self)->stepTab(1);
}

void ViewerWindow::onPreviousTab(GSimpleAction*, GVariant*, gpointer self) {
    static_cast<ViewerWindow*>(self)->stepTab(-1);
}

void ViewerWindow::stepTab(int step) {
    const int count = gtk_notebook_get_n_pages(GTK_NOTEBOOK(notebook_));
    if (count < 2) return;
    const int current = gtk_notebook_get_current_page(GTK_NOTEBOOK(notebook_));
    gtk_notebook_set_current_page(GTK_NOTEBOOK(notebook_), (current + step + count) % count);
}

void ViewerWindow::onCopyCurve(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    KGraphFrame* frame = tab != nullptr ? tab->getTimeGraphs() : nullptr;
    KGraphPanel* graph = frame != nullptr ? frame->getActiveGraph() : nullptr;
    KCurve* curve = graph != nullptr ? graph->getActiveCurve() : nullptr;
    if (curve == nullptr) {
        w->setStatus("No curve to copy: choose one in a graph's legend");
        return;
    }
    double lo, hi;
    curve->getXExtents(lo, hi);
    if (curve->copyData(lo, hi))
        w->setStatus(std::string("Copied the samples of ") + curve->getText().c_str());
}

void ViewerWindow::onCopyVisible(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    KGraphFrame* frame = tab != nullptr ? tab->getTimeGraphs() : nullptr;
    KGraphPanel* graph = frame != nullptr ? frame->getActiveGraph() : nullptr;
    if (graph != nullptr && graph->copyVisibleData())
        w->setStatus("Copied the samples in view of the active graph");
}

void ViewerWindow::onCopyPicture(GSimpleAction*, GVariant* kind, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    KContainer* root = tab != nullptr ? tab->getRoot() : nullptr;
    if (root == nullptr) return;
    const CRect area(CPoint(0, 0), root->getSize());
    const HWND owner = tab->getCanvas()->getWindow();
    const bool bitmap = std::strcmp(g_variant_get_string(kind, nullptr), "png") == 0;
    const int done = bitmap ? KClipboard::setBitmap(area, nullptr, root, owner)
                            : KClipboard::setMetaFile(area, nullptr, root, owner);
    if (done)
        w->setStatus(bitmap ? "Copied the view as a PNG image"
                            : "Copied the view as an SVG picture");
}

void ViewerWindow::onPaste(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    KGraphFrame* frame = tab != nullptr ? tab->getTimeGraphs() : nullptr;
    KGraphPanel* graph = frame != nullptr ? frame->getActiveGraph() : nullptr;
    if (graph == nullptr) return;
    try {
        if (!graph->pasteClipboardData()) {
            w->setStatus("Nothing to paste: the clipboard holds no rows of numbers");
            return;
        }
    } catch (const KException& e) {
        w->showError(e.getText().c_str());
        return;
    }
    frame->syncronizeGraphs(nullptr);
    frame->layoutAll();
    frame->repaint();
    w->setStatus("Pasted the clipboard's columns as curves");
}

void ViewerWindow::onView(GSimpleAction* action, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    const char* id = g_action_get_name(G_ACTION(action)) + std::strlen("view-");
    const ViewKind* kind = ViewKind::find(id);
    if (tab == nullptr || kind == nullptr) return;
    if (tab->showView(*kind)) w->updateActions();
}

void ViewerWindow::onImpedanceSettings(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    RecordTab* tab = w->getCurrentTab();
    if (tab == nullptr || tab->getRecord() == nullptr || w->settingsDialog_ != nullptr) return;
    ImpedanceDialog dialog(GTK_WINDOW(w->window_), tab->getImpedanceSettings(),
                           tab->getRecord()->getProperty("Values").c_str(),
                           [w](const std::string& text, GtkWidget* over) { w->showError(text, over); },
                           [w] { w->changed(); });
    w->settingsDialog_ = &dialog;
    w->changed();
    KImpedanceSettings settings;
    const bool accepted = dialog.run(settings);
    w->settingsDialog_ = nullptr;
    // The tab may have gone meanwhile (its record failed, or a script closed it).
    if (accepted && std::any_of(w->tabs_.begin(), w->tabs_.end(),
                                [tab](const auto& t) { return t.get() == tab; })) {
        tab->setImpedanceSettings(settings);
        if (tab->showView(*ViewKind::find("impedance"))) {
            const size_t zones = settings.getZones().size();
            w->setStatus(std::string("Impedance settings: ") + settings.describeK0().c_str() +
                         ", " + std::to_string(zones) + (zones == 1 ? " zone" : " zones"));
        }
        w->updateActions();
    }
    if (RecordTab* current = w->getCurrentTab()) current->focusView();
    w->changed();
}

void ViewerWindow::onSidebar(GSimpleAction* action, GVariant* state, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    g_simple_action_set_state(action, state);
    w->sidebar_ = g_variant_get_boolean(state);
    for (const auto& tab : w->tabs_) tab->setSidebarVisible(w->sidebar_);
    w->changed();
}

void ViewerWindow::onDark(GSimpleAction* action, GVariant* state, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    g_simple_action_set_state(action, state);
    w->dark_ = g_variant_get_boolean(state);
    for (const auto& tab : w->tabs_) {
        if (KGraphFrame* frame = tab->getTimeGraphs()) frame->setMode(w->dark_ ? 1 : 0);
    }
    w->changed();
}

void ViewerWindow::onGraph(GSimpleAction*, GVariant* command, gpointer self) {
    static_cast<ViewerWindow*>(self)->graphCommand(g_variant_get_string(command, nullptr));
}

void ViewerWindow::graphCommand(const std::string& command) {
    RecordTab* tab = getCurrentTab();
    KGraphFrame* frame = tab != nullptr ? tab->getTimeGraphs() : nullptr;
    if (frame == nullptr) return;
    KComponent* target = frame->getActiveGraph();
    if (command.rfind("FRAME.", 0) == 0) target = frame;
    if (command.rfind("AXIS.", 0) == 0) target = frame->getAxis();
    if (target == nullptr) return;
    KEvent event = KEvent::command(0, command.c_str());
    event.setSource(target);
    try {
        target->onCommand(event);
    } catch (const KException& e) {
        showError(e.getText().c_str());
    }
    tab->focusView();
    changed();
}

void ViewerWindow::onKeys(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    KGtkDialogs::messageBox(w->window_, KEYS_HELP, "Keys and Mouse",
                            KHost::MB_OK | KHost::MB_ICONINFORMATION);
}

void ViewerWindow::onAbout(GSimpleAction*, GVariant*, gpointer self) {
    auto* w = static_cast<ViewerWindow*>(self);
    const std::string text = std::string("Kalvo ") + KALVO_VERSION +
                             "\n\nThe viewer of power-system disturbance records (COMTRADE).";
    KGtkDialogs::messageBox(w->window_, text.c_str(), "About Kalvo",
                            KHost::MB_OK | KHost::MB_ICONINFORMATION);
}
