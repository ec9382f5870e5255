// Drawing through KGraphics against drawing the same picture with cairo and Pango directly:
// 100,000 one-pixel line segments (a trace wandering across the image) and 10,000 short
// labels into a 1920x1080 image. Prints both rates and the cost the port adds.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <pango/pangocairo.h>

#include <kalvo/kalvo.h>

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kSegments = 100000;
constexpr int kLabels = 10000;

struct Segment {
    int x1, y1, x2, y2;
};

struct Label {
    int x, y;
    std::string text;
};

const std::vector<Segment>& segments() {
    static const std::vector<Segment> list = [] {
        std::vector<Segment> s;
        s.reserve(kSegments);
        unsigned seed = 12345;
        int x = 0, y = kHeight / 2;
        for (int i = 0; i < kSegments; ++i) {
            seed = seed * 1103515245u + 12345u;
            const int nx = (x + 1 + static_cast<int>(seed >> 28) % 4) % kWidth;
            const int ny = static_cast<int>(kHeight / 2 + 400 * std::sin(i * 0.01) +
                                            static_cast<int>((seed >> 16) % 41) - 20);
            if (nx > x) s.push_back({x, y, nx, ny});
            else s.push_back({0, ny, 3, ny});
            x = nx;
            y = ny;
        }
        return s;
    }();
    return list;
}

const std::vector<Label>& labels() {
    static const std::vector<Label> list = [] {
        std::vector<Label> l;
        l.reserve(kLabels);
        for (int i = 0; i < kLabels; ++i) {
            char text[32];
            std::snprintf(text, sizeof text, "%d.%d kV", i % 400, i % 10);
            l.push_back({(i * 97) % (kWidth - 60), (i * 53) % (kHeight - 20), text});
        }
        return l;
    }();
    return list;
}

void throughKGraphics(benchmark::State& state) {
    std::unique_ptr<CCairoDC> dc(CCairoDC::CreateImage(kWidth, kHeight));
    CFont font("Arial", -12);
    for (auto _ : state) {
        KGraphics g(dc.get());
        for (const Segment& s : segments()) {
            g.setColor(RGB(0, 0, 160));
            g.drawLine(s.x1, s.y1, s.x2, s.y2);
        }
        g.setFont(&font);
        g.setColor(RGB(0, 0, 0));
        for (const Label& l : labels()) g.drawString(l.text.c_str(), l.x, l.y);
    }
    state.SetItemsProcessed(state.iterations() * (kSegments + kLabels));
}

void throughCairo(benchmark::State& state) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kHeight);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    PangoLayout* layout = pango_cairo_create_layout(cr);
    PangoFontDescription* font = pango_font_description_from_string("Arial");
    pango_font_description_set_absolute_size(font, 12 * PANGO_SCALE);
    pango_layout_set_font_description(layout, font);
    for (auto _ : state) {
        cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
        cairo_set_line_width(cr, 1);
        cairo_set_source_rgb(cr, 0, 0, 160 / 255.0);
        for (const Segment& s : segments()) {
            cairo_move_to(cr, s.x1 + 0.5, s.y1 + 0.5);
            cairo_line_to(cr, s.x2 + 0.5, s.y2 + 0.5);
            cairo_stroke(cr);
        }
        cairo_set_source_rgb(cr, 0, 0, 0);
        for (const Label& l : labels()) {
            pango_layout_set_text(layout, l.text.c_str(), static_cast<int>(l.text.size()));
            cairo_move_to(cr, l.x, l.y);
            pango_cairo_show_layout(cr, layout);
        }
        cairo_surface_flush(surface);
    }
    state.SetItemsProcessed(state.iterations() * (kSegments + kLabels));
    pango_font_description_free(font);
    g_object_unref(layout);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
}

BENCHMARK(throughKGraphics)->Unit(benchmark::kMillisecond);
BENCHMARK(throughCairo)->Unit(benchmark::kMillisecond);

// Keeps the processor time per picture of every run, to compare them after all have run
// (processor time, since the machine may be shared with other work).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.iterations > 0 && run.run_type == Run::RT_Iteration) {
                seconds[run.run_name.function_name] =
                    run.cpu_accumulated_time / static_cast<double>(run.iterations);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> seconds;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const auto ours = reporter.seconds.find("throughKGraphics");
    const auto theirs = reporter.seconds.find("throughCairo");
    if (ours != reporter.seconds.end() && theirs != reporter.seconds.end()) {
        std::printf("\nKGraphics: %.1f pictures/s (%.2f M segments/s)\n", 1 / ours->second,
                    kSegments / ours->second / 1e6);
        std::printf("cairo:     %.1f pictures/s (%.2f M segments/s)\n", 1 / theirs->second,
                    kSegments / theirs->second / 1e6);
        std::printf("KGraphics time / cairo time = %.2f (the port %s %.0f%%)\n",
                    ours->second / theirs->second,
                    ours->second > theirs->second ? "adds" : "saves",
                    std::fabs(ours->second / theirs->second - 1) * 100);
    }
    benchmark::Shutdown();
    return 0;
}
