#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include <gtk/gtk.h>

#include <kalvo/plot/KImpedanceSettings.h>

#include "ViewKinds.h"

class ChannelList;
class EventList;
class KCanvasView;
class KContainer;
class KGraphFrame;
class KRecord;
class RecordLoader;

// One record in the viewer: a tab holding its views (the time graphs first; the others
// built from them when first shown), with the channel list and the status events beside
// them. A record is read on a thread of its own while the tab shows its progress with a
// Cancel button; a tab can also take over time graphs read back from a workspace, which
// hold their records themselves.
class RecordTab {
public:
    struct Events {
        std::function<void(RecordTab&)> loaded;
        // The record could not be read (the text says why) or the reading was cancelled
        // (empty text): the tab is to go.
        std::function<void(RecordTab&, const std::string&)> failed;
        std::function<void(RecordTab&)> closeAsked;
        // An error to show the user.
        std::function<void(const std::string&)> error;
        // Something shown changed (a frame painted, a view switched).
        std::function<void()> changed;
        // Each paint of a view: the milliseconds it took.
        std::function<void(double)> painted;
    };

    // Starts reading the record at path.
    RecordTab(const std::string& path, Events events);
    // Takes over time graphs read back from a workspace.
    RecordTab(KGraphFrame* frame, const std::string& path, const std::string& title, Events events);
    ~RecordTab();
    RecordTab(const RecordTab&) = delete;
    RecordTab& operator=(const RecordTab&) = delete;

    GtkWidget* getPage() const { return page_; }
    GtkWidget* getTabLabel() const { return tabLabel_; }
    const std::string& getPath() const { return path_; }
    const std::string& getTitle() const { return title_; }

    bool isLoading() const { return loader_ != nullptr; }
    double getProgress() const;
    void cancelLoading();
    // The time graphs and their record; null while loading.
    KGraphFrame* getTimeGraphs() const { return frame_; }
    KRecord* getRecord() const { return record_.get(); }
    ChannelList* getChannelList() const { return channels_.get(); }
    EventList* getEventList() const { return events_.get(); }

    // Switches to the view; false when it is not available (or the record still loads).
    bool showView(const ViewKind& kind);
    const ViewKind& getView() const { return *view_; }
    // The time graphs of the view shown: the tab's, or the view's own.
    KGraphFrame* getViewGraphs() const;
    // The canvas and the root of the view shown.
    KCanvasView* getCanvas() const;
    KContainer* getRoot() const;
    // Gives the keyboard to the view shown, and the toolkit's focus to the active graph.
    void focusView();
    void setSidebarVisible(bool visible);
    bool isSidebarVisible() const;
    // The k0 and zones of the impedance view. Setting them builds the view again with them
    // (at once when it is shown, else when it is next shown).
    const KImpedanceSettings& getImpedanceSettings() const { return impedance_; }
    void setImpedanceSettings(const KImpedanceSettings& settings);
    // Puts marker X at a time (showing the markers and bringing it into view).
    void placeMarkerX(double time);
    // How many times the tab's views painted.
    int getPaintCount() const { return paints_; }

private:
    static gboolean onPoll(gpointer self);
    static void onCancel(GtkButton*, gpointer self);
    static void onClose(GtkButton*, gpointer self);

    void buildPage();
    void finishLoading();
    // Shows the time graphs, once the record or the frame is there.
    void showGraphs(KGraphFrame* frame);
    KCanvasView* makeCanvas();

    std::string path_;
    std::string title_;
    Events on_;
    std::unique_ptr<RecordLoader> loader_;
    guint poll_ = 0;
    int paints_ = 0;
    std::shared_ptr<KRecord> record_;
    KGraphFrame* frame_ = nullptr;
    std::map<std::string, std::unique_ptr<KCanvasView>> canvases_;  // by view id
    std::map<std::string, KGraphFrame*> viewGraphs_;  // the other views' own, by view id
    const ViewKind* view_;
    KImpedanceSettings impedance_;
    std::unique_ptr<ChannelList> channels_;
    std::unique_ptr<EventList> events_;

    GtkWidget* page_ = nullptr;  // loading or ready
    GtkWidget* tabLabel_ = nullptr;
    GtkWidget* tabText_ = nullptr;
    GtkWidget* progress_ = nullptr;
    GtkWidget* paned_ = nullptr;  // sidebar and views
    GtkWidget* sidebar_ = nullptr;
    GtkWidget* views_ = nullptr;
};
