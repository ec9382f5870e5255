#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <kalvo/graph/KCurve.h>
#include <kalvo/graph/KGraphPanelAnalog.h>
#include <kalvo/host/gtk/KCanvasWnd.h>
#include <kalvo/host/gtk/KGtkClipboard.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KPanel.h>

#include "GtkTestSupport.h"

using ktest::XSession;

namespace {

struct Window {
    XSession& x = ktest::startGtk();
    KCanvasWnd wnd{"Kalvo clipboard", 300, 200};
    KPanel* root = new KPanel("root");

    Window() {
        root->setBackground(RGB(255, 255, 0));
        wnd.getView().setRoot(root);
        wnd.show();
        EXPECT_TRUE(x.waitUntil([&] { return wnd.getView().getClientRect().Width() == 300; }));
    }
    HWND owner() const { return const_cast<KCanvasWnd&>(wnd).getView().getWindow(); }
    // What another program reads from the clipboard as the type.
    std::string paste(const char* type) {
        std::string out;
        EXPECT_EQ(x.run({"xclip", "-selection", "clipboard", "-t", type, "-o"}, &out), 0) << type;
        return out;
    }
};

}  // namespace

TEST(KGtkClipboardTest, TextAndPicturesReachOtherPrograms) {
    Window w;
    KPlatformClipboard& clipboard = KPlatformClipboard::get();
    ASSERT_NE(dynamic_cast<KGtkClipboard*>(&clipboard), nullptr)
        << "the view installs the desktop clipboard";

    const char* text = "Domain,IA\n0.000000,1.500000\n";
    ASSERT_EQ(KClipboard::setData(text, w.owner()), 1);
    EXPECT_EQ(w.paste("UTF8_STRING"), text);
    EXPECT_EQ(w.paste("text/plain;charset=utf-8"), text);
    const std::string targets = w.paste("TARGETS");
    EXPECT_NE(targets.find("application/x-kalvo-text"), std::string::npos) << targets;
    EXPECT_EQ(w.paste("application/x-kalvo-text"), std::string(text, std::strlen(text) + 1))
        << "the library's own format keeps its terminating zero";

    // A component as a PNG image and as an SVG picture.
    ASSERT_EQ(KClipboard::setBitmap(CRect(0, 0, 120, 80), nullptr, w.root, w.owner()), 1);
    const std::string png = w.paste("image/png");
    ASSERT_GT(png.size(), 8u);
    EXPECT_EQ(png.substr(1, 3), "PNG");
    const std::string path = ::testing::TempDir() + "kalvo_clip.png";
    std::ofstream(path, std::ios::binary) << png;
    EXPECT_EQ(ktest::Picture(path).pixel(60, 40), 0xFFFF00) << "the component's yellow";
    std::remove(path.c_str());
    EXPECT_EQ(w.paste("TARGETS").find("application/x-kalvo-text"), std::string::npos)
        << "a new content replaces the old";

    ASSERT_EQ(KClipboard::setMetaFile(CRect(0, 0, 120, 80), nullptr, w.root, w.owner()), 1);
    const std::string svg = w.paste("image/svg+xml");
    EXPECT_NE(svg.find("<svg"), std::string::npos);
    EXPECT_NE(svg.find("width=\"120"), std::string::npos) << svg.substr(0, 300);
}

TEST(KGtkClipboardTest, DelimitedTextFromAnotherProgramPastesAsCurves) {
    Window w;
    auto* graph = new KGraphPanelAnalog();
    graph->create();
    w.wnd.getView().setRoot(graph);

    // A spreadsheet's copy: tab-separated rows under a header row.
    const std::string path = ::testing::TempDir() + "kalvo_sheet.txt";
    std::ofstream(path) << "Time\tIA\tIB\n0\t1.5\t-2\n1\t2.5\t-3\n2\t3\t-4\n";
    const pid_t owner = w.x.start({"xclip", "-selection", "clipboard", "-i", path});
    KPlatformClipboard& clipboard = KPlatformClipboard::get();
    ASSERT_TRUE(w.x.waitUntil([&] {
        return clipboard.isFormatAvailable(KPlatformClipboard::CF_TEXT);
    })) << "the desktop tells of the other program's text";

    ASSERT_TRUE(graph->pasteClipboardData());
    std::vector<KCurve*> curves;
    graph->getCurveList(curves);
    ASSERT_EQ(curves.size(), 3u);
    EXPECT_STREQ(curves[1]->getText().c_str(), "Curve 2");
    ASSERT_EQ(curves[1]->getSampleCount(), 4);
    const double expected[] = {0, 1.5, 2.5, 3};  // the header's words read as 0
    for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(curves[1]->getYData()[i], expected[i]) << i;
    EXPECT_DOUBLE_EQ(curves[2]->getYData()[3], -4);

    w.x.stop(owner, 0);
    std::remove(path.c_str());
}
