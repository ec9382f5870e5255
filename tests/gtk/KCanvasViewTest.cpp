#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <kalvo/host/gtk/KCanvasView.h>
#include <kalvo/host/gtk/KCanvasWnd.h>
#include <kalvo/platform/KWaitCursor.h>
#include <kalvo/resources/KResources.h>
#include <kalvo/toolkit/KEvent.h>
#include <kalvo/toolkit/KPanel.h>

#include "GtkTestSupport.h"

using ktest::XSession;

namespace {

// Remembers the input that reaches it, in its own coordinates, and takes all of it.
class Probe : public KPanel {
public:
    struct Seen {
        KEvent::Type type;
        CPoint point;
        unsigned modifiers;
        int clicks;
        int key;
        int wheel;
    };
    explicit Probe(const char* name) : KPanel(name) {}
    void processEvent(KEvent& e) override {
        if (!e.isMouse() && !e.isKey()) {
            KPanel::processEvent(e);
            return;
        }
        if (e.getType() != KEvent::MOUSE_MOVED) {
            seen.push_back({e.getType(), e.getPoint(), e.getModifiers(), e.getClickCount(),
                            e.getKeyCode(), e.getWheelDelta()});
        }
        e.consume();
    }
    // The events of a type, in order.
    std::vector<Seen> of(KEvent::Type type) const {
        std::vector<Seen> out;
        for (const Seen& s : seen) {
            if (s.type == type) out.push_back(s);
        }
        return out;
    }
    std::vector<Seen> seen;
};

// A window of 400 x 300 at the screen's top-left with a probe at (100, 50)-(300, 250).
struct Window {
    XSession& x = ktest::startGtk();
    KCanvasWnd wnd{"Kalvo host test", 400, 300};
    KPanel* root = new KPanel("root");
    Probe* probe = new Probe("probe");
    std::vector<CRect> painted;

    Window() {
        root->setBackground(RGB(230, 230, 230));
        probe->setBounds(CRect(100, 50, 300, 250));
        probe->setBackground(RGB(40, 90, 200));
        root->add(probe);
        wnd.getView().setRoot(root);
        wnd.getView().setPaintObserver(
            [this](const CRect& area, double) { painted.push_back(area); });
        wnd.show();
        EXPECT_TRUE(x.waitUntil(
            [&] { return !painted.empty() && wnd.getView().getClientRect().Width() == 400; }));
        // The pointer over the window gives it the keyboard.
        x.xdotool("mousemove 20 20");
        x.sleep(100);
    }
};

}  // namespace

