#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ViewerTestSupport.h"

using namespace ktest;

namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The picture of a part of the screen: equal when every pixel is.
int differingPixels(const std::string& a, const std::string& b, const CRect& area) {
    const Picture first(a), second(b);
    int n = 0;
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x)
            n += first.pixel(x, y) != second.pixel(x, y) ? 1 : 0;
    }
    return n;
}

}  // namespace

TEST(ViewerFilesTest, OpensByTheDialogFromTheRecentFilesAndByDropping) {
    ViewerSession v({});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.get("tabs") == "0"; }, 10000, &s));
    v.shot("viewer-empty");

    // The Open dialog: the path typed opens the location field.
    x.xdotool("key ctrl+o");
    x.sleep(1200);
    x.xdotool("type --delay 5 " + PQ);
    x.sleep(300);
    x.xdotool("key Return");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s))
        << s.get("tab.0");
    EXPECT_EQ(s.get("recent.0"), PQ);

    // Closed, and opened again from the recent files by the keyboard: File, Open Recent, 1.
    x.xdotool("key ctrl+w");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.get("tabs") == "0"; }, 10000, &s));
    x.xdotool("key --delay 250 F10 r");
    x.sleep(500);
    x.xdotool("key 1");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s))
        << s.get("tab.0");

    // Dropped from another program's window.
    const pid_t source = x.start({KALVO_DRAG_SOURCE, LINE_FAULT});
    ASSERT_TRUE(x.xdotool("search --sync --name Kalvo.drag.source windowmove 950 650"));
    x.sleep(500);
    x.xdotool("mousemove 1050 690 mousedown 1");
    for (const char* p : {"1040 680", "1000 650", "900 550", "800 450", "700 400", "690 395"}) {
        x.xdotool(std::string("mousemove ") + p);
        x.sleep(80);
    }
    x.xdotool("mouseup 1");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return st.get("tabs") == "2" && isReady(st, 1); }, 20000, &s))
        << s.get("tabs");
    EXPECT_NE(s.get("tab.1").find(LINE_FAULT), std::string::npos) << s.get("tab.1");
    x.stop(source, 0);
    v.shot("viewer-two-tabs");
    EXPECT_EQ(v.quit(), 0);

    // The next start offers both as recent files, newest first.
    ViewerSession again({});
    ASSERT_TRUE(again.waitFor([](const ViewerState& st) { return st.has("recent.1"); }, 10000, &s));
    EXPECT_EQ(s.get("recent.0"), LINE_FAULT);
    EXPECT_EQ(s.get("recent.1"), PQ);
}

TEST(ViewerFilesTest, FilesItCannotOpenAreToldAndNothingElseIsLost) {
    const std::string folder = ::testing::TempDir() + "kalvo-bad-files-" + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    const std::string notes = folder + "/notes.txt", broken = folder + "/broken.cfg",
                      junk = folder + "/junk.kvw";
    std::ofstream(notes) << "minutes of the meeting\n";
    // The record's configuration with its third line damaged.
    std::string config = readFile(PQ);
    const size_t line3 = config.find('\n', config.find('\n') + 1) + 1;
    config.replace(line3, config.find('\n', line3) - line3, "1,Ia,,,A,not a number,0,0,-1,1,1,1,S");
    std::ofstream(broken) << config;
    std::filesystem::copy_file(PQ.substr(0, PQ.size() - 3) + "dat", folder + "/broken.dat");
    std::ofstream(junk) << std::string(64, 'x');

    ViewerSession v({PQ, notes, broken, junk});
    XSession& x = v.x();
    ViewerState s;
    // Each is told in a message box naming the file, dismissed in turn (those read on the
    // loading thread may come while one is open).
    for (int told = 1; told <= 3; ++told) {
        ASSERT_TRUE(v.waitFor([&](const ViewerState& st) { return st.number("messages") >= told; },
                              20000, &s))
            << told << ": " << s.get("messages");
        x.sleep(400);
        if (told == 2) v.shot("viewer-cannot-open");
        x.xdotool("mousemove 200 30 key Return");
    }
    std::string messages;
    for (int i = 0; i < 3; ++i) messages += s.get("message." + std::to_string(i)) + "\n";
    EXPECT_NE(messages.find(notes + ": not a record file"), std::string::npos) << messages;
    EXPECT_NE(messages.find("broken.cfg, line 3: expected the channel multiplier a (a number), "
                            "found 'not a number'"),
              std::string::npos)
        << messages;
    EXPECT_NE(messages.find(junk + ": not a Kalvo workspace"), std::string::npos) << messages;

    // The good record is all there and the viewer answers.
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return st.get("tabs") == "1" && isReady(st); }, 10000, &s))
        << s.get("tabs");
    const double span = s.number("range", 1) - s.number("range", 0);
    const CPoint mid = v.onScreen(s, s.rect("graph.0", "plot").CenterPoint());
    x.xdotool(format("mousemove %d %d click 1 key plus", mid.x, mid.y));
    EXPECT_TRUE(v.waitFor([&](const ViewerState& st) {
        return st.number("range", 1) - st.number("range", 0) < span * 0.6;
    }));
    EXPECT_EQ(v.quit(), 0);
    std::filesystem::remove_all(folder);
}

