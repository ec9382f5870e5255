#include "RecordTab.h"

#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphAxis.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphPanel.h>
#include <kalvo/host/gtk/KCanvasView.h>
#include <kalvo/record/KRecord.h>

#include "ChannelList.h"
#include "EventList.h"
#include "RecordLoader.h"
#include "RecordViews.h"

namespace {

std::string baseName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The frame's title: station, device and start of the record, as the file names them.
std::string recordTitle(const KRecord& record, const std::string& path) {
    std::string title = record.getName().c_str();
    if (!record.getDevice().isEmpty())
        title += std::string(title.empty() ? "" : " - ") + record.getDevice().c_str();
    if (title.empty()) title = baseName(path);
    const KString start = record.getProperty("Start");
    if (!start.isEmpty()) title += std::string("   ") + start.c_str();
    return title;
}

GtkWidget* heading(const char* text) {
    GtkWidget* label = gtk_label_new(text);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_widget_add_css_class(label, "heading");
    gtk_widget_set_margin_start(label, 6);
    gtk_widget_set_margin_top(label, 6);
    gtk_widget_set_margin_bottom(label, 2);
    return label;
}

}  // namespace

RecordTab::RecordTab(const std::string& path, Events events)
    : path_(path), title_(baseName(path)), on_(std::move(events)), view_(&ViewKind::all().front()) {
    buildPage();
    loader_ = std::make_unique<RecordLoader>(path);
    poll_ = g_timeout_add(50, onPoll, this);
}

RecordTab::RecordTab(KGraphFrame* frame, const std::string& path, const std::string& title,
                     Events events)
    : path_(path), title_(title), on_(std::move(events)), view_(&ViewKind::all().front()) {
    buildPage();
    // The records read back are kept by their curves; the tab shares the first one.
    std::vector<KCurve*> curves;
    frame->getCurveList(curves);
    for (KCurve* c : curves) {
        if (auto* record = k_dynamic_cast<KRecord>(c->getSharedProducer().get())) {
            record_ = std::shared_ptr<KRecord>(c->getSharedProducer(), record);
            break;
        }
    }
    showGraphs(frame);
}

RecordTab::~RecordTab() {
    if (poll_ != 0) g_source_remove(poll_);
    loader_.reset();
    g_signal_handlers_disconnect_by_data(tabLabel_, this);
    // The views go before the record they show.
    channels_.reset();
    events_.reset();
    viewGraphs_.clear();
    canvases_.clear();
    frame_ = nullptr;
    record_.reset();
    g_object_unref(page_);
    g_object_unref(tabLabel_);
}

void RecordTab::buildPage() {
    page_ = gtk_stack_new();
    g_object_ref_sink(page_);

    GtkWidget* loading = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_widget_set_valign(loading, GTK_ALIGN_CENTER);
    gtk_widget_set_halign(loading, GTK_ALIGN_CENTER);
    gtk_box_append(GTK_BOX(loading), gtk_label_new(("Reading " + baseName(path_) + " …").c_str()));
    progress_ = gtk_progress_bar_new();
    gtk_progress_bar_set_show_text(GTK_PROGRESS_BAR(progress_), TRUE);
    gtk_widget_set_size_request(progress_, 360, -1);
    gtk_box_append(GTK_BOX(loading), progress_);
    GtkWidget* cancel = gtk_button_new_with_mnemonic("_Cancel");
    gtk_widget_set_halign(cancel, GTK_ALIGN_CENTER);
    g_signal_connect(cancel, "clicked", G_CALLBACK(onCancel), this);
    gtk_box_append(GTK_BOX(loading), cancel);
    gtk_stack_add_named(GTK_STACK(page_), loading, "loading");

    paned_ = gtk_paned_new(GTK_ORIENTATION_HORIZONTAL);
    gtk_paned_set_shrink_start_child(GTK_PANED(paned_), FALSE);
    gtk_paned_set_resize_start_child(GTK_PANED(paned_), FALSE);
    sidebar_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_set_size_request(sidebar_, 270, -1);
    gtk_paned_set_start_child(GTK_PANED(paned_), sidebar_);
    views_ = gtk_stack_new();
    gtk_paned_set_end_child(GTK_PANED(paned_), views_);
    gtk_stack_add_named(GTK_STACK(page_), paned_, "ready");
    gtk_stack_set_visible_child_name(GTK_STACK(page_), "loading");

    tabLabel_ = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4);
    g_object_ref_sink(tabLabel_);
    tabText_ = gtk_label_new(title_.c_str());
    gtk_label_set_ellipsize(GTK_LABEL(tabText_), PANGO_ELLIPSIZE_MIDDLE);
    gtk_label_set_width_chars(GTK_LABEL(tabText_), 12);
    gtk_label_set_max_width_chars(GTK_LABEL(tabText_), 40);
    gtk_widget_set_tooltip_text(tabText_, path_.c_str());
    gtk_box_append(GTK_BOX(tabLabel_), tabText_);
    GtkWidget* close = gtk_button_new_with_label("×");
    gtk_button_set_has_frame(GTK_BUTTON(close), FALSE);
    gtk_widget_set_focusable(close, FALSE);
    gtk_widget_set_tooltip_text(close, "Close the tab (Ctrl+W)");
    g_signal_connect(close, "clicked", G_CALLBACK(onClose), this);
    gtk_box_append(GTK_BOX(tabLabel_), close);
}

