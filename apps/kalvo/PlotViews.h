#pragma once

#include "RenderCommand.h"

// The views of kalvo render that put a plot beside the time graphs: one channel against
// another (--view plot) and the impedance plane (--view impedance).
class PlotViews {
public:
    PlotViews() = delete;

    static void renderPlot(KCanvas& canvas, RenderCommand::Input& input);
    static void renderImpedance(KCanvas& canvas, RenderCommand::Input& input);
};
