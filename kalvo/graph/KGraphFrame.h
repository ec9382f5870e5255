#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <kalvo/toolkit/KFrame.h>

class CWnd;
class KCurve;
class KDataTransform;
class KGraphAxis;
class KGraphClient;
class KGraphPanel;
class KLabel;
class KRecord;
class KRecordProducer;
class KScrollPane;

// The time graph as the user sees it: a title, a stack of graph panels and one time axis
// shared by all of them in the footer, with the marker read-outs on either side of it. The
// axis owns the visible time range, the markers X and O and the trigger; the frame keeps
// every graph in step with it, so that all show the same stretch of time with the same
// markers, and lines their plots up with the axis.
//
// The read-outs left of the axis give the times of X and O and their difference; those on
// the right the number of line-frequency cycles between the markers, the frequency whose
// period the difference is, and the line frequency.
//
// Whenever the time in view, the markers or a marker being dragged change, the frame tells
// its listeners the action "view.change" (at once, with the frame as its source), so that
// views beside it can follow.
class KGraphFrame : public KFrame {
    K_DECLARE_CLASS(KGraphFrame);

public:
    enum Move { MOVE_UP, MOVE_DOWN, MOVE_TOP, MOVE_BOTTOM };

    // With scroll the stack of graphs lies in a scroll pane.
    explicit KGraphFrame(bool scroll = true, bool reserved = false);
    ~KGraphFrame() override;

    // Builds the header, the stack of graphs and the footer with the axis.
    void create();
    // Adds graphs for the record's channels (the traces listed, or all): analog channels
    // grouped by units, status channels that are set somewhere (changing state or set all
    // through) in status graphs; markers off, the trigger shown, the whole record in view.
    void addRecord(KRecord* record, const std::vector<int>& traces = {});

    // Parts. getAxis raises "Unable to find axis panel." when there is none.
    KGraphAxis* getAxis() const;
    KGraphClient* getGraphClient() const;
    KScrollPane* getScrollPane() const;
    KString getTitle() const;
    void setTitle(const char* title);

    // Graphs.
    KGraphPanel* addAnalogGraph();
    KGraphPanel* addDigitalGraph();
    KGraphPanel* addBarGraph();
    void getGraphList(std::vector<KGraphPanel*>& list) const;
    void setActiveGraph(KGraphPanel* graph);
    KGraphPanel* getActiveGraph() const;
    // Makes the graph active, gives it the focus and scrolls it into view.
    void focusGraph(KGraphPanel* graph);
    void removeGraph(KGraphPanel* graph);
    void moveGraph(KGraphPanel* graph, Move move);
    KContainer* componentPasting(KComponent* component) override;
    // Whether the user may change the frame's make-up (add, remove, move and paste graphs),
    // and whether the graphs take their default keys and mouse operations.
    void enableUserOperations(bool on) { userOperations_ = on; }
    bool isUserOperations() const { return userOperations_; }
    void enableDefaultOperations(bool on) { defaultOperations_ = on; }
    bool isDefaultOperations() const { return defaultOperations_; }

    // Curves.
    // A curve of the values, evenly spaced from start to end (1.0 apart when end is not
    // above start), added to the active graph; null for no values. A value that is not
    // finite is skipped without advancing the time.
    KCurve* insertCurve(double* values, long count, double start, double end, const char* name);
    // Appends values to a curve made by insertCurve, continuing its time step.
    bool appendDataToCurve(double* values, long count, int index);
    bool appendDataToCurve(double* values, long count, const char* name);
    bool removeCurve(const char* name);
    bool removeCurve(KCurve* curve);
    bool removeCurve(int index);
    void getCurveList(std::vector<KCurve*>& list) const;

    // Time range and markers.
    void setXRange(double lo, double hi);
    void findXExtents(double& lo, double& hi) const;
    void resetZoomX();
    void resetZoomY();
    void zoomX(bool in);
    void panDisplay(double delta);
    void setAperture(double lo, double hi);
    void getAperture(double& lo, double& hi) const;
    void setMarkerXPosition(double x);
    void setMarkerOPosition(double x);
    double getMarkerXPosition() const;
    double getMarkerOPosition() const;
    void toggleMarkers();
    void toggleTrigger();
    // The exclusive-or hair line across every graph at a time: drawing it again elsewhere
    // erases the last one; NaN only erases.
    void drawVertHair(double x);
    // While a marker (0 X, 1 O) is dragged: the read-outs show it at x.
    void previewMarker(int which, double x);

    // Keeping in step.
    void syncronizeGraphs(KGraphPanel* graph);
    void syncronizeRanges(KGraphPanel* graph);
    // Every graph takes the markers and the trigger from the axis. When the markers moved or
    // were shown or hidden since last time, those around the frame are told by the action
    // "markers.moved".
    void syncronizeMarkers();
    void syncronizeFlags();
    // Refreshes the read-outs and the graphs' meters, and tells the listeners "view.change".
    void updateMarkerLabels();
    void updateOffsetControls();
    // Gives every graph the same margins and lines the axis up with their plots.
    void resizeMargins();
    void setLeftMarginDyn(int margin);
    void setRightMarginDyn(int margin);
    void repaintGraphs();
    // After the axis' range moved: every graph takes it, moving its picture along where it
    // can (see KGraphPanel::panTo), and the footer repaints.
    void panGraphs();
    // Brings extents, margins and read-outs up to date after the data or the make-up
    // changed; many changes at once are answered once, after the last.
    void scheduleRefresh();
    // The three read-outs on each side of the axis (0 to 2 left, 3 to 5 right).
    KLabel* getReadout(int index) const;

    // Settings.
    // 0 the normal colours, 1 the dark scheme, for every graph.
    void setMode(int mode);
    int getMode() const { return mode_; }
    // A display flag of every graph.
    void setFlag(int bit, bool on);
    void enableManualPrecision(bool on);
    void setManualPrecision(int digits);
    void setLineFrequency(double hz);
    double getLineFrequency() const { return lineFrequency_; }
    // Shows what the frame holds in a message box; false without a host.
    bool properties(CWnd* parent);

    void layoutAll() override;
    void processKeyEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;
    void mouseWheel(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the container part: version 1; scroll switch, mode, line frequency, the
    // operation switches; then the records the curves show, each in full, and for every
    // curve the place of its record among them. The curves of a frame read back keep
    // those records alive.
    void Serialize(KArchive& archive) override;

private:
    void setReadout(int index, const char* text);
    KString markerText(char name, double x) const;
    template <class T>
    T* addGraph(T* graph);
    KCurve* findCurve(const char* name) const;
    // Moves a curve dragged out of its legend to the graph it was let go over.
    void dropCurve(KCurve* curve);
    bool appendData(KCurve* curve, double* values, long count);

    bool scroll_;
    std::int32_t mode_ = 0;
    double lineFrequency_ = 0.0;
    // What scheduleRefresh does, at once.
    void refresh();

    bool userOperations_ = true;
    bool refreshPending_ = false;
    bool building_ = false;
    bool defaultOperations_ = true;
    double hair_;
    double previewX_;
    double previewO_;
    // The markers as last told.
    double toldX_;
    double toldO_;
    int toldShown_ = -1;
};