double RecordTab::getProgress() const {
    return loader_ != nullptr ? loader_->getProgress() : 1.0;
}

void RecordTab::cancelLoading() {
    if (loader_ != nullptr) loader_->cancel();
}

void RecordTab::onCancel(GtkButton*, gpointer self) {
    static_cast<RecordTab*>(self)->cancelLoading();
}

void RecordTab::onClose(GtkButton*, gpointer self) {
    auto* tab = static_cast<RecordTab*>(self);
    if (tab->on_.closeAsked) tab->on_.closeAsked(*tab);
}

gboolean RecordTab::onPoll(gpointer self) {
    auto* tab = static_cast<RecordTab*>(self);
    const double share = tab->loader_->getProgress();
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(tab->progress_), share);
    gtk_progress_bar_set_text(GTK_PROGRESS_BAR(tab->progress_),
                              (std::to_string(static_cast<int>(share * 100)) + " %").c_str());
    if (tab->on_.changed) tab->on_.changed();
    if (!tab->loader_->isFinished()) return G_SOURCE_CONTINUE;
    tab->poll_ = 0;
    tab->finishLoading();
    return G_SOURCE_REMOVE;
}

void RecordTab::finishLoading() {
    std::unique_ptr<RecordLoader> loader = std::move(loader_);
    record_ = loader->takeRecord();
    if (record_ == nullptr) {
        if (on_.failed) on_.failed(*this, loader->getError());
        return;
    }
    try {
        title_ = recordTitle(*record_, path_);
        auto* frame = new KGraphFrame(true);
        KCanvasView* canvas = makeCanvas();
        canvas->setRoot(frame);
        frame->create();
        frame->setTitle(title_.c_str());
        frame->addRecord(record_.get());
        showGraphs(frame);
    } catch (const KException& e) {
        record_.reset();
        canvases_.clear();
        if (on_.failed) on_.failed(*this, path_ + ": " + e.getText().c_str());
        return;
    }
    if (on_.loaded) on_.loaded(*this);
}

KCanvasView* RecordTab::makeCanvas() {
    auto canvas = std::make_unique<KCanvasView>();
    canvas->setErrorHandler([this](const KException& e) {
        if (on_.error) on_.error(e.getText().c_str());
    });
    canvas->setPaintObserver([this](const CRect&, double ms) {
        ++paints_;
        if (on_.painted) on_.painted(ms);
        if (on_.changed) on_.changed();
    });
    KCanvasView* made = canvas.get();
    canvases_[view_->id] = std::move(canvas);
    gtk_stack_add_named(GTK_STACK(views_), made->getWidget(), view_->id);
    return made;
}

