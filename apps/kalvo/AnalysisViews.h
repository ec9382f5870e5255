#pragma once

#include "RenderCommand.h"

// The pictures of the analysis frames for kalvo render: the harmonic frame (--view harmonic)
// and the phasor frame (--view phasor), each as the interface shows it, over the stretch
// between the markers (--markers, else the cycle of the line that starts at the trigger).
class AnalysisViews {
public:
    AnalysisViews() = delete;

    // The analog channels chosen (the first 12 by default) in the time graph, their spectra
    // and the table of their harmonics.
    static void renderHarmonic(KCanvas& canvas, RenderCommand::Input& input);
    // Three analog channels (the first three-phase set by default) in the time graph, their
    // phasors and symmetrical components, in the --rotation given.
    static void renderPhasor(KCanvas& canvas, RenderCommand::Input& input);
};
