#pragma once

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"

namespace ktest {

// A plot panel of its own on a canvas.
template <class Panel = KPlotPanel>
Panel* plotOn(KCanvas& canvas) {
    auto* plot = new Panel();
    canvas.setRoot(plot);
    plot->create();
    canvas.layout();
    return plot;
}

// The pixel of a value in the plot, as the panel draws it.
inline CPoint pixelOf(const KPlotPanel& plot, double x, double y) {
    const CRect p = plot.getPlotRectangle();
    const KRange& xr = plot.getXRange();
    const KRange& yr = plot.getYRange();
    return CPoint(static_cast<int>(
                      std::lround(p.left + (x - xr.getMinimum()) * p.Width() / xr.getRangeSize())),
                  static_cast<int>(
                      std::lround(p.top + (yr.getMaximum() - y) * p.Height() / yr.getRangeSize())));
}

// The record of a line fault kept under samples/line-faults/, in primary values.
inline KRecord readLineFault(const char* name) {
    KComtradeReader reader;
    reader.setPrimaryValues(true);
    KRecord record;
    reader.read((std::string(KALVO_SOURCE_DIR) + "/samples/line-faults/" + name + ".cfg").c_str(),
                record);
    return record;
}

// The text on the clipboard.
inline std::string clipboardText() {
    unsigned long length = 0;
    if (!KClipboard::getDataLength(1, &length, 0)) return "";
    std::vector<char> text(length + 1, '\0');
    KClipboard::getData(1, text.data(), static_cast<int>(length), 0);
    return text.data();
}

}  // namespace ktest
