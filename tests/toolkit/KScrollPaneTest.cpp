#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "toolkit/WidgetTestSupport.h"

namespace {

COLORREF shade(int i) {
    return RGB(40 * i, 200, 255 - 40 * i);
}

// Remembers whether each paint went to an off-screen image.
class Probe : public ktest::Sized {
public:
    Probe() : Sized("probe", 50) {}
    void paint(KGraphics& graphics) override {
        memory.push_back(graphics.getDC()->IsMemoryDC());
        Sized::paint(graphics);
    }
    std::vector<bool> memory;
};

// A graph frame's client: a pane 200 by 100 at the canvas' top-left, scrolling a list of five
// children of 50 pixels at least (250 in all) with the view tracking the viewport.
struct PaneFixture {
    PaneFixture() : canvas(220, 120) {
        frame = new KFrame("frame");
        pane = new KScrollPane("client");
        pane->setBounds(CRect(0, 0, 200, 100));
        pane->setHorizontalScrolling(false);
        pane->setHorizontalTracking(true);
        pane->setVerticalTracking(true);
        list = new KListPanel("list");
        for (int i = 0; i < 5; ++i) {
            auto* c = new ktest::Sized("c", 50);
            c->setBackground(shade(i));
            list->add(c);
        }
        pane->setView(list);
        frame->add(pane);
        canvas.setRoot(frame);
    }
    std::vector<double> vertical() const {
        double min, max, low, high;
        pane->getVerticalSlider()->getLimits(min, max);
        pane->getVerticalSlider()->getAperture(low, high);
        return {min, max, low, high};
    }
    KCanvas canvas;
    KFrame* frame;
    KScrollPane* pane;
    KListPanel* list;
};

using Values = std::vector<double>;

}  // namespace

TEST(KScrollPaneTest, tracksTheViewportAndShowsOnlyTheSlidersNeeded) {
    PaneFixture f;
    EXPECT_EQ(f.frame->getClient(), f.list) << "a frame's scrolled client is the view";
    EXPECT_EQ(f.pane->getViewport()->getBounds(), CRect(0, 0, 182, 100));
    EXPECT_EQ(f.list->getSize(), CSize(182, 250)) << "as wide as the viewport, as tall as it needs";
    EXPECT_TRUE(f.pane->getVerticalSlider()->isVisible());
    EXPECT_EQ(f.pane->getVerticalSlider()->getBounds(), CRect(182, 0, 200, 100));
    EXPECT_FALSE(f.pane->getHorizontalSlider()->isVisible());
    EXPECT_EQ(f.vertical(), (Values{0, 250, 0, 100}));

    // Without tracking the view keeps its preferred size; each slider takes room from the
    // viewport, which may call for the other.
    KScrollPane pane("free");
    pane.setBounds(CRect(0, 0, 200, 100));
    struct Case {
        CSize preferred;
        bool vertical, horizontal;
        CRect viewport;
    } cases[] = {
        {CSize(100, 50), false, false, CRect(0, 0, 200, 100)},
        {CSize(300, 80), false, true, CRect(0, 0, 200, 82)},
        {CSize(300, 90), true, true, CRect(0, 0, 182, 82)},
        {CSize(180, 120), true, false, CRect(0, 0, 182, 100)},
        {CSize(190, 120), true, true, CRect(0, 0, 182, 82)},
    };
    for (const Case& c : cases) {
        pane.setView(new ktest::Sized("view", 10, c.preferred));
        pane.layoutAll();
        EXPECT_EQ(pane.getView()->getSize(), c.preferred);
        EXPECT_EQ(pane.getVerticalSlider()->isVisible(), c.vertical)
            << c.preferred.cx << "x" << c.preferred.cy;
        EXPECT_EQ(pane.getHorizontalSlider()->isVisible(), c.horizontal)
            << c.preferred.cx << "x" << c.preferred.cy;
        EXPECT_EQ(pane.getViewport()->getBounds(), c.viewport)
            << c.preferred.cx << "x" << c.preferred.cy;
    }
}

TEST(KScrollPaneTest, wheelKeysAndTheSliderScrollTheView) {
    PaneFixture f;
    f.canvas.mouseWheel(CPoint(50, 50), -120);  // three units
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 54));
    EXPECT_EQ(f.list->getLocation(), CPoint(0, -54));
    f.canvas.mouseWheel(CPoint(50, 50), -240);
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 150)) << "no further than the view's end";
    EXPECT_EQ(f.vertical(), (Values{0, 250, 150, 250}));
    f.canvas.mouseWheel(CPoint(50, 50), -120, KEvent::SHIFT);
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 150)) << "no sideways scrolling";

    // Page Up reaches the pane from a focused component inside the view.
    KComponent::setFocus(f.list->getComponent(3));
    f.canvas.keyPress(KEvent::VK_PRIOR);
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 50));
    KComponent::setFocus(nullptr);

    // The thumb, 64 pixels of track for 250: from 31 to 56 for 50 to 150.
    EXPECT_EQ(f.pane->getVerticalSlider()->getThumbRect(), CRect(0, 31, 18, 56));
    f.canvas.mousePress(CPoint(190, 40));
    f.canvas.mouseDrag(CPoint(190, 50));  // 10 pixels: 39.0625
    f.canvas.mouseRelease(CPoint(190, 50));
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 89));

    f.pane->scrollRectToVisible(CRect(0, 200, 10, 240));
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 140)) << "its bottom at the viewport's";
    f.pane->scrollRectToVisible(CRect(0, 10, 10, 20));
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 10)) << "its top at the viewport's";

    // Input reaches the view's child under the point, wherever the view is scrolled.
    f.pane->scrollTo(CPoint(30, 100));
    EXPECT_EQ(f.pane->getScrollPosition(), CPoint(0, 100));
    f.canvas.mousePress(CPoint(50, 10));
    f.canvas.mouseRelease(CPoint(50, 10));
    EXPECT_EQ(KComponent::getFocus(), f.list->getComponent(2));
    KComponent::setFocus(nullptr);
}

