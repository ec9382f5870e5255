// Lays out and paints a tree of 10,000 components into a 1920x1080 image, and runs hit tests
// down the tree. The layout is a grid placement of the children's bounds, done here so that
// the benchmark measures the container machinery rather than a particular layout manager.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>

#include <kalvo/platform/CCairoDC.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/layout/KLayout.h>

namespace {

constexpr int WIDTH = 1920;
constexpr int HEIGHT = 1080;
constexpr int PANELS = 100;            // 10 x 10 panels ...
constexpr int LEAVES_PER_PANEL = 99;   // ... of 99 components: 10,000 with the panels

// Places the children in equal cells, row by row.
class CellLayout : public KLayout {
public:
    explicit CellLayout(int columns) : columns_(columns) {}
    void layoutContainer(KContainer* container) override {
        const int count = container->getComponentCount();
        const int rows = (count + columns_ - 1) / columns_;
        const CRect client = container->getClientRect();
        const int w = client.Width() / columns_, h = client.Height() / (rows > 0 ? rows : 1);
        for (int i = 0; i < count; ++i) {
            const int x = client.left + (i % columns_) * w, y = client.top + (i / columns_) * h;
            container->getComponent(i)->setBounds(CRect(x + 1, y + 1, x + w - 1, y + h - 1));
        }
    }

private:
    int columns_;
};

std::unique_ptr<KPanel> buildTree() {
    auto root = std::make_unique<KPanel>("root");
    root->setLayout(new CellLayout(10));
    for (int p = 0; p < PANELS; ++p) {
        auto* panel = new KPanel();
        panel->setLayout(new CellLayout(11));
        panel->setBackground(RGB(200, 220, 240));
        for (int i = 0; i < LEAVES_PER_PANEL; ++i) {
            auto* leaf = new KComponent();
            leaf->setBackground(RGB((i * 37) % 256, (p * 53) % 256, 128));
            panel->add(leaf);
        }
        root->add(panel);
    }
    root->setBounds(CRect(0, 0, WIDTH, HEIGHT));
    return root;
}

void BM_LayoutTree(benchmark::State& state) {
    auto root = buildTree();
    for (auto _ : state) {
        root->layoutAll();
        benchmark::ClobberMemory();
    }
    state.counters["components"] = KComponent::getInstanceCount();
    state.counters["layouts/s"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                     benchmark::Counter::kIsRate);
}
BENCHMARK(BM_LayoutTree)->Unit(benchmark::kMillisecond);

void BM_PaintTree(benchmark::State& state) {
    auto root = buildTree();
    root->layoutAll();
    std::unique_ptr<CCairoDC> image(CCairoDC::CreateImage(WIDTH, HEIGHT));
    for (auto _ : state) {
        KGraphics graphics(image.get());
        root->paintAll(graphics);
    }
    state.counters["paints/s"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                    benchmark::Counter::kIsRate);
}
BENCHMARK(BM_PaintTree)->Unit(benchmark::kMillisecond);

void BM_HitTests(benchmark::State& state) {
    auto root = buildTree();
    root->layoutAll();
    std::mt19937 random(7);
    std::uniform_int_distribution<int> x(0, WIDTH - 1), y(0, HEIGHT - 1);
    constexpr int TESTS = 100000;
    std::vector<CPoint> points(TESTS);
    for (CPoint& p : points) p = CPoint(x(random), y(random));
    int found = 0;
    for (auto _ : state) {
        for (const CPoint& p : points) found += root->findComponentAt(p) != nullptr;
        benchmark::DoNotOptimize(found);
    }
    state.counters["hits/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * TESTS,
                                                  benchmark::Counter::kIsRate);
    state.counters["found%"] = 100.0 * found / (static_cast<double>(state.iterations()) * TESTS);
}
BENCHMARK(BM_HitTests)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