void RecordTab::showGraphs(KGraphFrame* frame) {
    frame_ = frame;
    if (canvases_.count("time") == 0) makeCanvas()->setRoot(frame);
    gtk_label_set_text(GTK_LABEL(tabText_), title_.c_str());
    if (record_ != nullptr) {
        channels_ =
            std::make_unique<ChannelList>(*frame, *record_, [this](const std::string& text) {
                if (on_.error) on_.error(text);
            });
        gtk_box_append(GTK_BOX(sidebar_), heading("Channels"));
        gtk_box_append(GTK_BOX(sidebar_), channels_->getWidget());
        events_ = std::make_unique<EventList>(*record_, [this](double t) { placeMarkerX(t); });
        gtk_box_append(GTK_BOX(sidebar_), heading("Status changes"));
        gtk_widget_set_size_request(events_->getWidget(), -1, 160);
        gtk_box_append(GTK_BOX(sidebar_), events_->getWidget());
    }
    gtk_stack_set_visible_child_name(GTK_STACK(page_), "ready");
    gtk_stack_set_visible_child_name(GTK_STACK(views_), "time");
    focusView();
}

bool RecordTab::showView(const ViewKind& kind) {
    if (frame_ == nullptr) return false;
    const bool time = &kind == &ViewKind::all().front();
    if (!time && viewGraphs_.count(kind.id) == 0) {
        const ViewKind* shown = view_;
        view_ = &kind;
        KCanvasView* canvas = makeCanvas();
        try {
            viewGraphs_[kind.id] = kind.build(*canvas, *frame_, *record_, impedance_);
        } catch (const KException& e) {
            view_ = shown;
            gtk_stack_remove(GTK_STACK(views_), canvas->getWidget());
            canvases_.erase(kind.id);
            if (on_.error) on_.error(e.getText().c_str());
            return false;
        }
    } else if (!time) {
        RecordViews::follow(*frame_, *viewGraphs_[kind.id], kind.needsMarkers);
    }
    view_ = &kind;
    gtk_stack_set_visible_child_name(GTK_STACK(views_), kind.id);
    focusView();
    if (on_.changed) on_.changed();
    return true;
}

void RecordTab::setImpedanceSettings(const KImpedanceSettings& settings) {
    impedance_ = settings;
    const ViewKind& impedance = *ViewKind::find("impedance");
    const auto built = canvases_.find(impedance.id);
    if (built == canvases_.end()) return;
    const bool shown = view_ == &impedance;
    if (shown) view_ = &ViewKind::all().front();
    viewGraphs_.erase(impedance.id);
    gtk_stack_remove(GTK_STACK(views_), built->second->getWidget());
    canvases_.erase(built);
    if (shown && !showView(impedance)) showView(*view_);
}

KGraphFrame* RecordTab::getViewGraphs() const {
    const auto it = viewGraphs_.find(view_->id);
    return it != viewGraphs_.end() ? it->second : frame_;
}

KCanvasView* RecordTab::getCanvas() const {
    const auto it = canvases_.find(view_->id);
    return it != canvases_.end() ? it->second.get() : nullptr;
}

KContainer* RecordTab::getRoot() const {
    KCanvasView* canvas = getCanvas();
    return canvas != nullptr ? canvas->getRoot() : nullptr;
}

void RecordTab::focusView() {
    KCanvasView* canvas = getCanvas();
    if (canvas == nullptr) return;
    gtk_widget_grab_focus(canvas->getWidget());
    if (frame_ != nullptr && view_ == &ViewKind::all().front())
        frame_->focusGraph(frame_->getActiveGraph());
}

void RecordTab::setSidebarVisible(bool visible) {
    gtk_widget_set_visible(sidebar_, visible);
}

bool RecordTab::isSidebarVisible() const {
    return gtk_widget_get_visible(sidebar_);
}

void RecordTab::placeMarkerX(double time) {
    if (frame_ == nullptr) return;
    KGraphAxis* axis = frame_->getAxis();
    if (!axis->isMarkerXEnabled()) frame_->toggleMarkers();
    frame_->setMarkerXPosition(time);
    axis->focusMarkerX();
    frame_->syncronizeMarkers();
    frame_->updateMarkerLabels();
    frame_->repaintGraphs();
}
