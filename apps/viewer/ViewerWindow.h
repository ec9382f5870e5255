#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtk/gtk.h>

#include <kalvo/plot/KImpedanceSettings.h>

#include "RecentFiles.h"

class FrameTimeLog;
class ImpedanceDialog;
class RecordTab;
class StateReport;
class ViewerOptions;
struct ViewKind;

// The viewer's window: a menu bar whose every command has a key or a mnemonic, a tab per
// record or workspace page, and a status line. Records open by the Open dialog, from the
// command line, by dropping files on the window and from the recent files; one that cannot
// be read is told in a message naming the file, and everything else stays as it was.
class ViewerWindow {
public:
    ViewerWindow(GtkApplication* application, const ViewerOptions& options);
    ~ViewerWindow();
    ViewerWindow(const ViewerWindow&) = delete;
    ViewerWindow& operator=(const ViewerWindow&) = delete;

    GtkWindow* getWindow() const { return GTK_WINDOW(window_); }
    // Opens records and workspaces (by their extension).
    void open(const std::vector<std::string>& paths);
    void openRecord(const std::string& path);
    void openWorkspace(const std::string& path);
    void saveWorkspace(const std::string& path);
    void exportView(const std::string& path);
    RecordTab* getCurrentTab() const;
    // Tells the user of a problem, in a message box over the window or the dialog given; the
    // text is kept for the state report.
    void showError(const std::string& text, GtkWidget* over = nullptr);
    void setStatus(const std::string& text);

    // The application's keys: window actions and their accelerators.
    static void installAccelerators(GtkApplication* application);

private:
    // Actions of the menus.
    static void onOpen(GSimpleAction*, GVariant*, gpointer self);
    static void onOpenRecent(GSimpleAction*, GVariant* index, gpointer self);
    static void onSaveWorkspace(GSimpleAction*, GVariant*, gpointer self);
    static void onExport(GSimpleAction*, GVariant* format, gpointer self);
    static void onPrint(GSimpleAction*, GVariant*, gpointer self);
    static void onCloseTab(GSimpleAction*, GVariant*, gpointer self);
    static void onNextTab(GSimpleAction*, GVariant*, gpointer self);
    static void onPreviousTab(GSimpleAction*, GVariant*, gpointer self);
    static void onCopyCurve(GSimpleAction*, GVariant*, gpointer self);
    static void onCopyVisible(GSimpleAction*, GVariant*, gpointer self);
    static void onCopyPicture(GSimpleAction*, GVariant* kind, gpointer self);
    static void onPaste(GSimpleAction*, GVariant*, gpointer self);
    static void onView(GSimpleAction* action, GVariant*, gpointer self);
    static void onImpedanceSettings(GSimpleAction*, GVariant*, gpointer self);
    static void onSidebar(GSimpleAction* action, GVariant* state, gpointer self);
    static void onDark(GSimpleAction* action, GVariant* state, gpointer self);
    static void onGraph(GSimpleAction*, GVariant* command, gpointer self);
    static void onKeys(GSimpleAction*, GVariant*, gpointer self);
    static void onAbout(GSimpleAction*, GVariant*, gpointer self);
    // Window and notebook.
    static void onSwitchPage(GtkNotebook*, GtkWidget* page, guint index, gpointer self);
    static gboolean onDrop(GtkDropTarget*, const GValue* value, double, double, gpointer self);
    static gboolean onCloseRequest(GtkWindow*, gpointer self);

    void addActions();
    GMenuModel* buildMenu();
    void updateRecentMenu();
    void addTab(std::unique_ptr<RecordTab> tab);
    void closeTab(RecordTab* tab);
    // The tab after (1) or before (-1) the one in front, round the ends.
    void stepTab(int step);
    int indexOf(const RecordTab* tab) const;
    // Actions that need a record in front are enabled only then.
    void updateActions();
    // Sends a command of the time graphs' menus to its target: the active graph, the frame
    // or the axis.
    void graphCommand(const std::string& command);
    void changed();
    std::string describeState() const;
    // The RecordTab events of this window.
    struct TabEvents;

    GtkWidget* window_;
    GMenuModel* menu_;
    GtkWidget* notebook_;
    GtkWidget* pages_;  // the notebook, or the hint shown while no tab is open
    GtkWidget* status_;
    GMenu* recentMenu_;
    GSimpleActionGroup* actions_;
    std::vector<std::unique_ptr<RecordTab>> tabs_;
    RecentFiles recent_;
    std::vector<std::string> messages_;
    std::string statusText_;
    bool sidebar_ = true;
    bool dark_ = false;
    KImpedanceSettings impedance_;  // of the command line, for each record opened
    const ImpedanceDialog* settingsDialog_ = nullptr;  // while it is open
    std::unique_ptr<FrameTimeLog> frameLog_;
    std::unique_ptr<StateReport> state_;
};
