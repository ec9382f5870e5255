// The kalvo command as a user runs it: on every shared record, and on damaged copies.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeReader.h>

#include "command/CommandRun.h"
#include "io/ComtradeTestData.h"

namespace {

using ktest::kalvo;
using ktest::Ran;
using ktest::slurp;

std::string describe(const std::vector<std::string>& args, const Ran& run) {
    std::string s = "kalvo";
    for (const std::string& a : args) s += " " + a;
    return s + " -> " + std::to_string(run.status) + "\n" + run.err.substr(0, 600);
}

// Runs kalvo with the arguments after the exit status it must end with.
#define EXPECT_RUN(expected, ...)                            \
    [&] {                                                    \
        const std::vector<std::string> args_{__VA_ARGS__};   \
        Ran r_ = kalvo(args_);                               \
        EXPECT_EQ(r_.status, expected) << describe(args_, r_); \
        return r_;                                           \
    }()

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Terminal columns of UTF-8 text.
int columns(const std::string& text) {
    std::wstring wide(text.size() + 1, L'\0');
    const size_t n = mbstowcs(wide.data(), text.c_str(), wide.size());
    if (n == static_cast<size_t>(-1)) return -1;
    const int w = wcswidth(wide.c_str(), n);
    return w;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::stringstream s(text);
    for (std::string line; std::getline(s, line);) out.push_back(line);
    return out;
}

void write(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

struct Utf8Locale {
    Utf8Locale() { setlocale(LC_CTYPE, "C.UTF-8"); }
};

}  // namespace

// Every record: info (also as JSON, parsed back), events and harmonics run, and converting
// to each data file type reads back the same record.
TEST(KalvoCommand, EverySharedRecord) {
    REQUIRE_SHARED_RECORDS();
    const Utf8Locale utf8;
    const TempFolder temp;
    for (const std::string& path : sharedRecordPaths()) {
        SCOPED_TRACE(path);
        KComtradeFile file;
        file.read(path.c_str());
        const Ran info = EXPECT_RUN(0, "info", path);
        for (const std::string& line : lines(info.out))
            EXPECT_LE(columns(line), 100) << line;
        const Ran json = EXPECT_RUN(0, "info", "--json", path);
        const nlohmann::json doc = nlohmann::json::parse(json.out);
        EXPECT_EQ(doc["samples"].get<long long>(), file.data.getSampleCount());
        EXPECT_EQ(doc["analogChannels"].size(), file.config.analogs.size());
        EXPECT_EQ(doc["statusChannels"].size(), file.config.digitals.size());
        EXPECT_EQ(doc["station"].get<std::string>(), file.config.station.c_str());
        EXPECT_EQ(doc["warnings"].size(), static_cast<size_t>(file.warnings.getCount()));
        EXPECT_EQ(doc["samplingRates"].size(),
                  file.config.hasSamplingRate() ? doc["samplingRates"].size() : 0u);

        const Ran events = EXPECT_RUN(0, "events", path);
        EXPECT_TRUE(contains(events.out, file.config.digitals.empty() ? "no status channels"
                                                                      : "States at the first sample"));
        const Ran harmonics = EXPECT_RUN(0, "harmonics", path);
        for (const std::string& line : lines(harmonics.out)) {
            EXPECT_LE(columns(line), 100) << line;
            EXPECT_FALSE(contains(line, "nan")) << line;
        }
        for (const char* format : {"ascii", "binary", "binary32", "float32"}) {
            for (const char* name : {"copy.cfg", "copy.cff"}) {
                const std::string copy = temp.fresh(name);
                EXPECT_RUN(0, "convert", path, "-o", copy, "--format", format);
                // Read back here too, independently of the command's own check.
                KComtradeFile back;
                back.read(copy.c_str());
                EXPECT_EQ(back.data.getSampleCount(), file.data.getSampleCount()) << format;
                EXPECT_EQ(back.config.analogs.size(), file.config.analogs.size()) << format;
                EXPECT_STREQ(KComtradeConfig::getFileTypeName(back.config.fileType),
                             KComtradeConfig::getFileTypeName([&] {
                                 KComtradeConfig::FileType t;
                                 KComtradeConfig::parseFileType(format, t);
                                 return t;
                             }()));
            }
        }
    }
}

// Damaged copies: each failure names the file and what is wrong, with the documented exit
// status, and leaves no output file behind.
TEST(KalvoCommand, DamagedCopies) {
    REQUIRE_SHARED_RECORDS();
    const TempFolder temp;
    const std::filesystem::path dir = temp.path;
    const std::string cfg = slurp(comtradeData("python-comtrade/sample_ascii.cfg"));
    const std::string dat = slurp(comtradeData("python-comtrade/sample_ascii.dat"));
    auto copy = [&](const char* stem, const std::string& c, const std::string& d) {
        write(dir / (std::string(stem) + ".cfg"), c);
        write(dir / (std::string(stem) + ".dat"), d);
        return (dir / (std::string(stem) + ".cfg")).string();
    };

    const std::string missing = (dir / "missing.cfg").string();
    Ran r = EXPECT_RUN(1, "info", missing);
    EXPECT_EQ(r.err, "kalvo info: " + missing + ": No such file or directory\n");

    write(dir / "alone.cfg", cfg);
    r = EXPECT_RUN(1, "events", (dir / "alone.cfg").string());
    EXPECT_TRUE(contains(r.err, "alone.cfg: no data file (.dat) beside it")) << r.err;

    std::filesystem::create_directory(dir / "folder.cfg");
    r = EXPECT_RUN(1, "info", (dir / "folder.cfg").string());
    EXPECT_TRUE(contains(r.err, "folder.cfg: Is a directory")) << r.err;

    if (geteuid() != 0) {  // root reads files whatever their permissions
        const std::string locked = copy("locked", cfg, dat);
        chmod((dir / "locked.dat").c_str(), 0);
        r = EXPECT_RUN(1, "info", locked);
        EXPECT_TRUE(contains(r.err, "locked.dat: Permission denied")) << r.err;
    }

    r = EXPECT_RUN(1, "info", copy("empty", "", dat));
    EXPECT_TRUE(contains(r.err, "empty.cfg, line 1: expected station name")) << r.err;
    r = EXPECT_RUN(0, "info", copy("nodata", cfg, ""));
    EXPECT_TRUE(contains(r.out, "the data hold 0 of the 40 samples")) << r.out;
    r = EXPECT_RUN(1, "export", (dir / "nodata.cfg").string());
    EXPECT_TRUE(contains(r.err, "holds no samples")) << r.err;

    // NUL bytes: "6" NUL "0" is no line frequency of 6 Hz.
    std::string nul = cfg;
    nul.replace(nul.find("\n60\n") + 1, 2, std::string("6\0" "0", 3));
    r = EXPECT_RUN(1, "info", copy("nul", nul, dat));
    EXPECT_TRUE(contains(r.err, "nul.cfg, line 11, column 2: control character 0x00")) << r.err;
    std::string nulData = dat;
    nulData[nulData.find('\n', 100) + 3] = '\0';
    r = EXPECT_RUN(1, "events", copy("nuldata", cfg, nulData));
    EXPECT_TRUE(contains(r.err, "nuldata.dat, line ")) << r.err;
    EXPECT_TRUE(contains(r.err, "control character 0x00 inside the line")) << r.err;

    // Control characters in names: escape sequences are refused with their place; a CR is
    // printed escaped, never sent to the terminal.
    std::string esc = cfg;
    esc.replace(esc.find("IA"), 2, "I\x1b[2JA");
    r = EXPECT_RUN(1, "info", copy("esc", esc, dat));
    EXPECT_TRUE(contains(r.err, "control character 0x1B")) << r.err;
    EXPECT_FALSE(contains(r.err, "\x1b"));
    std::string cr = cfg;
    cr.replace(cr.find("SMARTSTATION"), 12, "SMART\rSTATION");
    cr.replace(cr.find("IA"), 2, "I\rA");
    for (const char* command : {"info", "events", "harmonics"}) {
        r = EXPECT_RUN(0, command, copy("cr", cr, dat));
        EXPECT_FALSE(contains(r.out + r.err, "\r")) << command;
    }
    r = EXPECT_RUN(0, "info", (dir / "cr.cfg").string());
    EXPECT_TRUE(contains(r.out, "SMART\\x0dSTATION")) << r.out;
    EXPECT_TRUE(contains(r.out, "I\\x0dA")) << r.out;

    // A window outside the record names the record's span; nothing is written to -o, and a
    // file already there is left as it was.
    const std::string record = copy("good", cfg, dat);
    const std::string csv = (dir / "out.csv").string();
    write(csv, "older\n");
    r = EXPECT_RUN(2, "export", record, "--from", "5", "--to", "6", "-o", csv);
    EXPECT_TRUE(contains(r.err, "no sample from 5 s to 6 s: ")) << r.err;
    EXPECT_TRUE(contains(r.err, "spans -0.00325 s to 0.02925 s from the trigger")) << r.err;
    EXPECT_EQ(slurp(csv), "older\n");
    // A data file broken near its end fails after rows were written: still nothing in place.
    std::string broken = dat;
    broken.insert(broken.rfind('\n', broken.size() - 2) + 1, "39,x\n");
    r = EXPECT_RUN(1, "export", copy("broken", cfg, broken), "-o", (dir / "new.csv").string());
    EXPECT_TRUE(contains(r.err, "broken.dat, line 40")) << r.err;
    EXPECT_FALSE(std::filesystem::exists(dir / "new.csv"));
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        EXPECT_FALSE(contains(entry.path().filename().string(), ".kalvo-")) << entry.path();
    r = EXPECT_RUN(1, "export", record, "-o", (dir / "folder.cfg").string());
    EXPECT_TRUE(contains(r.err, "folder.cfg: Is a directory")) << r.err;
    r = EXPECT_RUN(0, "export", record, "-o", csv);
    EXPECT_EQ(lines(slurp(csv)).size(), 41u);

    // Usage errors.
    EXPECT_RUN(2, "info", "--frm", "1");
    EXPECT_RUN(2, "frobnicate");
    EXPECT_RUN(2, "convert", record);
    EXPECT_RUN(2, "convert", record, "-o", (dir / "x.csv").string());
    r = EXPECT_RUN(2, "convert", record, "-o", (dir / "x.cfg").string(), "--format", "float32",
                   "--revision", "1999");
    EXPECT_TRUE(contains(r.err, "belongs to the 2013 revision")) << r.err;
}

// Channel lists take numbers, ranges, names and patterns; an unknown name is answered with
// the closest channels.
TEST(KalvoCommand, ChannelLists) {
    auto header = [](const Ran& r) { return lines(r.out).empty() ? std::string() : lines(r.out)[0]; };
    EXPECT_EQ(header(EXPECT_RUN(0, "export", "--channels", "1-3,8", "--to", "-0.06")),
              "time,VA,VB,VC,TRIP");
    EXPECT_EQ(header(EXPECT_RUN(0, "export", "--channels", "I?,52*", "--to", "-0.06")),
              "time,IA,IB,IC,IN,52A");
    EXPECT_EQ(header(EXPECT_RUN(0, "export", "--channels", "ia,VA,1", "--to", "-0.06")),
              "time,IA,VA") << "names ignore case; a channel comes once";
    Ran r = EXPECT_RUN(2, "export", "--channels", "IX");
    EXPECT_TRUE(contains(r.err, "has no channel 'IX'; the closest: IA, IB, IC, IN")) << r.err;
    r = EXPECT_RUN(2, "export", "--channels", "3-12");
    EXPECT_TRUE(contains(r.err, "has channels 1 to 9, not '3-12'")) << r.err;
    r = EXPECT_RUN(2, "harmonics", "--channels", "TRIP");
    EXPECT_TRUE(contains(r.err, "is a status channel; this command takes analog channels")) << r.err;
    r = EXPECT_RUN(0, "harmonics", "--channels", "1-9");
    EXPECT_FALSE(contains(r.out, "TRIP")) << "status channels have no harmonics";
    r = EXPECT_RUN(0, "events", "--channels", "TRIP");
    EXPECT_FALSE(contains(r.out, "52A"));
    EXPECT_TRUE(contains(r.out, "0.025000  14/03/2024,09:26:53.587500      8  TRIP")) << r.out;
    EXPECT_TRUE(contains(r.out, "1  (abnormal)")) << r.out;
}

// What people read: aligned columns for any script, values in their shortest form, the
// degree sign, plurals, n/a for a distortion without a fundamental, the version.
TEST(KalvoCommand, OutputPeopleRead) {
    REQUIRE_SHARED_RECORDS();
    const Utf8Locale utf8;
    // Cyrillic and CJK channel names keep the columns of the channel table.
    for (const char* record : {"Wisp.Comtrade/2.cfg", "comtradeOfPython/xtz.cfg"}) {
        const Ran r = EXPECT_RUN(0, "info", comtradeData(record));
        // Every row of a table (from its heading to the blank line after it) is as wide.
        for (const char* table : {"Analog channels", "Status channels"}) {
            const std::vector<std::string> all = lines(r.out);
            auto row = std::find_if(all.begin(), all.end(), [&](const std::string& line) {
                return line.rfind(table, 0) == 0;
            });
            ASSERT_NE(row, all.end()) << table;
            const int width = columns(*++row);
            int rows = 0;
            for (++row; row != all.end() && !row->empty(); ++row, ++rows)
                EXPECT_EQ(columns(*row), width) << record << ": " << *row;
            EXPECT_GT(rows, 5) << record;
        }
    }
    Ran r = EXPECT_RUN(0, "info", comtradeData("Wisp.Comtrade/2.cfg"));
    EXPECT_TRUE(contains(r.out, "\xE2\x80\xA6")) << "long names end in an ellipsis";

    r = EXPECT_RUN(0, "harmonics");
    EXPECT_TRUE(contains(r.out, "\xC2\xB0")) << "degree sign";
    EXPECT_FALSE(contains(r.out, "\xC2\xBA"));
    EXPECT_TRUE(contains(r.out, "1 cycle of 60 Hz"));
    for (const std::string& line : lines(r.out)) EXPECT_LE(columns(line), 100) << line;
    r = EXPECT_RUN(0, "harmonics", "--wide");
    EXPECT_GT(lines(r.out)[4].size(), 100u) << "the side-by-side table is wide";
    // A channel of zeros has no fundamental.
    r = EXPECT_RUN(0, "harmonics", comtradeData("Wisp.Comtrade/5.cfg"), "--channels", "1");
    EXPECT_TRUE(contains(r.out, "THD n/a")) << r.out;

    // FLOAT32 samples as the floats they are.
    r = EXPECT_RUN(0, "export", comtradeData("python-comtrade/sample_float32.cff"), "--to",
                   "-1.49");
    EXPECT_EQ(lines(r.out).size(), 3u);
    EXPECT_LT(lines(r.out)[1].size(), 24u) << lines(r.out)[1];

    // The time line: zero prints as 0, the first sample from the trigger.
    r = EXPECT_RUN(0, "info", comtradeData("COMTRADE.jl/1999-ascii-pq.cfg"));
    EXPECT_TRUE(contains(r.out, "(0 s after the start)")) << r.out;
    EXPECT_TRUE(contains(EXPECT_RUN(0, "info").out, "Sampling rates:  1 run,"));

    r = EXPECT_RUN(0, "--version");
    EXPECT_EQ(r.out, std::string("kalvo ") + KALVO_VERSION + "\n");
    r = EXPECT_RUN(0, "info", "--quiet");
    EXPECT_EQ(r.err, "") << "no progress when standard error is no terminal";
    for (const char* command : {"info", "events", "export", "harmonics", "convert"}) {
        r = EXPECT_RUN(0, command, "--help");
        EXPECT_TRUE(contains(r.out, "Exit status: 0 done, 1 ")) << command;
    }
}

// Values as the shortest text that reads back as the same sample: 0.01 times 27278 is
// 272.78, whatever the last bits of the product say.
TEST(KalvoCommand, ExportWritesShortValues) {
    const TempFolder temp;
    write(temp.path / "short.cfg",
          "S,D,1999\n2,2A,0D\n1,A,,,V,0.01,0,0,-99999,99999,1,1,S\n"
          "2,B,,,V,0.1,0,0,-99999,99999,1,1,S\n50\n1\n1000,2\n"
          "01/01/2021,00:00:00.000000\n01/01/2021,00:00:00.000000\nASCII\n1\n");
    write(temp.path / "short.dat", "1,0,27278,3\n2,1000,-1,7\n");
    const Ran r = EXPECT_RUN(0, "export", (temp.path / "short.cfg").string());
    EXPECT_EQ(r.out, "time,A,B\n0.000000000,272.78,0.3\n0.001000000,-0.01,0.7\n");
}

// render: a picture of each type, nothing left behind when it cannot be made.
TEST(KalvoCommand, RenderWritesPicturesOrSaysWhyNot) {
    const TempFolder temp;
    for (const char* ext : {".png", ".svg", ".pdf", ".emf"}) {
        const std::string out = (temp.path / (std::string("sample") + ext)).string();
        EXPECT_RUN(0, "render", "-o", out, "--markers", "0,0.01666", "--size", "800x500");
        ASSERT_TRUE(std::filesystem::exists(out)) << out;
        EXPECT_GT(std::filesystem::file_size(out), 2000u) << out;
    }
    EXPECT_EQ(slurp((temp.path / "sample.png").string()).substr(1, 3), "PNG");
    EXPECT_EQ(slurp((temp.path / "sample.pdf").string()).substr(0, 5), "%PDF-");
    const std::string picture = (temp.path / "fail.png").string();
    Ran r = EXPECT_RUN(2, "render", "-o", picture, "--channels", "IX");
    EXPECT_TRUE(contains(r.err, "'IX'")) << r.err;
    r = EXPECT_RUN(2, "render", "-o", picture, "--from", "5", "--to", "6");
    EXPECT_TRUE(contains(r.err, "no sample from 5 s to 6 s")) << r.err;
    r = EXPECT_RUN(2, "render", "-o", picture, "--markers", "0,9");
    EXPECT_TRUE(contains(r.err, "a marker at 9 s lies outside")) << r.err;
    r = EXPECT_RUN(2, "render", "-o", (temp.path / "x.gif").string());
    EXPECT_TRUE(contains(r.err, "unknown picture type '.gif'")) << r.err;
    r = EXPECT_RUN(2, "render");
    EXPECT_TRUE(contains(r.err, "-o OUT.png")) << r.err;
    r = EXPECT_RUN(2, "render", "-o", picture, "--size", "12x5");
    EXPECT_TRUE(contains(r.err, "--size")) << r.err;
    EXPECT_FALSE(std::filesystem::exists(picture));
    // Nothing but the pictures asked for is left in the folder.
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(temp.path)) files += entry.is_regular_file();
    EXPECT_EQ(files, 4);
}