TEST(KCanvasViewTest, MouseWheelAndKeysReachTheTreeAsItsEvents) {
    Window w;
    XSession& x = w.x;
    Probe& probe = *w.probe;

    x.xdotool("mousemove 150 100 click 1");
    ASSERT_TRUE(x.waitUntil([&] { return probe.of(KEvent::MOUSE_RELEASED).size() == 1; }));
    auto presses = probe.of(KEvent::MOUSE_PRESSED);
    ASSERT_EQ(presses.size(), 1u);
    EXPECT_EQ(presses[0].point, CPoint(50, 50)) << "in the probe's own coordinates";
    EXPECT_EQ(presses[0].modifiers, KEvent::BUTTON1);
    EXPECT_EQ(presses[0].clicks, 1);

    x.xdotool("mousemove 160 110 click --repeat 2 --delay 60 1");
    ASSERT_TRUE(x.waitUntil([&] { return probe.of(KEvent::MOUSE_PRESSED).size() == 3; }));
    EXPECT_EQ(probe.of(KEvent::MOUSE_PRESSED)[2].clicks, 2) << "a double click";

    // A drag with the right button, Shift held: the button and the key come with every step.
    probe.seen.clear();
    x.xdotool(
        "mousemove 120 60 keydown shift mousedown 3 mousemove 150 80 mousemove 180 90 mouseup 3 "
        "keyup shift");
    ASSERT_TRUE(x.waitUntil([&] { return probe.of(KEvent::MOUSE_RELEASED).size() == 1; }));
    ASSERT_EQ(probe.of(KEvent::MOUSE_PRESSED).size(), 1u);
    EXPECT_EQ(probe.of(KEvent::MOUSE_PRESSED)[0].modifiers, KEvent::BUTTON2 | KEvent::SHIFT);
    const auto drags = probe.of(KEvent::MOUSE_DRAGGED);
    ASSERT_FALSE(drags.empty());
    EXPECT_EQ(drags.back().point, CPoint(80, 40));
    EXPECT_EQ(drags.back().modifiers & (KEvent::BUTTON1 | KEvent::BUTTON2 | KEvent::BUTTON3),
              KEvent::BUTTON2);
    EXPECT_EQ(probe.of(KEvent::MOUSE_RELEASED)[0].point, CPoint(80, 40));

    // The wheel: a notch away from the user is +120; sideways turns pan, as Shift does.
    probe.seen.clear();
    x.xdotool("mousemove 200 150 click 4 click 5 click 7");
    ASSERT_TRUE(x.waitUntil([&] { return probe.of(KEvent::MOUSE_WHEEL).size() == 3; }));
    const auto wheel = probe.of(KEvent::MOUSE_WHEEL);
    EXPECT_EQ(wheel[0].wheel, 120);
    EXPECT_EQ(wheel[1].wheel, -120);
    EXPECT_EQ(wheel[2].modifiers & KEvent::SHIFT, KEvent::SHIFT);
    EXPECT_EQ(wheel[0].point, CPoint(100, 100));

    // Keys, as the toolkit codes them.
    probe.seen.clear();
    KComponent::setFocus(&probe);
    x.xdotool("key m shift+a ctrl+c plus KP_Add F10 Menu Page_Down");
    ASSERT_TRUE(x.waitUntil([&] { return probe.of(KEvent::KEY_PRESSED).size() == 8; }));
    const auto keys = probe.of(KEvent::KEY_PRESSED);
    const int codes[] = {
        'M', 'A', 'C', '+', 0x6B, KEvent::VK_F10, KEvent::VK_APPS, KEvent::VK_NEXT};
    for (size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(keys[i].key, codes[i]) << i;
    EXPECT_EQ(keys[1].modifiers, KEvent::SHIFT);
    EXPECT_EQ(keys[2].modifiers, KEvent::CONTROL);
    EXPECT_EQ(probe.of(KEvent::KEY_RELEASED).size(), 8u);
}

TEST(KCanvasViewTest, OnlyTheInvalidatedPartIsPaintedAndShown) {
    Window w;
    XSession& x = w.x;
    ASSERT_EQ(w.painted.front(), CRect(0, 0, 400, 300)) << "the first frame paints everything";
    const ktest::Picture first(ktest::shot(x, "host-first-frame"));
    EXPECT_EQ(first.pixel(150, 100), 0x285AC8);
    EXPECT_EQ(first.pixel(50, 50), 0xE6E6E6);

    // A new colour invalidated over a strip of the probe shows there only: the rest of the
    // window keeps the pixels of the last frame.
    w.painted.clear();
    w.probe->setBackground(RGB(200, 30, 30));
    w.probe->invalidateRect(CRect(0, 0, 200, 40), 3);
    EXPECT_EQ(w.wnd.getView().getInvalidRect(), CRect(100, 50, 300, 90));
    ASSERT_TRUE(x.waitUntil([&] { return !w.painted.empty(); }));
    EXPECT_EQ(w.painted, std::vector<CRect>{CRect(100, 50, 300, 90)});
    x.sleep(100);
    const ktest::Picture partial(ktest::shot(x, "host-partial-frame"));
    EXPECT_EQ(partial.pixel(150, 60), 0xC81E1E);
    EXPECT_EQ(partial.pixel(150, 120), 0x285AC8) << "not repainted";

    // A larger window lays the tree out again and paints it whole.
    w.painted.clear();
    gtk_window_set_default_size(w.wnd.getWindow(), 500, 320);
    ASSERT_TRUE(x.waitUntil([&] {
        return w.wnd.getView().getClientRect() == CRect(0, 0, 500, 320) && !w.painted.empty();
    }));
    EXPECT_EQ(w.painted.back(), CRect(0, 0, 500, 320));
    EXPECT_EQ(w.root->getBounds(), CRect(0, 0, 500, 320));
}

TEST(KCanvasViewTest, TimersAndPostedTasksRunOnTheMainLoop) {
    Window w;
    XSession& x = w.x;
    KCanvasView& view = w.wnd.getView();
    std::vector<std::string> order;
    int ticks = 0;
    unsigned timer = 0;
    timer = view.setTimer(20, [&] {
        if (++ticks == 3) view.killTimer(timer);  // from its own callback
    });
    EXPECT_EQ(view.getTimerCount(), 1);
    view.postTask([&] {
        order.push_back("first");
        view.postTask([&] { order.push_back("posted by a task"); });
    });
    view.postTask([&] { order.push_back("second"); });
    EXPECT_TRUE(order.empty()) << "tasks run later, not at once";
    ASSERT_TRUE(x.waitUntil([&] { return order.size() == 3 && ticks == 3; }));
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "posted by a task"}));
    x.sleep(100);
    EXPECT_EQ(ticks, 3) << "the timer stopped";
    EXPECT_EQ(view.getTimerCount(), 0);

    // A task whose view is gone never runs.
    bool ran = false;
    {
        KCanvasView gone;
        gone.postTask([&] { ran = true; });
    }
    x.sleep(50);
    EXPECT_FALSE(ran);
}

