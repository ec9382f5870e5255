#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtk/gtk.h>

class KCurve;
class KGraphFrame;
class KGraphPanel;
class KRecord;

// The channels of a record beside its time graphs: a row per channel with a check box that
// shows or hides it, its colour, name and units, and the graph it is drawn in, from which it
// moves to another graph or a graph of its own. A channel the graphs left out when the
// record was opened (a status that never changes) is shown by checking it.
class ChannelList {
public:
    // Errors of a move (a status channel in a graph of values, say) go to onError.
    ChannelList(KGraphFrame& frame, KRecord& record,
                std::function<void(const std::string&)> onError);
    ~ChannelList();
    ChannelList(const ChannelList&) = delete;
    ChannelList& operator=(const ChannelList&) = delete;

    GtkWidget* getWidget() const { return scroller_; }
    // Rebuilds the rows from the graphs, after they changed by other means.
    void refresh();

    // The curve that draws the record's trace in the frame; null for none.
    KCurve* findCurve(int trace) const;
    // Shows or hides a channel; false when it cannot be shown.
    bool setShown(int trace, bool shown);
    // Moves a channel's curve to the graph of that place in the frame; the place after the
    // last makes a new graph. False when the graph does not take it.
    bool moveTo(int trace, int graph);
    // The check box and the graph chooser of a channel's row; null for no such channel.
    GtkWidget* getCheckButton(int trace) const;
    GtkWidget* getGraphChooser(int trace) const;

private:
    struct Row {
        ChannelList* list;
        int trace;
        GtkWidget* check;
        GtkWidget* chooser;
    };
    // A change asked for in a row: shown or hidden, or moved to a graph (from 0).
    struct Change {
        int trace;
        bool shown;
        int graph;  // -1: no move
    };
    void later(Change change);
    static gboolean onIdle(gpointer self);
    static void onToggled(GtkCheckButton* check, gpointer row);
    static void onChosen(GObject* dropDown, GParamSpec*, gpointer row);
    static void drawSwatch(GtkDrawingArea* area, cairo_t* cr, int width, int height, gpointer row);

    GtkWidget* makeRow(int trace, const std::vector<KGraphPanel*>& graphs, GtkStringList* names);
    // Brings the frame up to date after a change of its curves.
    void changed();

    KGraphFrame& frame_;
    KRecord& record_;
    std::function<void(const std::string&)> onError_;
    GtkWidget* scroller_;
    GtkWidget* box_ = nullptr;
    std::vector<std::unique_ptr<Row>> rows_;
    std::vector<Change> pending_;
    guint idle_ = 0;
    bool building_ = false;
};
