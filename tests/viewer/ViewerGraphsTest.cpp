#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <kalvo/graph/KGraphAxis.h>

#include "ViewerTestSupport.h"

using namespace ktest;

namespace {

// The time at a pixel column of a plot, as the graphs map it.
double timeAt(const ViewerState& s, const CRect& plot, int x) {
    const double lo = s.number("range", 0), hi = s.number("range", 1);
    return lo + (x - plot.left) * (hi - lo) / plot.Width();
}

double span(const ViewerState& s) {
    return s.number("range", 1) - s.number("range", 0);
}

// Drags marker X (0) or O (1) along the time axis to a share of its width. The graphs make
// room for their meters, whose width follows their values: the axis is read anew first.
void placeMarker(ViewerSession& v, int marker, double share) {
    XSession& x = v.x();
    x.sleep(300);
    const ViewerState s = v.state();
    const double lo = s.number("range", 0), hi = s.number("range", 1);
    const std::vector<std::string> a = s.words("axis");
    ASSERT_EQ(a.size(), 4u) << s.get("axis");
    const CRect band(std::stoi(a[0]), std::stoi(a[1]), std::stoi(a[2]), std::stoi(a[3]));
    const double pixel = (hi - lo) / band.Width();
    const int fromX =
        band.left + static_cast<int>(std::lround((s.number("markers", 2 + marker) - lo) / pixel));
    const int toX = band.left + static_cast<int>(band.Width() * share);
    const CPoint from = v.onScreen(s, CPoint(fromX, band.top + 4)),
                 to = v.onScreen(s, CPoint(toX, band.top + 4));
    x.xdotool(format("mousemove %d %d mousedown 1", from.x, from.y));
    for (int step = 1; step <= 10; ++step)
        x.xdotool(format("mousemove %d %d", from.x + (to.x - from.x) * step / 10, to.y));
    x.xdotool("mouseup 1");
    const double expected = lo + (toX - band.left) * pixel;
    ViewerState last;
    ASSERT_TRUE(v.waitFor(
        [&](const ViewerState& st) {
            return std::fabs(st.number("markers", 2 + marker) - expected) < 2 * pixel;
        },
        10000, &last))
        << "marker " << marker << " at " << expected << ": " << last.get("markers");
}

// Markers X and O shown (both start at the first sample, the left end of the axis) and
// dragged to shares of the axis.
void showMarkers(ViewerSession& v, double shareX, double shareO) {
    ViewerState s = v.state();
    const CPoint mid = v.onScreen(s, s.rect("graph.0", "plot").CenterPoint());
    v.x().xdotool(format("mousemove %d %d click 1", mid.x, mid.y));
    v.x().xdotool("key m");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) {
            return st.number("markers", 0) == 1 && st.number("markers", 1) == 1;
        },
        10000, &s));
    placeMarker(v, 0, shareX);
    placeMarker(v, 1, shareO);
}

}  // namespace

TEST(ViewerTest, ZoomsByKeysAndByDraggingABox) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    v.shot("viewer-opened");
    const double lo = s.number("range", 0), hi = s.number("range", 1);
    ASSERT_LT(lo, hi);
    const CRect plot = s.rect("graph.0", "plot");
    const CPoint mid = v.onScreen(s, plot.CenterPoint());

    // + and - on the graph that was clicked: about half the time around the middle (the
    // ends snap to the grid), and back.
    x.xdotool(format("mousemove %d %d click 1", mid.x, mid.y));
    x.xdotool("key plus");
    ASSERT_TRUE(
        v.waitFor([&](const ViewerState& st) { return span(st) < (hi - lo) * 0.6; }, 10000, &s))
        << s.get("range");
    EXPECT_GT(span(s), (hi - lo) * 0.4) << s.get("range");
    EXPECT_NEAR(s.number("range", 0) + span(s) / 2, (lo + hi) / 2, (hi - lo) * 0.1)
        << s.get("range");
    v.shot("viewer-zoom-key");
    x.xdotool("key minus");
    ASSERT_TRUE(
        v.waitFor([&](const ViewerState& st) { return span(st) > (hi - lo) * 0.9; }, 10000, &s))
        << s.get("range");

    // A box dragged with Shift held: the time between its sides.
    const int x1 = plot.left + plot.Width() / 4, x2 = plot.left + plot.Width() * 3 / 4;
    const double t1 = timeAt(s, plot, x1), t2 = timeAt(s, plot, x2);
    const CPoint from = v.onScreen(s, CPoint(x1, plot.top + 20)),
                 to = v.onScreen(s, CPoint(x2, plot.top + 60));
    x.xdotool(format("mousemove %d %d keydown shift mousedown 1", from.x, from.y));
    for (int step = 1; step <= 8; ++step) {
        x.xdotool(format("mousemove %d %d", from.x + (to.x - from.x) * step / 8,
                         from.y + (to.y - from.y) * step / 8));
    }
    v.shot("viewer-zoom-box-dragging");
    x.xdotool("mouseup 1 keyup shift");
    const double pixel = (hi - lo) / plot.Width();
    ASSERT_TRUE(
        v.waitFor([&](const ViewerState& st) { return span(st) < (hi - lo) * 0.75; }, 10000, &s))
        << s.get("range");
    EXPECT_NEAR(s.number("range", 0), t1, 3 * pixel);
    EXPECT_NEAR(s.number("range", 1), t2, 3 * pixel);
    v.shot("viewer-zoom-box");
    EXPECT_EQ(v.quit(), 0);
}

