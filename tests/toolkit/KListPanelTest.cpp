#include <gtest/gtest.h>

#include <vector>

#include "toolkit/WidgetTestSupport.h"

namespace {

// The children's bounds after a layout of the panel at the given height (width 100).
std::vector<CRect> stack(KListPanel& panel, const std::vector<int>& minimums, int height) {
    while (panel.getComponentCount() > 0) delete panel.getComponent(0);
    for (int minimum : minimums) panel.add(new ktest::Sized("c", minimum));
    panel.setBounds(CRect(0, 0, 100, height));
    panel.doLayout();
    std::vector<CRect> out;
    for (int i = 0; i < panel.getComponentCount(); ++i)
        out.push_back(panel.getComponent(i)->getBounds());
    return out;
}

}  // namespace

TEST(KListPanelTest, sharesTheHeightOutAboveTheMinimums) {
    KListPanel panel("list");
    using Rects = std::vector<CRect>;
    EXPECT_EQ(stack(panel, {9, 9, 9}, 300),
              (Rects{{0, 0, 100, 100}, {0, 100, 100, 200}, {0, 200, 100, 300}}));
    // A tall minimum takes its own; the rest share what is left.
    EXPECT_EQ(stack(panel, {9, 150, 9, 9}, 300),
              (Rects{{0, 0, 100, 50}, {0, 50, 100, 200}, {0, 200, 100, 250}, {0, 250, 100, 300}}));
    // A child held to a maximum below the share keeps to it; the others share the rest.
    struct Short : ktest::Sized {
        Short() : Sized("short", 9) {}
        CSize getMaximumSize() const override { return CSize(100, 40); }
    };
    stack(panel, {9, 9}, 300);
    panel.add(new Short());
    panel.doLayout();
    EXPECT_EQ(panel.getComponent(2)->getBounds(), CRect(0, 260, 100, 300));
    EXPECT_EQ(panel.getComponent(0)->getBounds(), CRect(0, 0, 100, 130));
    // Odd pixels go to the first children; gaps stand between, not around.
    panel.setGap(2);
    EXPECT_EQ(stack(panel, {9, 9, 9}, 101),
              (Rects{{0, 0, 100, 33}, {0, 35, 100, 67}, {0, 69, 100, 101}}));
    // Too little height: every child at its minimum, running past the panel's bottom.
    EXPECT_EQ(stack(panel, {60, 60}, 100), (Rects{{0, 0, 100, 60}, {0, 62, 100, 122}}));
    EXPECT_EQ(panel.getMinimumSize(), CSize(10, 122));
    EXPECT_EQ(panel.getPreferredSize(), CSize(40, 82)) << "the children's preferred sizes";

    // Hidden children are left out and leave no gap; the insets are kept.
    panel.setInsets(CRect(3, 4, 5, 6));
    panel.getComponent(0)->setVisible(false);
    panel.doLayout();
    EXPECT_EQ(panel.getComponent(1)->getBounds(), CRect(3, 4, 95, 94));
    EXPECT_EQ(panel.getMinimumSize(), CSize(10 + 8, 60 + 10));
    panel.setGap(-1);
    EXPECT_EQ(panel.getGap(), 2) << "a negative gap is refused";
}

TEST(KListPanelTest, reorderingByCommandLaysOutAgain) {
    KListPanel panel("list");
    const std::vector<CRect> before = stack(panel, {9, 9}, 100);
    KComponent* first = panel.getComponent(0);
    KComponent::setFocus(first);
    KEvent forward = KEvent::command(0, "COL.RIGHT");
    panel.deliverEvent(forward);
    EXPECT_EQ(panel.getIndex(first), 1);
    EXPECT_EQ(first->getBounds(), before[1]) << "placed at once in its new place";
    KComponent::setFocus(nullptr);
}

TEST(KListPanelTest, addingAChildAsksTheContainersToLayOutAgain) {
    KCanvas canvas(100, 100);
    auto* list = ktest::hosted(canvas, new KListPanel("list"), CRect(0, 0, 100, 100));
    ktest::Recorder recorder;
    list->addListener(&recorder);
    list->add(new KComponent("a"));
    delete list->getComponent(0);
    list->setGap(3);
    EXPECT_TRUE(recorder.names.empty()) << "posted, not told at once";
    canvas.pumpTasks();
    EXPECT_EQ(recorder.count("layout.change"), 3);
}

TEST(KListPanelTest, storedForm) {
    KListPanel panel("list");
    panel.setGap(4);
    panel.setProperty("kind", "analog");
    panel.add(new KLabel("a"));
    const auto read = ktest::roundTrip<KListPanel>(panel);
    EXPECT_EQ(read->getGap(), 4);
    EXPECT_STREQ(read->getProperty("kind").c_str(), "analog");
    EXPECT_EQ(read->getComponentCount(), 1);
}
