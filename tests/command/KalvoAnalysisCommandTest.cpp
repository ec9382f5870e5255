// kalvo phasors and the harmonic and phasor views of kalvo render, run as a user runs them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "command/CommandRun.h"
#include "io/ComtradeTestData.h"

namespace {

using ktest::kalvo;
using ktest::Ran;
using ktest::slurp;

#define EXPECT_RUN_STATUS(expected, ...)                              \
    [&] {                                                             \
        const std::vector<std::string> args_{__VA_ARGS__};            \
        Ran r_ = kalvo(args_);                                        \
        EXPECT_EQ(r_.status, expected) << args_[0] << ": " << r_.err; \
        return r_;                                                    \
    }()

// The magnitude and angle printed on the line that starts with the label (a phase letter and
// its channel, or a sequence's name).
struct Printed {
    double magnitude = NAN, degrees = NAN;
};

Printed printed(const std::string& out, const std::string& label) {
    std::smatch m;
    const std::regex line("\n  " + label + " +([-0-9.e+]+) +([-0-9.]+)\xC2\xB0");
    if (!std::regex_search(out, m, line)) {
        ADD_FAILURE() << "no line for " << label << " in\n" << out;
        return {};
    }
    return {std::stod(m[1]), std::stod(m[2])};
}

void expectPrinted(const std::string& out, const std::string& label, double magnitude,
                   double degrees, double share = 0.002) {
    SCOPED_TRACE(label);
    const Printed p = printed(out, label);
    EXPECT_NEAR(p.magnitude, magnitude, magnitude * share);
    EXPECT_NEAR(p.degrees, degrees, 0.15);
}

// ASCII text as UTF-16 (little-endian), as metafiles hold it.
std::string utf16(const char* text) {
    std::string out;
    for (; *text != '\0'; ++text) out += std::string(1, *text) + '\0';
    return out;
}

struct Folder {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("kalvo_views_" + std::to_string(getpid()));
    Folder() { std::filesystem::create_directories(path); }
    ~Folder() { std::filesystem::remove_all(path); }
};

}  // namespace

// The embedded sample's fault voltages, a cycle from the trigger, are the generator's phasors.
TEST(KalvoAnalysisCommand, PhasorsOfTheEmbeddedSample) {
    Ran r = EXPECT_RUN_STATUS(0, "phasors", "--primary");
    EXPECT_NE(
        r.out.find("Stretch: 0 s to 0.016666667 s from the trigger, 64 samples, 1 cycle of 60 Hz"),
        std::string::npos)
        << r.out;
    expectPrinted(r.out, "A +VA \\(V\\)", 19900, -3);
    expectPrinted(r.out, "B +VB \\(V\\)", 69800, -124);
    expectPrinted(r.out, "C +VC \\(V\\)", 70500, 124);
    // Worked out from those phasors by hand.
    expectPrinted(r.out, "positive", 53278.0, -0.36);
    expectPrinted(r.out, "negative", 13888.1, -177.70);
    expectPrinted(r.out, "zero", 19528.0, -179.55);
    // ACB: the same phasors, the two sequences the other way round.
    r = EXPECT_RUN_STATUS(0, "phasors", "--primary", "--rotation", "acb");
    EXPECT_NE(r.out.find("Phase rotation: ACB"), std::string::npos);
    expectPrinted(r.out, "positive", 13888.1, -177.70);
    expectPrinted(r.out, "negative", 53278.0, -0.36);
    // The fault currents over cycle 6, once the DC offset has died away; secondary values.
    r = EXPECT_RUN_STATUS(0, "phasors", "--channels", "IA,IB,IC", "--from", "0.0833333333", "--to",
                          "0.1");
    expectPrinted(r.out, "A +IA \\(A\\)", 5000 * 5.0 / 1200, -78, 0.005);
    expectPrinted(r.out, "B +IB \\(A\\)", 410 * 5.0 / 1200, -141, 0.005);
    expectPrinted(r.out, "C +IC \\(A\\)", 395 * 5.0 / 1200, 101, 0.005);
}

