#include "ChannelList.h"

#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/graph/KGraphPanelDigital.h>
#include <kalvo/record/KRecord.h>

namespace {

// "2  A" for the second graph, whose first curve is in amperes; "3  status" for a graph of
// status channels.
std::string graphName(KGraphPanel* graph, int index) {
    std::string name = std::to_string(index + 1);
    std::vector<KCurve*> curves;
    graph->getCurveList(curves);
    if (k_dynamic_cast<KGraphPanelDigital>(graph) != nullptr) {
        name += "  status";
    } else if (!curves.empty() && !curves.front()->getUnits().isEmpty()) {
        name += "  ";
        name += curves.front()->getUnits().c_str();
    }
    return name;
}

}  // namespace

ChannelList::ChannelList(KGraphFrame& frame, KRecord& record,
                         std::function<void(const std::string&)> onError)
    : frame_(frame),
      record_(record),
      onError_(std::move(onError)),
      scroller_(gtk_scrolled_window_new()) {
    g_object_ref_sink(scroller_);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller_), GTK_POLICY_NEVER,
                                   GTK_POLICY_AUTOMATIC);
    gtk_widget_set_vexpand(scroller_, TRUE);
    refresh();
}

ChannelList::~ChannelList() {
    if (idle_ != 0) g_source_remove(idle_);
    g_object_unref(scroller_);
}

KCurve* ChannelList::findCurve(int trace) const {
    std::vector<KCurve*> curves;
    frame_.getCurveList(curves);
    for (KCurve* c : curves) {
        if (c->getSourceRecord() == &record_ && c->getChannel() == trace) return c;
    }
    return nullptr;
}

void ChannelList::refresh() {
    building_ = true;
    rows_.clear();
    box_ = gtk_list_box_new();
    gtk_list_box_set_selection_mode(GTK_LIST_BOX(box_), GTK_SELECTION_NONE);
    gtk_widget_add_css_class(box_, "channels");
    std::vector<KGraphPanel*> graphs;
    frame_.getGraphList(graphs);
    GtkStringList* names = gtk_string_list_new(nullptr);
    for (size_t i = 0; i < graphs.size(); ++i) {
        gtk_string_list_append(names, graphName(graphs[i], static_cast<int>(i)).c_str());
    }
    gtk_string_list_append(names, "new graph");
    for (int t = 0; t < record_.getTraceCount(); ++t)
        gtk_list_box_append(GTK_LIST_BOX(box_), makeRow(t, graphs, names));
    g_object_unref(names);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller_), box_);
    building_ = false;
}

GtkWidget* ChannelList::makeRow(int trace, const std::vector<KGraphPanel*>& graphs,
                                GtkStringList* names) {
    const KRecord::Trace* t = record_.getTrace(trace);
    KCurve* curve = findCurve(trace);
    rows_.push_back(std::make_unique<Row>(Row{this, trace, nullptr, nullptr}));
    Row* row = rows_.back().get();

    GtkWidget* line = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_widget_set_margin_start(line, 4);
    gtk_widget_set_margin_end(line, 4);
    GtkWidget* check = gtk_check_button_new();
    gtk_check_button_set_active(GTK_CHECK_BUTTON(check), curve != nullptr && curve->isVisible());
    std::string tip =
        std::string(t->getName().c_str()) + (t->isDigital() ? ": status channel" : "");
    gtk_widget_set_tooltip_text(check, ("Show " + std::string(t->getName().c_str())).c_str());
    g_signal_connect(check, "toggled", G_CALLBACK(onToggled), row);
    row->check = check;
    gtk_box_append(GTK_BOX(line), check);

    GtkWidget* swatch = gtk_drawing_area_new();
    gtk_drawing_area_set_content_width(GTK_DRAWING_AREA(swatch), 14);
    gtk_drawing_area_set_content_height(GTK_DRAWING_AREA(swatch), 14);
    gtk_widget_set_valign(swatch, GTK_ALIGN_CENTER);
    gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(swatch), drawSwatch, row, nullptr);
    gtk_box_append(GTK_BOX(line), swatch);

    std::string text = t->getName().c_str();
    if (!t->getUnits().isEmpty()) text += std::string("  (") + t->getUnits().c_str() + ")";
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    gtk_widget_set_hexpand(label, TRUE);
    gtk_widget_set_tooltip_text(label, tip.c_str());
    gtk_box_append(GTK_BOX(line), label);

    GtkWidget* graph = gtk_drop_down_new(G_LIST_MODEL(g_object_ref(names)), nullptr);
    gtk_widget_set_tooltip_text(graph, "The graph that draws the channel");
    guint place = GTK_INVALID_LIST_POSITION;
    for (size_t i = 0; curve != nullptr && i < graphs.size(); ++i) {
        if (curve->isDescendentOf(graphs[i])) place = static_cast<guint>(i);
    }
    gtk_drop_down_set_selected(GTK_DROP_DOWN(graph), place);
    gtk_widget_set_sensitive(graph, curve != nullptr);
    g_signal_connect(graph, "notify::selected", G_CALLBACK(onChosen), row);
    row->chooser = graph;
    gtk_box_append(GTK_BOX(line), graph);
    return line;
}

GtkWidget* ChannelList::getCheckButton(int trace) const {
    return trace >= 0 && trace < static_cast<int>(rows_.size())
               ? rows_[static_cast<size_t>(trace)]->check
               : nullptr;
}

GtkWidget* ChannelList::getGraphChooser(int trace) const {
    return trace >= 0 && trace < static_cast<int>(rows_.size())
               ? rows_[static_cast<size_t>(trace)]->chooser
               : nullptr;
}