// Panning by the axis' keys and by Shift and the wheel over a graph moves the graphs'
// pixels on the window and paints only what comes into view: the window then shows what a
// whole paint of the view shows (the view exported as PNG), pixel for pixel.
TEST(ViewerTest, APannedViewShowsWhatAWholePaintShows) {
    ViewerSession v({LINE_FAULT});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    const double whole = span(s);
    const CPoint mid = v.onScreen(s, s.rect("graph.0", "plot").CenterPoint());
    x.xdotool(format("mousemove %d %d click 1", mid.x, mid.y));
    x.xdotool("key --delay 100 plus plus plus m");
    ASSERT_TRUE(v.waitFor(
        [&](const ViewerState& st) { return span(st) < whole * 0.2 && st.number("markers", 0) == 1; },
        10000, &s))
        << s.get("range");
    const double lo = s.number("range", 0);
    // The axis' keys, once it has the focus.
    const std::vector<std::string> a = s.words("axis");
    ASSERT_EQ(a.size(), 4u) << s.get("axis");
    const CRect band(std::stoi(a[0]), std::stoi(a[1]), std::stoi(a[2]), std::stoi(a[3]));
    const CPoint onAxis = v.onScreen(s, CPoint(band.left + band.Width() * 3 / 5, band.CenterPoint().y));
    x.xdotool(format("mousemove %d %d click 1", onAxis.x, onAxis.y));
    x.xdotool("key --delay 60 Right Right Right Left");
    ASSERT_TRUE(v.waitFor([&](const ViewerState& st) { return st.number("range", 0) > lo; }, 10000, &s))
        << s.get("range");
    // Shift and the wheel over the first graph: back a tenth of the view a notch.
    const double keyed = s.number("range", 0);
    x.xdotool(format("mousemove %d %d keydown shift click 4 click 4 keyup shift", mid.x, mid.y));
    ASSERT_TRUE(v.waitFor([&](const ViewerState& st) { return st.number("range", 0) < keyed; }, 10000, &s))
        << s.get("range");
    // The pointer away from the graphs, where it raises no tooltip, and the picture settled.
    x.xdotool("mousemove 5 5");
    x.sleep(800);
    const std::string screen = v.shot("viewer-panned");
    EXPECT_EQ(pixelsApartFromTheExport(v, screen, v.getFolder() + "/panned.png"), 0) << screen;
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerTest, PlacesBothMarkersAndReadsTheirValues) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    showMarkers(v, 0.3, 0.6);
    x.sleep(300);
    s = v.state();
    v.shot("viewer-markers");

    // The read-outs beside the axis: the times and their difference.
    const double tx = s.number("markers", 2), to = s.number("markers", 3);
    EXPECT_EQ(s.get("readout.0"), std::string("X ") + KGraphAxis::formatTime(tx).c_str());
    EXPECT_EQ(s.get("readout.1"), std::string("O ") + KGraphAxis::formatTime(to).c_str());
    EXPECT_EQ(s.get("readout.2"), std::string("O-X ") + KGraphAxis::formatTime(to - tx).c_str());
    EXPECT_NE(s.get("readout.3").find("cycles"), std::string::npos) << s.get("readout.3");

    // The meter of each graph: every curve's value at X and at O, as the record has them.
    const KRecord record = readRecord(PQ);
    int checked = 0;
    for (int g = 0; g < 2; ++g) {
        // The value range of the graph: the labels' last digit is a small part of it.
        const double ySpan =
            s.number("graph." + std::to_string(g), 7) - s.number("graph." + std::to_string(g), 6);
        ASSERT_GT(ySpan, 0) << s.get("graph." + std::to_string(g));
        for (int row = 0;; ++row) {
            const std::string key = "meter." + std::to_string(g) + "." + std::to_string(row);
            if (!s.has(key)) break;
            const std::string curve =
                s.words("curve." + std::to_string(g) + "." + std::to_string(row))[0];
            int trace = -1;
            for (int t = 0; t < record.getTraceCount(); ++t) {
                if (curve == record.getTrace(t)->getName().c_str()) trace = t;
            }
            ASSERT_GE(trace, 0) << curve;
            const std::vector<std::string> cells = s.words(key);  // atX | atO | difference
            ASSERT_GE(cells.size(), 3u) << s.get(key);
            const double atX = valueAt(record, trace, tx), atO = valueAt(record, trace, to);
            EXPECT_NEAR(labelValue(cells[0]), atX, std::fabs(atX) * 0.005 + ySpan * 1e-4)
                << curve << " at X: " << s.get(key);
            EXPECT_NEAR(labelValue(cells[2]), atO, std::fabs(atO) * 0.005 + ySpan * 1e-4)
                << curve << " at O: " << s.get(key);
            ++checked;
        }
    }
    EXPECT_EQ(checked, 6) << "every curve read";
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerTest, CopiesACurveAndPastesItBack) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));

    // The curve chosen in its graph's legend is the one copied.
    const CPoint ib = v.onScreen(s, s.rect("curve.0.1", "legend").CenterPoint());
    x.xdotool(format("mousemove %d %d click 1", ib.x, ib.y));
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.words("curve.0.1")[8] == "1"; }, 10000, &s))
        << s.get("curve.0.1");
    x.xdotool("key ctrl+c");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return st.get("status") == "Copied the samples of Ib"; }, 10000,
        &s))
        << s.get("status");

    // Another program reads the samples: a header, then time and value of every sample.
    std::string text;
    ASSERT_EQ(x.run({"xclip", "-selection", "clipboard", "-o"}, &text), 0);
    std::istringstream rows(text);
    std::string line;
    std::getline(rows, line);
    EXPECT_EQ(line, "Domain,Ib");
    const KRecord record = readRecord(PQ);
    int n = 0;
    while (std::getline(rows, line) && !line.empty()) {
        double t = 0, value = 0;
        ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf", &t, &value), 2) << line;
        EXPECT_NEAR(t, record.getXData()[n], 1e-6) << n;
        EXPECT_NEAR(value, record.getTrace(1)->getData()[n], 1e-6) << n;
        ++n;
    }
    EXPECT_EQ(n, record.getSampleCount());

    // Pasted back into the graph: a curve per column, the samples' values in the second;
    // the header row is a row of the pasted record too (its words read as 0).
    x.xdotool("key ctrl+v");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("graph.0", 2) == 5; }, 10000, &s))
        << s.get("graph.0");
    EXPECT_EQ(s.words("curve.0.4")[0] + " " + s.words("curve.0.4")[1], "Curve 2");
    EXPECT_EQ(s.number("curve.0.4", 5), record.getSampleCount() + 1) << s.get("curve.0.4");

    // Rows from a spreadsheet, pasted from another program.
    const std::string sheet = v.getFolder() + "/sheet.txt";
    std::ofstream(sheet) << "time\tP\tQ\n0\t10\t-1\n1\t12\t-2\n2\t11\t-3\n";
    const pid_t owner = x.start({"xclip", "-selection", "clipboard", "-i", sheet});
    x.sleep(500);
    x.xdotool("key ctrl+v");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("graph.0", 2) == 8; }, 10000, &s))
        << s.get("graph.0");
    EXPECT_EQ(s.number("curve.0.6", 5), 4)
        << "the header row and three rows: " << s.get("curve.0.6");
    v.shot("viewer-pasted");
    x.stop(owner, 0);
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerTest, ChannelsShowHideAndMoveBetweenGraphs) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    auto click = [&](const std::string& key, const std::string& part) {
        const CPoint p = s.rect(key, part).CenterPoint();
        x.xdotool(format("mousemove %d %d click 1", p.x, p.y));
    };
    // Ib off, and on again.
    click("channel.1", "check");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.words("curve.0.1")[2] == "0"; }, 10000, &s))
        << s.get("curve.0.1");
    EXPECT_EQ(s.number("channel.1", 2), 0) << s.get("channel.1");
    click("channel.1", "check");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.words("curve.0.1")[2] == "1"; }, 10000, &s))
        << s.get("curve.0.1");

    // Ic to a graph of its own (the chooser's last entry), Va into the currents' graph (its
    // first), by the keyboard in the chooser's list.
    click("channel.2", "graph");
    x.sleep(500);
    x.xdotool("key End Return");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("graphs") == 3; }, 10000, &s))
        << s.get("graphs");
    EXPECT_EQ(s.words("curve.2.0")[0], "Ic");
    EXPECT_EQ(s.number("graph.0", 2), 2);
    click("channel.3", "graph");
    x.sleep(500);
    x.xdotool("key Home Return");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("graph.0", 2) == 3; }, 10000, &s))
        << s.get("graph.0");
    EXPECT_EQ(s.words("curve.0.2")[0], "Va");
    EXPECT_EQ(s.number("graph.1", 2), 2);
    v.shot("viewer-channels");
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerTest, StatusChangesListAndPutMarkerXAtTheChosenOne) {
    ViewerSession v({LINE_FAULT});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    // Every change of the protection's status channels, in time order.
    EXPECT_EQ(s.number("events"), 45);
    EXPECT_LE(s.number("event.0"), s.number("event.1"));
    // A double click on the first puts marker X at its time.
    const CRect list = s.rect("events", "list");
    x.xdotool(
        format("mousemove %d %d click --repeat 2 --delay 80 1", list.left + 60, list.top + 10));
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("markers", 0) == 1; }, 10000, &s))
        << s.get("markers");
    EXPECT_NEAR(s.number("markers", 2), s.number("event.0"), 1e-6);
    EXPECT_LE(s.number("range", 0), s.number("event.0"));
    EXPECT_GE(s.number("range", 1), s.number("event.0"));
    v.shot("viewer-status-changes");
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerTest, EveryMenuCommandIsReachedByTheKeyboard) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    // Every item of every menu has a mnemonic, none shared with another item of its menu;
    // every item runs an action.
    std::map<std::string, std::set<char>> mnemonics;
    int items = 0;
    for (const std::string& line : s.lines("menu ")) {
        const std::string entry = line.substr(5);
        const std::string path = entry.substr(0, entry.find('|'));
        const bool submenu = path.back() == '/';
        const std::string name = submenu ? path.substr(0, path.size() - 1) : path;
        const size_t slash = name.rfind('/');
        const std::string menu = slash == std::string::npos ? "" : name.substr(0, slash);
        const std::string label = name.substr(slash == std::string::npos ? 0 : slash + 1);
        if (menu.find("Open _Recent") != std::string::npos) continue;  // numbered by the list
        const size_t mark = label.find('_');
        ASSERT_NE(mark, std::string::npos) << "no mnemonic: " << line;
        const char key =
            static_cast<char>(std::tolower(static_cast<unsigned char>(label[mark + 1])));
        EXPECT_TRUE(mnemonics[menu].insert(key).second)
            << "mnemonic '" << key << "' twice in " << menu;
        if (!submenu) {
            EXPECT_NE(entry.substr(entry.rfind('|') + 1), "") << "no action: " << line;
        }
        ++items;
    }
    EXPECT_GT(items, 40);

    // F10, then arrows and mnemonics: View ▸ Dark Colours.
    x.xdotool("key --delay 250 F10 Right Right d");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.get("dark") == "1"; }, 10000, &s));
    // The keys of the menu bar: F4 the channel pane, F7 the phasor view and F5 back.
    x.xdotool("key F4");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.get("sidebar") == "0"; }, 10000, &s));
    x.xdotool("key F7");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.words("tab.0")[2] == "phasor"; },
                          10000, &s));
    // A graph's own menu by Shift+F10: its second item zooms out.
    x.xdotool("key F4 F5");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.get("sidebar") == "1"; }, 10000, &s));
    const double lo = s.number("range", 0), hi = s.number("range", 1);
    const CPoint mid = v.onScreen(s, s.rect("graph.0", "plot").CenterPoint());
    x.xdotool(format("mousemove %d %d click 1 key plus", mid.x, mid.y));
    ASSERT_TRUE(v.waitFor(
        [&](const ViewerState& st) {
            return st.number("range", 1) - st.number("range", 0) < (hi - lo) * 0.6;
        },
        10000, &s));
    x.xdotool("key shift+F10");
    x.sleep(700);
    v.shot("viewer-graph-menu");
    x.xdotool("key Down Return");
    ASSERT_TRUE(v.waitFor(
        [&](const ViewerState& st) {
            return st.number("range", 1) - st.number("range", 0) > (hi - lo) * 0.9;
        },
        10000, &s))
        << s.get("range");
    v.shot("viewer-dark");
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerTest, TheXYAndImpedanceViewsShowTheStretchBetweenTheMarkers) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    showMarkers(v, 0.2, 0.5);
    s = v.state();
    const std::string markers = s.get("markers");
    const double tx = s.number("markers", 2), to = s.number("markers", 3);

    // F8: phase A's voltage against its current, over X to O, with the same markers.
    x.xdotool("key F8");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.has("view.pairs"); }, 10000, &s))
        << s.get("tab.0");
    EXPECT_EQ(s.words("tab.0")[2], "xy");
    EXPECT_EQ(s.get("view.root"), "KPlotFrame");
    EXPECT_EQ(s.get("view.title"), "Va against Ia");
    EXPECT_EQ(s.get("view.markers"), markers);
    EXPECT_EQ(s.number("view.pairs", 0), 1);
    EXPECT_DOUBLE_EQ(s.number("view.pairs", 2), tx);
    EXPECT_DOUBLE_EQ(s.number("view.pairs", 3), to);
    v.shot("viewer-xy");

    // F9: the six fault loops on the impedance plane.
    x.xdotool("key F9");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) {
            return st.words("tab.0")[2] == "impedance" && st.has("view.pairs");
        },
        10000, &s));
    EXPECT_EQ(s.number("view.pairs", 0), 6);
    EXPECT_EQ(s.get("view.title").rfind("Apparent impedance of the fault loops", 0), 0)
        << s.get("view.title");
    EXPECT_DOUBLE_EQ(s.number("view.pairs", 2), tx);
    v.shot("viewer-impedance");

    // Back in the time graphs marker O moves; the XY plot follows it when shown again.
    x.xdotool("key F5");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.words("tab.0")[2] == "time"; }, 10000, &s));
    placeMarker(v, 1, 0.7);
    s = v.state();
    const double moved = s.number("markers", 3);
    ASSERT_NE(moved, to);
    x.xdotool("key F8");
    ASSERT_TRUE(v.waitFor(
        [&](const ViewerState& st) {
            return st.words("tab.0")[2] == "xy" && st.number("view.pairs", 3) == moved;
        },
        10000, &s))
        << s.get("view.pairs");
    EXPECT_EQ(s.get("view.markers"), s.get("markers"));
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerTest, AViewTheRecordCannotGiveIsToldAndTheGraphsStay) {
    // A single channel: no pair for an XY plot, no phases for the impedance.
    const std::string folder =
        ::testing::TempDir() + "kalvo-one-channel-" + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    const std::string one = folder + "/one.cfg";
    std::ofstream(one) << "one,REC,1999\n1,1A,0D\n1,Ia,A,,A,1,0,0,-100,100,1,1,S\n60\n1\n1000,3\n"
                          "01/01/2024,00:00:00.000000\n01/01/2024,00:00:00.001000\nASCII\n1\n";
    std::ofstream(folder + "/one.dat") << "1,0,5\n2,1000,7\n3,2000,6\n";
    ViewerSession v({one});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s))
        << s.get("messages") << s.get("message.0");
    x.xdotool("key F8");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("messages") == 1; }, 10000, &s));
    EXPECT_NE(s.get("message.0").find("The XY plot needs two analog channels"), std::string::npos)
        << s.get("message.0");
    x.sleep(400);
    x.xdotool("key Return");
    x.xdotool("key F9");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("messages") == 2; }, 10000, &s));
    EXPECT_NE(s.get("message.1").find("three phase voltages and three phase currents"),
              std::string::npos)
        << s.get("message.1");
    x.sleep(400);
    x.xdotool("key Return");
    x.sleep(300);
    s = v.state();
    EXPECT_EQ(s.words("tab.0")[2], "time");
    EXPECT_EQ(s.number("graphs"), 1);
    EXPECT_EQ(v.quit(), 0);
    std::filesystem::remove_all(folder);
}