namespace {

// A generated line fault under samples/line-faults/.
std::string lineFault(const char* name) {
    return std::string(KALVO_SOURCE_DIR) + "/samples/line-faults/" + name + ".cfg";
}

// The numbers of a table row: every field that reads as a number.
std::vector<double> numbersOf(const std::string& line) {
    std::vector<double> values;
    std::stringstream s(line);
    for (std::string field; s >> field;) {
        char* end = nullptr;
        const double v = strtod(field.c_str(), &end);
        if (end != field.c_str() && *end == '\0') values.push_back(v);
    }
    return values;
}

}  // namespace

// impedance: every loop of the generated faults measures the line up to the fault (1.8 + j14.4
// ohm primary, 0.36 + j2.88 secondary) from the first whole cycle of the fault on.
TEST(KalvoCommand, ImpedancePerCycle) {
    const char* faults[] = {"AG-60", "BG-60", "CG-60", "AB-60", "BC-60", "CA-60"};
    const char* loops[] = {"AG", "BG", "CG", "AB", "BC", "CA"};
    for (int k = 0; k < 6; ++k) {
        SCOPED_TRACE(faults[k]);
        const Ran r = EXPECT_RUN(0, "impedance", lineFault(faults[k]), "--loop", loops[k], "--k0",
                                 "0.6686,-7.49", "--primary", "--mho", "19.35,82.87");
        EXPECT_TRUE(contains(r.out, "primary ohms")) << r.out;
        EXPECT_TRUE(contains(r.out, "Zone 1: mho 19.35 ohm at 82.87 deg")) << r.out;
        EXPECT_TRUE(contains(r.out, "Zone 1: entered at 0.01")) << r.out;
        int rows = 0;
        for (const std::string& line : lines(r.out)) {
            const std::vector<double> v = numbersOf(line);
            // cycle, time, R, X, |Z| (the angle has its degree sign)
            if (v.size() < 5 || v[0] < 1 || line.find("Zone") != std::string::npos) continue;
            ++rows;
            EXPECT_NEAR(v[2], 1.8, 0.036) << line;
            EXPECT_NEAR(v[3], 14.4, 0.29) << line;
            EXPECT_TRUE(line.substr(line.size() - 1) == "1") << "in zone 1: " << line;
        }
        EXPECT_EQ(rows, 6) << r.out;
    }
    // Secondary ohms by default; the load before the fault, far out and in no zone.
    const Ran secondary = EXPECT_RUN(0, "impedance", lineFault("BC-60"), "--loop", "BC", "--mho", "3.87,82.87");
    bool fault = false, load = false;
    for (const std::string& line : lines(secondary.out)) {
        const std::vector<double> v = numbersOf(line);
        if (v.size() < 5) continue;
        if (v[0] == 0) load = v[4] > 20 && line.substr(line.size() - 1) == "-";
        if (v[0] == 3) fault = std::fabs(v[2] - 0.36) < 0.01 && std::fabs(v[3] - 2.88) < 0.06;
    }
    EXPECT_TRUE(load && fault) << secondary.out;

    // What it cannot do, it says.
    Ran r = EXPECT_RUN(2, "impedance", lineFault("AG-60"));
    EXPECT_TRUE(contains(r.err, "which loop? --loop AG, BG, CG, AB, BC or CA")) << r.err;
    r = EXPECT_RUN(2, "impedance", lineFault("AG-60"), "--loop", "AN");
    EXPECT_TRUE(contains(r.err, "unknown loop 'AN'")) << r.err;
    r = EXPECT_RUN(2, "impedance", lineFault("AG-60"), "--loop", "AG", "--k0", "0.6");
    EXPECT_TRUE(contains(r.err, "--k0 needs the magnitude and angle of k0")) << r.err;
    r = EXPECT_RUN(2, "impedance", lineFault("AG-60"), "--loop", "AG", "--channels", "IA,IB,IC,VA,VB,VC");
    EXPECT_TRUE(contains(r.err, "IA is in 'A', not in volts")) << r.err;
    r = EXPECT_RUN(2, "impedance", lineFault("AG-60"), "--loop", "AG", "--quad", "10,5,120");
    EXPECT_TRUE(contains(r.err, "--quad needs a line angle from 45 to 90 degrees")) << r.err;
    if (std::filesystem::exists(comtradeData("python-comtrade/sample_ascii.cfg"))) {
        r = EXPECT_RUN(2, "impedance", comtradeData("python-comtrade/sample_ascii.cfg"), "--loop", "AG");
        EXPECT_TRUE(contains(r.err, "has no three phase voltages and three phase currents")) << r.err;
    }
}