void ChannelList::drawSwatch(GtkDrawingArea*, cairo_t* cr, int width, int height, gpointer data) {
    auto* row = static_cast<Row*>(data);
    KCurve* curve = row->list->findCurve(row->trace);
    if (curve == nullptr) return;
    const COLORREF color = curve->getLineColor();
    cairo_set_source_rgb(cr, GetRValue(color) / 255.0, GetGValue(color) / 255.0,
                         GetBValue(color) / 255.0);
    cairo_rectangle(cr, 1, 1, width - 2, height - 2);
    cairo_fill(cr);
}

void ChannelList::onToggled(GtkCheckButton* check, gpointer data) {
    auto* row = static_cast<Row*>(data);
    if (row->list->building_) return;
    row->list->later(Change{row->trace, gtk_check_button_get_active(check) != FALSE, -1});
}

void ChannelList::onChosen(GObject* dropDown, GParamSpec*, gpointer data) {
    auto* row = static_cast<Row*>(data);
    const guint chosen = gtk_drop_down_get_selected(GTK_DROP_DOWN(dropDown));
    if (row->list->building_ || chosen == GTK_INVALID_LIST_POSITION) return;
    row->list->later(Change{row->trace, true, static_cast<int>(chosen)});
}

void ChannelList::later(Change change) {
    // Applied once the signal is over: applying it rebuilds the rows, the signal's own among them.
    pending_.push_back(change);
    if (idle_ == 0) idle_ = g_idle_add(onIdle, this);
}

gboolean ChannelList::onIdle(gpointer self) {
    auto* list = static_cast<ChannelList*>(self);
    list->idle_ = 0;
    std::vector<Change> changes;
    changes.swap(list->pending_);
    for (const Change& c : changes) {
        if (c.graph >= 0) {
            list->moveTo(c.trace, c.graph);
        } else {
            list->setShown(c.trace, c.shown);
        }
    }
    return G_SOURCE_REMOVE;
}

bool ChannelList::setShown(int trace, bool shown) {
    const KRecord::Trace* t = record_.getTrace(trace);
    if (t == nullptr) return false;
    KCurve* curve = findCurve(trace);
    if (curve == nullptr && shown) {
        // A channel the graphs left out: into the first graph of its kind and units, or a
        // new one.
        curve = new KCurve();
        record_.selectTrace(trace);
        curve->setProducer(&record_);
        curve->setUnits(t->getUnits().c_str());
        std::vector<KGraphPanel*> graphs;
        frame_.getGraphList(graphs);
        bool added = false;
        for (KGraphPanel* g : graphs) {
            const bool digital = k_dynamic_cast<KGraphPanelDigital>(g) != nullptr;
            std::vector<KCurve*> curves;
            g->getCurveList(curves);
            const bool sameUnits =
                curves.empty() || curves.front()->getUnits().equals(t->getUnits());
            if (digital == t->isDigital() && (digital || sameUnits) && g->addCurve(curve)) {
                added = true;
                break;
            }
        }
        if (!added) {
            KGraphPanel* graph =
                t->isDigital() ? frame_.addDigitalGraph() : frame_.addAnalogGraph();
            if (!graph->addCurve(curve)) {
                delete curve;
                refresh();
                return false;
            }
        }
    } else if (curve != nullptr) {
        curve->setVisible(shown);
    }
    changed();
    return true;
}

bool ChannelList::moveTo(int trace, int graph) {
    KCurve* curve = findCurve(trace);
    if (curve == nullptr) return false;
    std::vector<KGraphPanel*> graphs;
    frame_.getGraphList(graphs);
    if (graph < 0 || graph > static_cast<int>(graphs.size())) return false;
    KGraphPanel* from = curve->getParent() != nullptr
                            ? k_dynamic_cast<KGraphPanel>(curve->getParent()->getParent())
                            : nullptr;
    KGraphPanel* to = graph < static_cast<int>(graphs.size()) ? graphs[graph] : nullptr;
    if (to == from && to != nullptr) return true;
    const bool digital = record_.getTrace(trace)->isDigital();
    if (to != nullptr && (k_dynamic_cast<KGraphPanelDigital>(to) != nullptr) != digital) {
        onError_(std::string(record_.getTrace(trace)->getName().c_str()) +
                 (digital ? " is a status channel: it goes in a graph of status channels."
                          : " is not a status channel: it goes in a graph of values."));
        refresh();
        return false;
    }
    try {
        if (to == nullptr) to = digital ? frame_.addDigitalGraph() : frame_.addAnalogGraph();
        curve->getParent()->remove(curve);
        if (!to->addCurve(curve)) {
            if (from == nullptr || !from->addCurve(curve)) delete curve;
            onError_("The graph takes no more curves.");
            changed();
            return false;
        }
        // A graph left without curves goes.
        std::vector<KCurve*> left;
        if (from != nullptr) from->getCurveList(left);
        if (from != nullptr && left.empty()) frame_.removeGraph(from);
        to->resetZoomY();
    } catch (const KException& e) {
        onError_(e.getText().c_str());
    }
    changed();
    return true;
}

void ChannelList::changed() {
    // A graph made for a channel takes the colours of the others.
    frame_.setMode(frame_.getMode());
    std::vector<KGraphPanel*> graphs;
    frame_.getGraphList(graphs);
    for (KGraphPanel* g : graphs) g->resetZoomY();
    frame_.syncronizeGraphs(nullptr);
    if (frame_.getCanvas() != nullptr) frame_.layoutAll();
    frame_.repaint();
    refresh();
}