TEST(KalvoAnalysisCommand, PhasorsRefuseWhatTheyCannotDo) {
    Ran r = EXPECT_RUN_STATUS(2, "phasors", "--channels", "VA,VB");
    EXPECT_NE(r.err.find("--channels needs three channels, the phases A, B and C; 2 given"),
              std::string::npos)
        << r.err;
    r = EXPECT_RUN_STATUS(2, "phasors", "--rotation", "BCA");
    EXPECT_NE(r.err.find("--rotation needs ABC or ACB, not 'BCA'"), std::string::npos) << r.err;
    r = EXPECT_RUN_STATUS(2, "phasors", "--channels", "TRIP,VA,VB");
    r = EXPECT_RUN_STATUS(2, "phasors", "--from", "0", "--to", "0.0001");
    EXPECT_NE(r.err.find("at least 2 are needed"), std::string::npos) << r.err;
    r = EXPECT_RUN_STATUS(0, "phasors", "--help");
    EXPECT_NE(r.out.find("usage: kalvo phasors"), std::string::npos);
}

TEST(KalvoAnalysisCommand, RendersTheAnalysisViews) {
    const Folder folder;
    for (const char* view : {"harmonic", "phasor"}) {
        for (const char* ext : {".png", ".svg", ".pdf", ".emf"}) {
            const std::string out = (folder.path / (std::string(view) + ext)).string();
            EXPECT_RUN_STATUS(0, "render", "--view", view, "-o", out, "--size", "1000x700");
            EXPECT_GT(std::filesystem::file_size(out), 1000u) << out;
        }
    }
    // The picture shows the analysis (the metafile keeps its texts, in UTF-16).
    const std::string emf = slurp((folder.path / "phasor.emf").string());
    for (const char* text : {"PhaseABC", "PosSeq", "NegSeq", "ZeroSeq", "Mag (RMS)"}) {
        EXPECT_NE(emf.find(utf16(text)), std::string::npos) << text;
    }
    EXPECT_NE(
        slurp((folder.path / "harmonic.emf").string()).find(utf16("Frequency Graph Magnitude")),
        std::string::npos);
    const std::string acb = (folder.path / "acb.emf").string();
    EXPECT_RUN_STATUS(0, "render", "--view", "phasor", "--rotation", "ACB", "--markers",
                      "0.05,0.0666667", "-o", acb);
    EXPECT_NE(slurp(acb).find(utf16("PhaseACB")), std::string::npos);
    // Views it does not have, and a phasor view of four channels, are refused.
    Ran r =
        EXPECT_RUN_STATUS(2, "render", "--view", "spectrum", "-o", (folder.path / "x.png").string());
    EXPECT_NE(r.err.find("unknown view 'spectrum' (time, plot, impedance, harmonic, phasor)"), std::string::npos)
        << r.err;
    r = EXPECT_RUN_STATUS(2, "render", "--view", "phasor", "--channels", "VA,VB,VC,IA", "-o",
                          (folder.path / "x.png").string());
    EXPECT_NE(r.err.find("the phasor view shows three channels"), std::string::npos) << r.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path / "x.png"));
    r = EXPECT_RUN_STATUS(0, "render", "--help");
    EXPECT_NE(r.out.find("time, plot, impedance, harmonic or phasor"), std::string::npos);
}

// Every shared record: both views render, the phasors print.
TEST(KalvoAnalysisCommand, EverySharedRecordInBothViews) {
    REQUIRE_SHARED_RECORDS();
    const Folder folder;
    for (const std::string& path : sharedRecordPaths()) {
        SCOPED_TRACE(path);
        for (const char* view : {"harmonic", "phasor"}) {
            const std::string out = (folder.path / (std::string(view) + ".png")).string();
            std::filesystem::remove(out);
            EXPECT_RUN_STATUS(0, "render", path, "--view", view, "-o", out, "--size", "900x600");
            EXPECT_TRUE(std::filesystem::exists(out)) << view;
        }
    }
}