TEST(KScrollPaneTest, aViewThatGrowsIsLaidOutAgain) {
    PaneFixture f;
    f.pane->scrollTo(CPoint(0, 150));
    f.list->add(new ktest::Sized("c", 50));
    f.canvas.pumpTasks();
    EXPECT_EQ(f.list->getSize().cy, 300);
    EXPECT_EQ(f.vertical(), (Values{0, 300, 150, 250}));
    while (f.list->getComponentCount() > 1) delete f.list->getComponent(0);
    f.canvas.pumpTasks();
    EXPECT_FALSE(f.pane->getVerticalSlider()->isVisible()) << "the view fits again";
    EXPECT_EQ(f.list->getBounds(), CRect(0, 0, 200, 100)) << "and is no longer scrolled";
}

TEST(KScrollPaneTest, bufferedViewIsPaintedThroughAnImage) {
    PaneFixture f;
    auto* probe = new Probe();
    f.list->add(probe);
    f.canvas.pumpTasks();
    f.pane->scrollTo(CPoint(0, 200));  // the last child and the probe below it
    f.canvas.paint();
    const COLORREF direct = f.canvas.getPixel(50, 10);
    EXPECT_EQ(direct, shade(4));
    EXPECT_EQ(probe->memory, std::vector<bool>{false});

    f.pane->setViewBuffering(true);
    EXPECT_TRUE(f.pane->isViewBuffering());
    // A device drawn where it is seen: a window's own surface, as a host would hand it in.
    cairo_surface_t* window = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 220, 120);
    cairo_t* cr = cairo_create(window);
    {
        CCairoDC screen(cr);
        f.canvas.paint(&screen);
        EXPECT_EQ(screen.GetPixel(50, 10), direct) << "the same picture";
    }
    cairo_destroy(cr);
    cairo_surface_destroy(window);
    EXPECT_EQ(probe->memory, (std::vector<bool>{false, true})) << "drawn in an image";
    // The canvas' own picture is off the screen already; pictures keep their drawing: a
    // recording, a printed page.
    f.canvas.paint();
    EXPECT_EQ(f.canvas.getPixel(50, 10), direct);
    for (bool printing : {false, true}) {
        const auto dc = ktest::recordPaint(*f.frame, CSize(220, 120), printing);
        EXPECT_TRUE(ktest::calls(*dc, CDC::Call::StretchBlt).empty()) << printing;
    }
    EXPECT_EQ(probe->memory, (std::vector<bool>{false, true, false, false, false}));
}

TEST(KScrollPaneTest, frameClientNeedsAContainer) {
    KFrame frame("frame");
    auto* pane = new KScrollPane("client");
    frame.add(pane);
    EXPECT_STREQ(ktest::raised([&] { frame.getClient(); }).getText().c_str(),
                 "Unable to find client panel.")
        << "an empty pane";
    pane->setView(new KComponent("plain"));
    EXPECT_STREQ(ktest::raised([&] { frame.getClient(); }).getText().c_str(),
                 "Unable to find client panel.")
        << "a view that is not a container";
}

TEST(KScrollPaneTest, storedFormAndCopiesKeepTheirPartsWired) {
    PaneFixture f;
    f.pane->setViewBuffering(true);
    f.pane->scrollTo(CPoint(0, 120));
    const auto read = ktest::roundTrip<KScrollPane>(*f.pane);
    EXPECT_EQ(read->getComponentCount(), 3) << "the stored parts replace the made ones";
    EXPECT_EQ(k_dynamic_cast<KListPanel>(read->getView())->getComponentCount(), 5);
    EXPECT_TRUE(read->isViewBuffering());
    EXPECT_FALSE(read->isHorizontalScrolling());
    EXPECT_TRUE(read->isHorizontalTracking() && read->isVerticalTracking());
    EXPECT_EQ(read->getScrollPosition(), CPoint(0, 120));

    const std::unique_ptr<KScrollPane> copy(static_cast<KScrollPane*>(f.pane->clone()));
    for (KScrollPane* pane : {read.get(), copy.get()}) {
        const auto& listeners = pane->getVerticalSlider()->getListeners();
        EXPECT_EQ(std::count(listeners.begin(), listeners.end(), pane), 1) << "the pane listens";
        pane->getVerticalSlider()->step(1);
        EXPECT_EQ(pane->getScrollPosition(), CPoint(0, 130));
    }

    // A part of the wrong class is an error; a missing one is made again.
    KScrollPane odd("odd");
    delete odd.getHorizontalSlider();
    delete odd.getVerticalSlider();
    odd.add(new KLabel("vscroll"));
    EXPECT_STREQ(ktest::raised([&] { ktest::roundTrip<KScrollPane>(odd); }).getText().c_str(),
                 "The scroll pane's 'vscroll' is a KLabel, not a KSlider");
    delete odd.findComponent("vscroll");
    EXPECT_NE(ktest::roundTrip<KScrollPane>(odd)->getHorizontalSlider(), nullptr);
}