TEST(KCanvasViewTest, CursorsTooltipsAndTheBusyCursor) {
    Window w;
    XSession& x = w.x;
    KCanvasView& view = w.wnd.getView();
    GtkWidget* area = view.getWidget();

    view.setCursor("HAND_OPEN");
    GdkCursor* hand = gtk_widget_get_cursor(area);
    ASSERT_NE(hand, nullptr);
    const KImageResource* image = KResources::findCursor("HAND_OPEN");
    EXPECT_EQ(gdk_cursor_get_hotspot_x(hand), image->hotX);
    EXPECT_EQ(gdk_texture_get_width(gdk_cursor_get_texture(hand)), image->width);
    view.setCursor("NO_SUCH_CURSOR");
    EXPECT_EQ(gtk_widget_get_cursor(area), nullptr) << "the arrow";
    view.setCursor(nullptr);

    {
        KWaitCursor busy;
        GdkCursor* wait = gtk_widget_get_cursor(GTK_WIDGET(w.wnd.getWindow()));
        ASSERT_NE(wait, nullptr);
        EXPECT_STREQ(gdk_cursor_get_name(wait), "wait");
    }
    EXPECT_EQ(gtk_widget_get_cursor(GTK_WIDGET(w.wnd.getWindow())), nullptr);

    // Over a panel with a tooltip, the tooltip; away from it, none. (The probe takes the
    // motion itself and goes.)
    w.root->remove(w.probe);
    delete w.probe;
    auto* tipped = new KPanel("tipped");
    tipped->setBounds(CRect(100, 50, 300, 250));
    tipped->setBackground(RGB(40, 90, 200));
    tipped->setTooltipText("Marker X\n12.500 ms");
    w.root->add(tipped);
    w.root->invalidate(true);
    x.xdotool("mousemove 150 100 mousemove 152 102");
    ASSERT_TRUE(x.waitUntil([&] { return view.getTooltip() == "Marker X\n12.500 ms"; }));
    // GTK shows it after its delay, below the pointer.
    EXPECT_TRUE(x.waitUntil([&] {
        x.sleep(200);
        const ktest::Picture screen(ktest::shot(x, "host-tooltip"));
        return screen.countOtherThan(0x285AC8, 120, 105, 220, 160) > 100;
    })) << "a tooltip shows near the pointer";
    x.xdotool("mousemove 50 280");
    EXPECT_TRUE(x.waitUntil([&] { return view.getTooltip().isEmpty(); }));
}