TEST(ViewerFilesTest, AWorkspaceSavedOpensAgainEqual) {
    ViewerSession v({PQ, LINE_FAULT});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st, 0) && isReady(st, 1); },
                          20000, &s));
    // The line fault in front: zoomed in, markers on, its first channel hidden, dark.
    CPoint mid = v.onScreen(s, s.rect("graph.0", "plot").CenterPoint());
    x.xdotool(format("mousemove %d %d click 1 key plus m", mid.x, mid.y));
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("markers", 0) == 1; }, 10000, &s));
    CPoint check = s.rect("channel.0", "check").CenterPoint();
    x.xdotool(format("mousemove %d %d click 1", check.x, check.y));
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) {
            return st.get("channel.0").find(" shown 0 ") != std::string::npos;
        },
        10000, &s));
    x.xdotool("mousemove 640 30 key --delay 250 F10 Right Right d");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.get("dark") == "1"; }, 10000, &s));
    // The other: one channel in a graph of its own.
    x.xdotool("key ctrl+Page_Up");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.get("active") == "0"; }, 10000, &s));
    x.sleep(300);
    s = v.state();
    const CPoint chooser = s.rect("channel.2", "graph").CenterPoint();
    x.xdotool(format("mousemove %d %d click 1", chooser.x, chooser.y));
    x.sleep(500);
    x.xdotool("key End Return");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("graphs") == 3; }, 10000, &s));
    x.xdotool("key ctrl+Page_Down");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.get("active") == "1"; }, 10000, &s));

    // What each tab shows, and its picture.
    const std::vector<std::string> shown = {"tab.",   "range",  "markers", "readout.", "graphs",
                                            "graph.", "curve.", "meter.",  "dark"};
    auto capture = [&](ViewerSession& session, int tab, std::string& text, std::string& picture,
                       CRect& canvas) {
        session.x().xdotool(tab == 0 ? "mousemove 640 30 key ctrl+Page_Up"
                                     : "mousemove 640 30 key ctrl+Page_Down");
        ASSERT_TRUE(session.waitFor(
            [&](const ViewerState& st) { return st.get("active") == std::to_string(tab); }, 10000,
            &s));
        session.x().sleep(600);
        s = session.state();
        text = s.select(shown);
        const std::vector<std::string> c = s.words("canvas");
        canvas = CRect(std::stoi(c[0]), std::stoi(c[1]), std::stoi(c[2]), std::stoi(c[3]));
        picture =
            session.shot("viewer-workspace-" + std::string(&session == &v ? "saved-" : "opened-") +
                         std::to_string(tab));
    };
    std::string before[2], pictures[2];
    CRect canvases[2];
    for (int tab = 0; tab < 2; ++tab) capture(v, tab, before[tab], pictures[tab], canvases[tab]);

    const std::string workspace = v.getFolder() + "/faults.kvw";
    ASSERT_TRUE(saveWorkspace(v, workspace, s)) << s.get("status");
    EXPECT_EQ(v.quit(), 0);

    ViewerSession again({workspace});
    ASSERT_TRUE(again.waitFor(
        [](const ViewerState& st) { return isReady(st, 0) && isReady(st, 1); }, 20000, &s));
    EXPECT_EQ(s.get("active"), "1") << "the tab in front when it was saved";
    for (int tab = 0; tab < 2; ++tab) {
        std::string after, picture;
        CRect canvas;
        capture(again, tab, after, picture, canvas);
        EXPECT_EQ(after, before[tab]) << "tab " << tab;
        ASSERT_EQ(canvas, canvases[tab]);
        EXPECT_EQ(differingPixels(pictures[tab], picture, canvas), 0)
            << "tab " << tab << ": " << picture;
    }
    EXPECT_EQ(again.quit(), 0);
}