// render --view plot and --view impedance: pictures of every kind, or why not.
TEST(KalvoCommand, RenderPlotsAndTheImpedancePlane) {
    const TempFolder temp;
    const std::string plot = (temp.path / "plot.png").string();
    EXPECT_RUN(0, "render", "--view", "plot", "--x", "VA", "--y", "IA", "-o", plot, "--size", "900x500");
    EXPECT_EQ(slurp(plot).substr(1, 3), "PNG");
    for (const char* mode : {"polar", "scatter"}) {
        const std::string out = (temp.path / (std::string(mode) + ".svg")).string();
        EXPECT_RUN(0, "render", "--view", "plot", "--mode", mode, "--x", "IA", "--y", "time", "-o", out, "--size", "900x500");
        EXPECT_GT(std::filesystem::file_size(out), 2000u) << out;
    }
    const std::string plane = (temp.path / "plane.pdf").string();
    EXPECT_RUN(0, "render", lineFault("AB-60"), "--view", "impedance", "--loop", "AB,BC", "--mho", "19.35,82.87",
               "--quad", "29,12,82.87", "--markers", "-0.01,0.05", "--primary", "-o", plane, "--size", "900x500");
    EXPECT_EQ(slurp(plane).substr(0, 5), "%PDF-");

    const std::string picture = (temp.path / "fail.png").string();
    Ran r = EXPECT_RUN(2, "render", "--view", "phasors", "-o", picture);
    EXPECT_TRUE(contains(r.err, "unknown view 'phasors' (time, plot, impedance, harmonic, phasor)")) << r.err;
    r = EXPECT_RUN(2, "render", "--view", "plot", "--x", "VA", "-o", picture);
    EXPECT_TRUE(contains(r.err, "--view plot needs --x CH and --y CH")) << r.err;
    r = EXPECT_RUN(2, "render", "--view", "plot", "--x", "I*", "--y", "VA", "-o", picture);
    EXPECT_TRUE(contains(r.err, "--x names 4 channels ('I*'); it takes one")) << r.err;
    r = EXPECT_RUN(2, "render", "--view", "plot", "--x", "VA", "--y", "TRIP", "-o", picture);
    EXPECT_TRUE(contains(r.err, "is a status channel")) << r.err;
    r = EXPECT_RUN(2, "render", "--view", "plot", "--mode", "radar", "--x", "VA", "--y", "IA", "-o", picture);
    EXPECT_TRUE(contains(r.err, "--mode is xy, polar or scatter, not 'radar'")) << r.err;
    r = EXPECT_RUN(2, "render", "--view", "impedance", "-o", picture);
    EXPECT_TRUE(contains(r.err, "which loop?")) << r.err;
    r = EXPECT_RUN(2, "render", "--view", "impedance", "--loop", "AG", "--mho", "-4,75", "-o", picture);
    EXPECT_TRUE(contains(r.err, "--mho needs a reach above 0 ohm")) << r.err;
    EXPECT_FALSE(std::filesystem::exists(picture));
}

// Every shared record with three phase voltages and currents renders its impedance plane;
// the others say what they lack.
TEST(KalvoCommand, EverySharedRecordWithPhasesRendersItsImpedancePlane) {
    REQUIRE_SHARED_RECORDS();
    const TempFolder temp;
    int rendered = 0;
    for (const std::string& path : sharedRecordPaths()) {
        SCOPED_TRACE(path);
        const std::string out = (temp.path / "plane.png").string();
        const Ran r = kalvo({"render", path, "--view", "impedance", "--loop", "AG,BC", "--size", "640x400", "-o", out});
        if (r.status == 0) {
            ++rendered;
            EXPECT_EQ(slurp(out).substr(1, 3), "PNG");
        } else {
            EXPECT_EQ(r.status, 2) << r.err;
            EXPECT_TRUE(contains(r.err, "has no three phase voltages and three phase currents")) << r.err;
        }
        std::filesystem::remove(out);
    }
    // Those of protection relays and recorders with a line's or a feeder's voltages and
    // currents, named or phased as they are.
    EXPECT_GE(rendered, 14);
}
