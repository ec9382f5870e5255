#include "EventList.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/record/KRecord.h>

std::vector<EventList::Event> EventList::findEvents(const KRecord& record) {
    std::vector<Event> events;
    const double* x = record.getXData();
    const int n = record.getSampleCount();
    for (int t = 0; t < record.getTraceCount(); ++t) {
        const KRecord::Trace* trace = record.getTrace(t);
        if (trace == nullptr || !trace->isDigital() || trace->getCount() < n) continue;
        const double* y = trace->getData();
        for (int i = 1; i < n; ++i) {
            const int before = y[i - 1] >= 0.5, now = y[i] >= 0.5;
            if (now != before) events.push_back({x[i], t, now});
        }
    }
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& a, const Event& b) { return a.time < b.time; });
    return events;
}

EventList::EventList(const KRecord& record, std::function<void(double)> onChosen)
    : events_(findEvents(record)),
      onChosen_(std::move(onChosen)),
      box_(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)) {
    g_object_ref_sink(box_);
    if (events_.empty()) {
        GtkWidget* none = gtk_label_new("No status channel changes state.");
        gtk_widget_add_css_class(none, "dim-label");
        gtk_widget_set_margin_top(none, 8);
        gtk_box_append(GTK_BOX(box_), none);
        return;
    }
    // One line of text per change: time from the trigger, channel, new state.
    GtkStringList* lines = gtk_string_list_new(nullptr);
    for (const Event& e : events_) {
        const KRecord::Trace* trace = record.getTrace(e.trace);
        // A change at the trigger, give or take rounding, is at 0.
        std::string line = KGraphAxis::formatTime(std::fabs(e.time) < 5e-10 ? 0.0 : e.time).c_str();
        line += e.state ? "  0→1  " : "  1→0  ";
        line += trace->getName().c_str();
        gtk_string_list_append(lines, line.c_str());
    }
    GtkListItemFactory* factory = gtk_signal_list_item_factory_new();
    g_signal_connect(factory, "setup", G_CALLBACK(onSetup), nullptr);
    g_signal_connect(factory, "bind", G_CALLBACK(onBind), nullptr);
    GtkSingleSelection* selection = gtk_single_selection_new(G_LIST_MODEL(lines));
    gtk_single_selection_set_autoselect(selection, FALSE);
    gtk_single_selection_set_can_unselect(selection, TRUE);
    gtk_single_selection_set_selected(selection, GTK_INVALID_LIST_POSITION);
    view_ = gtk_list_view_new(GTK_SELECTION_MODEL(selection), factory);
    gtk_list_view_set_single_click_activate(GTK_LIST_VIEW(view_), FALSE);
    g_signal_connect(view_, "activate", G_CALLBACK(onActivate), this);
    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_AUTOMATIC,
                                   GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), view_);
    gtk_widget_set_vexpand(scroller, TRUE);
    gtk_box_append(GTK_BOX(box_), scroller);
}

EventList::~EventList() {
    if (view_ != nullptr) g_signal_handlers_disconnect_by_data(view_, this);
    g_object_unref(box_);
}

void EventList::onSetup(GtkSignalListItemFactory*, GtkListItem* item, gpointer) {
    GtkWidget* label = gtk_label_new(nullptr);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_widget_add_css_class(label, "monospace");
    gtk_list_item_set_child(item, label);
}

void EventList::onBind(GtkSignalListItemFactory*, GtkListItem* item, gpointer) {
    auto* text = GTK_STRING_OBJECT(gtk_list_item_get_item(item));
    gtk_label_set_text(GTK_LABEL(gtk_list_item_get_child(item)),
                       gtk_string_object_get_string(text));
}

void EventList::onActivate(GtkListView*, guint position, gpointer self) {
    auto* list = static_cast<EventList*>(self);
    if (position < list->events_.size() && list->onChosen_)
        list->onChosen_(list->events_[position].time);
}
