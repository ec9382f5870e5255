#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/plot/KImpedanceSettings.h>

#include "ViewerTestSupport.h"

using namespace ktest;

namespace {

// A phase A to ground fault at 60 % of a 132 kV line whose k0 is 0.6686 at -7.49 degrees:
// its loop measures 0.36 + j2.88 ohm secondary (2.9 ohm at the line angle of 82.87 degrees),
// well inside a zone reaching 80 % of the line (3.87 ohm), but 4.8 ohm and outside it without
// the k0. The healthy phases' loops measure far beyond it.
const std::string AG_60 = std::string(KALVO_SOURCE_DIR) + "/samples/line-faults/AG-60.cfg";

// The zones (from 1) that a locus's last point lies in, as the state reports it: "1", "-".
std::string zonesOf(const ViewerState& s, const std::string& loop) {
    for (const std::string& l : s.lines("view.locus.")) {
        const size_t name = l.find(' ') + 1;
        if (l.compare(name, loop.size() + 1, loop + " ") != 0) continue;
        const size_t in = l.find(" in ");
        return in == std::string::npos ? "" : l.substr(in + 4);
    }
    return "";
}

bool showsImpedance(const ViewerState& s) {
    return s.words("tab.0").size() > 2 && s.words("tab.0")[2] == "impedance" &&
           s.has("view.locus.5") && !s.has("dialog");
}

std::vector<std::uint8_t> readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {});
}

// The kalvo command's exit status and all it wrote.
int runKalvo(XSession& x, const std::string& arguments, std::string& output) {
    return x.run({"/bin/sh", "-c", std::string(KALVO_COMMAND) + " " + arguments + " 2>&1"},
                 &output);
}

}  // namespace

TEST(ViewerImpedanceTest, TheSettingsDialogPutsK0AndAZoneOnThePlane) {
    ViewerSession v({AG_60});
    XSession& x = v.x();
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    x.xdotool("key F9");
    ASSERT_TRUE(v.waitFor(showsImpedance, 10000, &s)) << s.get("tab.0");
    EXPECT_NE(s.get("view.title").find("secondary ohms, no k0"), std::string::npos)
        << s.get("view.title");
    EXPECT_EQ(s.get("view.zones"), "0");

    // View ▸ Impedance Settings by the keyboard; k0, then a mho zone with an offset it does
    // not take.
    x.xdotool("key --delay 250 F10 Right Right s");
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return st.has("dialog"); }, 10000, &s));
    EXPECT_EQ(s.get("dialog"), "impedance-settings zones 0");
    x.sleep(500);
    x.xdotool("key ctrl+a");
    x.xdotool("type --delay 20 0.6686");
    x.xdotool("key Tab key ctrl+a");
    x.xdotool("type --delay 20 -- -7.49");
    x.xdotool("key alt+m");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return st.get("dialog") == "impedance-settings zones 1"; },
        10000, &s));
    x.xdotool("type --delay 20 3.87");
    x.xdotool("key Tab key ctrl+a");
    x.xdotool("type --delay 20 82.87");
    x.xdotool("key Tab key ctrl+a");
    x.xdotool("type --delay 20 -- -1");
    x.sleep(300);
    v.shot("viewer-impedance-settings");
    x.xdotool("key Return");

    // Told, naming the field and the value; the dialog stays with all that was typed.
    ASSERT_TRUE(
        v.waitFor([](const ViewerState& st) { return st.number("messages") == 1; }, 10000, &s));
    EXPECT_EQ(s.get("message.0"), "Zone 1 offset needs an offset of 0 ohm or more, not '-1'");
    EXPECT_TRUE(s.has("dialog"));
    EXPECT_EQ(s.get("tab.0.k0"), "0 0") << "nothing applied yet";
    x.sleep(500);
    v.shot("viewer-impedance-settings-refused");
    x.xdotool("key Return");
    x.sleep(500);
    // The offset has the keyboard again.
    x.xdotool("key ctrl+a");
    x.xdotool("type --delay 20 0");
    x.xdotool("key Return");

    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return showsImpedance(st) && st.get("view.zones") == "1"; },
        10000, &s))
        << s.get("dialog") << " " << s.get("message.1");
    EXPECT_EQ(s.number("messages"), 1);
    EXPECT_EQ(s.get("tab.0.k0"), "0.6686 -7.49");
    EXPECT_EQ(s.get("tab.0.zone.0"), "mho 3.87 82.87 0");
    EXPECT_NE(s.get("view.title").find("secondary ohms, k0 0.6686 at -7.49 deg"), std::string::npos)
        << s.get("view.title");
    EXPECT_EQ(zonesOf(s, "AG"), "1") << s.get("view.locus.0");
    EXPECT_EQ(zonesOf(s, "BG"), "-") << s.get("view.locus.1");
    // The fault loop measures what the line gives, to a few per cent.
    const std::vector<std::string> ag = s.words("view.locus.0");
    ASSERT_GE(ag.size(), 4u);
    EXPECT_NEAR(std::stod(ag[2]), 0.36, 0.1) << s.get("view.locus.0");
    EXPECT_NEAR(std::stod(ag[3]), 2.88, 0.1) << s.get("view.locus.0");
    v.shot("viewer-impedance-zones");

    // Without k0 the same loop ends outside the zone: the k0 made the difference.
    x.xdotool("key shift+F9");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return st.get("dialog") == "impedance-settings zones 1"; },
        10000, &s));
    x.sleep(500);
    x.xdotool("key ctrl+a");
    x.xdotool("type --delay 20 0");
    x.xdotool("key Return");
    ASSERT_TRUE(v.waitFor(
        [](const ViewerState& st) { return showsImpedance(st) && st.get("tab.0.k0") == "0 -7.49"; },
        10000, &s));
    EXPECT_NE(s.get("view.title").find("secondary ohms, no k0"), std::string::npos);
    EXPECT_EQ(s.get("view.zones"), "1");
    EXPECT_EQ(zonesOf(s, "AG"), "-") << s.get("view.locus.0");
    EXPECT_EQ(v.quit(), 0);
}