TEST(ViewerFilesTest, TheViewExportsAsPicturesAndPrints) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    const std::string screen = v.shot("viewer-before-export");

    // PNG by its key: the view as the window shows it.
    const std::string png = v.getFolder() + "/view.png";
    EXPECT_EQ(pixelsApartFromTheExport(v, screen, png), 0);

    // SVG, PDF and EMF from the File menu's Export View, by its mnemonics.
    const struct {
        const char* key;
        const char* extension;
        std::string start;
    } formats[] = {{"s", "svg", "<?xml"},
                   {"d", "pdf", "%PDF"},
                   {"e", "emf", std::string("\x01\x00\x00\x00", 4)}};
    for (const auto& f : formats) {
        const std::string path = v.getFolder() + "/view." + f.extension;
        x.xdotool(std::string("mousemove 640 30 key --delay 250 F10 e ") + f.key);
        typeFileName(x, path);
        ASSERT_TRUE(v.waitFor(
            [&](const ViewerState& st) {
                return st.get("status") == "Exported the view to " + path;
            },
            20000, &s))
            << f.extension << ": " << s.get("status");
        EXPECT_EQ(readFile(path).substr(0, f.start.size()), f.start) << f.extension;
    }
    EXPECT_NE(readFile(v.getFolder() + "/view.emf").find(" EMF"), std::string::npos);

    // Printing to a file: the printer chosen by the keyboard, then Print.
    x.xdotool("key ctrl+p");
    x.sleep(1500);
    x.xdotool("key Down space");
    x.sleep(600);
    v.shot("viewer-print");
    x.xdotool("key alt+p");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.get("status").rfind("Printed ", 0) == 0; },
                  20000, &s))
        << s.get("status");
    EXPECT_TRUE(x.waitUntil(
        [&] { return readFile(v.getFolder() + "/output.pdf").rfind("%PDF", 0) == 0; }, 10000));
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerFilesTest, ALargeRecordShowsItsProgressAndCanBeCancelled) {
    ViewerSession v({});
    XSession& x = v.x();
    // 12 channels of 5 million samples: 170 megabytes to read, long enough for the cancel
    // to come while it reads on a busy machine too.
    const std::string large = v.getFolder() + "/large.cfg";
    ASSERT_EQ(x.run({KALVO_MAKE_LARGE_RECORD, large, "12", "5000000"}), 0);
    ViewerState s;
    // Opened, then cancelled by the progress page's button (Alt+C) while it reads.
    auto open = [&] {
        x.xdotool("key ctrl+o");
        typeFileName(x, large);
    };
    open();
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return st.get("tab.0").rfind("loading", 0) == 0; }, 20000, &s))
        << s.getText();
    x.xdotool("key alt+c");
    v.shot("viewer-loading");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.get("tabs") == "0"; }, 20000, &s))
        << s.get("tab.0");
    EXPECT_EQ(s.get("status"), "Stopped reading " + large);
    EXPECT_EQ(s.get("messages"), "0") << "cancelling is no error";

    // Read to its end, the next time.
    open();
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 120000, &s))
        << s.get("tab.0");
    // Its 12 analog channels and 2 status channels.
    EXPECT_NE(s.get("status").find("14 channels, 5000000 samples"), std::string::npos)
        << s.get("status");
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerFilesTest, KalvoViewHandsOverToTheViewer) {
    ViewerSession v({PQ}, KALVO_COMMAND);
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    EXPECT_NE(s.get("tab.0").find(PQ), std::string::npos);
    EXPECT_EQ(v.quit(), 0);
}
