#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"
#include "io/ComtradeTestData.h"

using namespace ktest;

// Every shared record shows in a graph frame and is written as PNG and as PDF: each analog
// channel as a curve, the status channels that change state as lanes.
TEST(KGraphRecordsTest, EverySharedRecordRendersToPngAndPdf) {
    if (!std::filesystem::exists(comtradeData(""))) GTEST_SKIP() << "no shared records";
    TempFolder folder;
    int rendered = 0;
    for (const std::string& path : sharedRecordPaths()) {
        SCOPED_TRACE(path);
        KRecord record;
        KComtradeReader reader;
        try {
            reader.read(path.c_str(), record);
        } catch (const KException& e) {
            ADD_FAILURE() << e.getText().c_str();
            continue;
        }
        KCanvas canvas(1200, 800);
        KGraphFrame* frame = frameOn(canvas);
        frame->addRecord(&record);
        canvas.layout();
        canvas.pumpTasks();
        int analog = 0;
        for (int t = 0; t < record.getTraceCount(); ++t) analog += !record.getTrace(t)->isDigital();
        std::vector<KCurve*> curves;
        frame->getCurveList(curves);
        int analogCurves = 0;
        for (KCurve* c : curves) analogCurves += c->isAnalog();
        EXPECT_EQ(analogCurves, analog);
        const std::string base = (folder.path / std::to_string(rendered)).string();
        canvas.save((base + ".png").c_str());
        canvas.save((base + ".pdf").c_str());
        EXPECT_GT(std::filesystem::file_size(base + ".png"), 1000u);
        EXPECT_GT(std::filesystem::file_size(base + ".pdf"), 1000u);
        ++rendered;
    }
    EXPECT_GE(rendered, 25);
}
