#pragma once

class KCanvasView;
class KGraphFrame;
class KImpedanceSettings;
class KRecord;

// The views of a record beside its time graphs, each built on a canvas of its own with time
// graphs of its own (which follow the tab's: see follow), from the tab's time graphs, its
// record and its impedance settings. Builders raise KException with a sentence for the user
// when the record cannot give the view.
class RecordViews {
public:
    RecordViews() = delete;

    // VA against IA (the first set of phase voltages and currents), else the second analog
    // channel against the first, over the stretch between the markers.
    static KGraphFrame* buildXY(KCanvasView& canvas, KGraphFrame& timeGraphs, KRecord& record,
                                const KImpedanceSettings&);
    // The apparent impedance of the six fault loops on the R-X plane, from the record's
    // phase voltages and currents, the ground loops compensated by the settings' k0, with
    // the settings' zones.
    static KGraphFrame* buildImpedance(KCanvasView& canvas, KGraphFrame& timeGraphs,
                                       KRecord& record, const KImpedanceSettings& settings);

    // The spectrum and the table of harmonics of the stretch between the markers, for the
    // analog curves of the tab's active graph (else the first analog channels; 12 at most).
    static KGraphFrame* buildHarmonic(KCanvasView& canvas, KGraphFrame& timeGraphs,
                                      KRecord& record, const KImpedanceSettings&);
    // The phasors of the phase currents (else the phase voltages, else the first three
    // analog channels) over the stretch between the markers, with their symmetrical
    // components.
    static KGraphFrame* buildPhasor(KCanvasView& canvas, KGraphFrame& timeGraphs, KRecord& record,
                                    const KImpedanceSettings&);

    // Gives the view's time graphs the time in view and the markers of the tab's. With
    // needMarkers and no markers shown, X goes to the trigger (the start of the time in view
    // when it is not in view) and O a cycle of the line frequency after it.
    static void follow(const KGraphFrame& from, KGraphFrame& to, bool needMarkers);
};