namespace {

// The RMS of the component of samples from..to-1 at the frequency whose period they span:
// the fundamental of a stretch one cycle long.
double fundamentalRms(const KRecord& record, int trace, int from, int to) {
    const int n = to - from;
    double re = 0, im = 0;
    for (int k = 0; k < n; ++k) {
        const double v = record.getTrace(trace)->getData()[from + k];
        re += v * std::cos(2 * M_PI * k / n);
        im -= v * std::sin(2 * M_PI * k / n);
    }
    return std::hypot(re, im) * std::sqrt(2.0) / n;
}

// The index of the last sample at or before t.
int sampleAt(const KRecord& record, double t) {
    int i = 0;
    while (i + 1 < record.getSampleCount() && record.getXData()[i + 1] <= t) ++i;
    return i;
}

}  // namespace

// F6 and F7 analyse the stretch between the markers: with none shown, the cycle after the
// trigger; with markers placed, theirs, followed whenever the view is shown again.
TEST(ViewerTest, TheHarmonicAndPhasorViewsAnalyseTheStretchBetweenTheMarkers) {
    ViewerSession v({PQ});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    const KRecord record = readRecord(PQ);
    // The currents' graph in use: its curves are the ones analysed.
    const CPoint mid = v.onScreen(s, s.rect("graph.0", "plot").CenterPoint());
    x.xdotool(format("mousemove %d %d click 1", mid.x, mid.y));
    x.xdotool("key F6");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.has("view.row.0") && st.has("view.base"); },
                  10000, &s))
        << s.get("tab.0");
    v.shot("viewer-harmonic");
    EXPECT_EQ(s.get("view.root"), "KHarmonicFrame");
    const double tx = s.number("view.markers", 2), to = s.number("view.markers", 3);
    EXPECT_EQ(s.number("view.markers", 0), 1);
    EXPECT_NEAR(to - tx, 1.0 / 60, 1e-9) << s.get("view.markers") << " (a 60 Hz record)";
    EXPECT_NE(s.get("view.base").find("60"), std::string::npos) << s.get("view.base");
    // Row 0 is harmonic 1: Ia, Ib and Ic, magnitude (the amplitude, as the spectrum's) and
    // phase each.
    std::vector<std::string> cells;
    {
        std::istringstream row(s.get("view.row.0"));
        for (std::string cell; std::getline(row, cell, '|');) cells.push_back(cell);
    }
    ASSERT_EQ(cells.size(), 7u) << s.get("view.row.0");
    const int from = sampleAt(record, tx), end = sampleAt(record, to);
    for (int c = 0; c < 3; ++c) {
        const double expected = fundamentalRms(record, c, from, end) * std::sqrt(2.0);
        EXPECT_NEAR(labelValue(cells[1 + 2 * c].substr(cells[1 + 2 * c].find_first_not_of(' '))),
                    expected, expected * 0.02)
            << record.getTrace(c)->getName().c_str() << ": " << s.get("view.row.0");
    }

    // The phasors of the same cycle: the three currents' RMS values.
    x.xdotool("key F7");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) {
            return st.has("view.phasor.0") && st.number("view.phasor.0") > 0;
        },
        10000, &s))
        << s.get("tab.0");
    v.shot("viewer-phasor");
    EXPECT_EQ(s.get("view.root"), "KPhasorFrame");
    EXPECT_DOUBLE_EQ(s.number("view.markers", 2), tx) << s.get("view.markers");
    EXPECT_DOUBLE_EQ(s.number("view.markers", 3), to) << s.get("view.markers");
    for (int c = 0; c < 3; ++c) {
        const double expected = fundamentalRms(record, c, from, end);
        EXPECT_NEAR(s.number("view.phasor." + std::to_string(c)), expected, expected * 0.02)
            << s.get("view.phasor." + std::to_string(c));
    }

    // Markers placed in the time graphs are what the harmonic view shows next.
    x.xdotool("key F5");
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.words("tab.0")[2] == "time"; }, 10000, &s));
    showMarkers(v, 0.3, 0.6);
    s = v.state();
    const std::string markers = s.get("markers");
    x.xdotool("key F6");
    ASSERT_TRUE(v.waitFor(
        [&](const ViewerState& st) {
            return st.words("tab.0")[2] == "harmonic" && st.get("view.markers") == markers;
        },
        10000, &s))
        << s.get("view.markers") << " against " << markers;
    EXPECT_EQ(v.quit(), 0);
}
