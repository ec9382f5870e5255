#pragma once

#include <cmath>
#include <memory>
#include <vector>

#include <kalvo/kalvo.h>

#include "toolkit/ToolkitTestSupport.h"

namespace ktest {

// A record of the times and one trace per column, named "T1", "T2"...
inline std::unique_ptr<KRecord> makeRecord(const std::vector<double>& x,
                                           const std::vector<std::vector<double>>& columns) {
    auto record = std::make_unique<KRecord>();
    record->create(static_cast<int>(columns.size()), 0, 1024);
    for (size_t c = 0; c < columns.size(); ++c) {
        KString name;
        name.format("T%d", static_cast<int>(c + 1));
        record->setTraceName(static_cast<int>(c), name.c_str());
    }
    for (size_t i = 0; i < x.size(); ++i) {
        record->setDomainValue(x[i]);
        for (size_t c = 0; c < columns.size(); ++c) record->setTraceValue(static_cast<int>(c), columns[c][i]);
        record->commit();
    }
    return record;
}

// n samples of a 60 Hz sine of the amplitude at 3840 samples per second, from t0.
inline std::vector<double> sine(int n, double amplitude, double t0 = 0.0, double phase = 0.0) {
    std::vector<double> y(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) y[i] = amplitude * std::sin(2 * M_PI * 60.0 * (t0 + i / 3840.0) + phase);
    return y;
}

inline std::vector<double> times(int n, double t0 = 0.0, double step = 1.0 / 3840.0) {
    std::vector<double> x(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) x[i] = t0 + i * step;
    return x;
}

// A curve on the record's trace.
inline KCurve* curveOf(KRecord& record, int trace) {
    auto* curve = new KCurve();
    record.selectTrace(trace);
    curve->setProducer(&record);
    return curve;
}

// A frame on a canvas, built and laid out.
inline KGraphFrame* frameOn(KCanvas& canvas) {
    auto* frame = new KGraphFrame(true);
    canvas.setRoot(frame);
    frame->create();
    canvas.layout();
    return frame;
}

}  // namespace ktest
