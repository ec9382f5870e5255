#pragma once

#include <functional>
#include <vector>

#include <gtk/gtk.h>

class KRecord;

// The status channels' changes of state in time order, a row each with its time from the
// trigger, the channel and the new state. Activating a row (a double click, or Enter) hands
// its time on: the viewer puts marker X there.
class EventList {
public:
    struct Event {
        double time;
        int trace;
        int state;  // the new state, 0 or 1
    };

    EventList(const KRecord& record, std::function<void(double)> onChosen);
    ~EventList();
    EventList(const EventList&) = delete;
    EventList& operator=(const EventList&) = delete;

    GtkWidget* getWidget() const { return box_; }
    const std::vector<Event>& getEvents() const { return events_; }

    // Every change of state of the record's status traces, ordered by time and then by
    // channel; the first sample's states are not changes.
    static std::vector<Event> findEvents(const KRecord& record);

private:
    static void onActivate(GtkListView* view, guint position, gpointer self);
    static void onSetup(GtkSignalListItemFactory*, GtkListItem* item, gpointer);
    static void onBind(GtkSignalListItemFactory*, GtkListItem* item, gpointer);

    std::vector<Event> events_;
    std::function<void(double)> onChosen_;
    GtkWidget* box_;
    GtkWidget* view_ = nullptr;
};