TEST(ViewerImpedanceTest, SettingsOfTheCommandLineKeepInAWorkspace) {
    XSession& x = XSession::get();
    // Values refused as kalvo impedance refuses them, before a window shows.
    for (const std::string bad : {"--mho -4,75", "--quad 10,5,120", "--k0 0.6"}) {
        std::string viewer, impedance;
        EXPECT_EQ(runKalvo(x, "view " + bad, viewer), 2) << viewer;
        EXPECT_EQ(runKalvo(x, "impedance " + AG_60 + " --loop AG " + bad, impedance), 2);
        ASSERT_EQ(viewer.rfind("kalvo view: --", 0), 0u) << viewer;
        EXPECT_EQ(viewer.substr(viewer.find(": ")), impedance.substr(impedance.find(": ")));
    }

    ViewerSession v({AG_60, "--k0", "0.6686,-7.49", "--mho", "3.87,82.87", "--quad",
                     "5.8,2.4,82.87"});
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    EXPECT_EQ(s.get("tab.0.k0"), "0.6686 -7.49");
    EXPECT_EQ(s.get("tab.0.zone.0"), "mho 3.87 82.87 0");
    EXPECT_EQ(s.get("tab.0.zone.1"), "quad 5.8 2.4 82.87");
    v.x().xdotool("key F9");
    ASSERT_TRUE(v.waitFor(showsImpedance, 10000, &s));
    EXPECT_EQ(s.get("view.zones"), "2");
    EXPECT_EQ(zonesOf(s, "AG"), "1 2") << s.get("view.locus.0");
    EXPECT_EQ(zonesOf(s, "BG"), "-") << s.get("view.locus.1");
    const std::string shown = s.select({"tab.0", "view.title", "view.zones", "view.locus."});

    const std::string workspace = v.getFolder() + "/settings.kvw";
    ASSERT_TRUE(saveWorkspace(v, workspace, s)) << s.get("status");
    EXPECT_EQ(v.quit(), 0);

    // Opened again, without the options: the tab's own settings.
    ViewerSession again({workspace});
    ASSERT_TRUE(again.waitFor(showsImpedance, 20000, &s)) << s.get("tab.0");
    EXPECT_EQ(s.select({"tab.0", "view.title", "view.zones", "view.locus."}), shown);
    EXPECT_EQ(again.quit(), 0);
}

TEST(ViewerImpedanceTest, AWorkspaceOfTheFirstVersionOpensWithoutSettings) {
    ViewerSession v({AG_60});
    ViewerState s;
    ASSERT_TRUE(v.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s));
    const std::string saved = v.getFolder() + "/new.kvw";
    ASSERT_TRUE(saveWorkspace(v, saved, s)) << s.get("status");
    const std::string before = s.select({"range", "graphs", "graph.", "curve."});
    EXPECT_EQ(v.quit(), 0);

    // The first version's file: the same without the settings after the page, version 1.
    std::vector<std::uint8_t> bytes = readBytes(saved);
    KArchive tail;
    KImpedanceSettings none;
    tail.writeObject(&none);
    const std::vector<std::uint8_t>& settings = tail.getBuffer();
    ASSERT_GT(bytes.size(), settings.size() + 20);
    ASSERT_TRUE(std::equal(settings.begin(), settings.end(), bytes.end() - settings.size()));
    bytes.resize(bytes.size() - settings.size());
    const std::uint8_t version[4] = {2, 0, 0, 0};
    ASSERT_TRUE(std::equal(version, version + 4, bytes.begin() + 16)) << "after the name";
    bytes[16] = 1;
    const std::string old = v.getFolder() + "/old.kvw";
    std::ofstream(old, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));

    ViewerSession again({old});
    ASSERT_TRUE(again.waitFor([](const ViewerState& st) { return isReady(st); }, 20000, &s))
        << s.get("message.0");
    EXPECT_EQ(s.number("messages"), 0) << s.get("message.0");
    EXPECT_EQ(s.get("tab.0.k0"), "0 0");
    EXPECT_FALSE(s.has("tab.0.zone.0"));
    EXPECT_EQ(s.select({"range", "graphs", "graph.", "curve."}), before);
    EXPECT_EQ(again.quit(), 0);
}
