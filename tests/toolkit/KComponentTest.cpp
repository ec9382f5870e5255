#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "toolkit/ToolkitTestSupport.h"

using ktest::raised;

namespace {

// Collects what the component tracer reports.
struct TraceLog {
    std::vector<std::string> lines;
    TraceLog() {
        KComponent::setTracer([this](const KComponent*, const char* text) { lines.push_back(text); });
    }
    ~TraceLog() { KComponent::setTracer(nullptr); }
};

// Tries to invalidate itself while it is being painted.
class SelfInvalidating : public KComponent {
public:
    void paint(KGraphics& g) override {
        KComponent::paint(g);
        invalidate(true);
    }
};

}  // namespace

TEST(KComponentTest, DerivedValuesLabelsAndMenus) {
    KComponent c("gauge");
    c.setStretch(2);
    c.setStretch(4);
    c.setStretch(-1);
    EXPECT_EQ(c.getStretch(), 2);

    EXPECT_STREQ(KComponent().getLabel().c_str(), "KComponent") << "no name: the class";
    c.setLocation(4, 7);
    EXPECT_STREQ(c.paramString().c_str(), "Name=\"gauge\", Origin(4,7)");


    // Until one is set, the menu is named after the most derived class; an empty one sticks.
    KPanel panel("p");
    EXPECT_STREQ(panel.getMenu().c_str(), "KPanel");
    EXPECT_STREQ(KFrame("f").getMenu().c_str(), "KFrame");
    panel.setMenu("");
    KPanel other("o");
    other.copy(panel);
    EXPECT_TRUE(other.getMenu().isEmpty());
}

TEST(KComponentTest, OriginMovesOwnCoordinatesNotBounds) {
    KComponent c;
    c.setBounds(CRect(10, 20, 110, 70));
    c.setOrigin(CPoint(30, 5));
    EXPECT_EQ(c.getBounds(), CRect(10, 20, 110, 70));
    EXPECT_EQ(c.getExtents(), CRect(-30, -5, 70, 45));
    c.setInsets(CRect(2, 3, 4, 5));
    EXPECT_EQ(c.getClientRect(), CRect(-28, -2, 66, 40));
}

TEST(KComponentTest, FamilyQueriesAndModifiedGoingUp) {
    KPanel root("root");
    auto* a = new KPanel("a");
    auto* b = new KComponent("b");
    root.add(a);
    a->add(b);
    EXPECT_TRUE(b->isAncestor(&root));
    EXPECT_EQ(b->findAncestor("root"), &root);
    EXPECT_EQ(b->findAncestor("ROOT"), nullptr) << "exact comparison";
    EXPECT_EQ(b->getTopMost(), &root);
    a->setLocation(5, 6);
    b->setLocation(1, 2);
    EXPECT_EQ(b->getLocationOnCanvas(), CPoint(6, 8));

    root.setModified(false);
    b->setModified(true);
    EXPECT_TRUE(a->KComponent::isModified());
    EXPECT_TRUE(root.KComponent::isModified());
    b->setModified(false);
    EXPECT_FALSE(b->isModified());
    EXPECT_TRUE(a->KComponent::isModified()) << "clearing touches only the component";

    a->setVisible(false);
    EXPECT_FALSE(b->isShowing());
}

TEST(KComponentTest, InvalidateCoversPadsAndIsDroppedWhilePainting) {
    // A root that records what reaches it.
    struct Root : KPanel {
        std::vector<CRect> rects;
        void invalidateRect(CRect r, int mode) override {
            KComponent::invalidateRect(r, mode);
            if (!isPainting()) rects.push_back(r);
        }
    } root;
    auto* c = new KComponent("c");
    c->setBounds(CRect(100, 50, 140, 70));
    c->setStretch(1);
    root.add(c);
    KComponent::setFocus(c);
    root.rects.clear();
    c->invalidate(true);
    ASSERT_EQ(root.rects.size(), 1u);
    EXPECT_EQ(root.rects[0], CRect(91, 41, 149, 79));

    TraceLog log;
    root.add(new SelfInvalidating());
    root.rects.clear();
    ktest::recordPaint(root, CSize(200, 100));
    EXPECT_TRUE(root.rects.empty());
    ASSERT_FALSE(log.lines.empty());
    EXPECT_EQ(log.lines[0], "invalidate() called while painting, call ignored.");
    EXPECT_FALSE(KComponent::isPainting());
}

TEST(KComponentTest, SlotsClearedOnDestruction) {
    KPanel root("root");
    auto* c = new KComponent("c");
    root.add(c);
    KComponent::setFocus(c);
    KComponent::setCapture(c);
    KComponent::setMenuTarget(c);
    delete c;
    EXPECT_EQ(KComponent::getFocus(), nullptr);
    EXPECT_EQ(KComponent::getCapture(), nullptr);
    EXPECT_EQ(KComponent::getMenuTarget(), nullptr);
    EXPECT_EQ(root.getComponentCount(), 0) << "destruction leaves the parent";

    // The clip and drag slots own what they hold and let go of it when it is destroyed.
    auto* d = new KComponent("d");
    root.add(d);
    KComponent::setDrag(d);
    EXPECT_EQ(root.getComponentCount(), 0);
    EXPECT_TRUE(root.isModified());
    KComponent::clearDrag();
    EXPECT_EQ(KComponent::getDrag(), nullptr);
    KComponent::cutClip(new KComponent("e"));
    KComponent::cutClip(new KComponent("f"));  // deletes e
    EXPECT_STREQ(KComponent::getClip()->getName().c_str(), "f");
    KComponent::clearClip();
    EXPECT_FALSE(KComponent::isClip());
}

TEST(KComponentTest, FocusRefusesHiddenOrDisabledAndBringsRootChildrenForward) {
    KPanel root("root");
    auto* a = new KComponent("a");
    auto* b = new KComponent("b");
    root.add(a);
    root.add(b);
    b->setEnabled(false);
    KComponent::setFocus(b);
    EXPECT_EQ(KComponent::getFocus(), nullptr);
    KComponent::setFocus(a);
    EXPECT_EQ(KComponent::getFocus(), a);
    EXPECT_EQ(root.getIndex(a), 1) << "a child of the top is moved to the tail";
    a->setVisible(false);
    KComponent::setFocus(b);
    EXPECT_EQ(KComponent::getFocus(), a);
    KComponent::setFocus(nullptr);
}

TEST(KComponentTest, MessagesAndTitles) {
    KComponent c("c");
    KException e = raised([&] { c.copy(c); });
    EXPECT_STREQ(e.getTitle().c_str(), "KComponent Error");
    EXPECT_STREQ(e.getText().c_str(), "Cannot copy component to itself!");

    KException titled("Layout Error", "");
    e = raised([&] { c.throwError(&titled, "Invalid constraint -> '%s'", "20, 5"); });
    EXPECT_STREQ(e.getTitle().c_str(), "Layout Error");
    EXPECT_STREQ(e.getText().c_str(), "Invalid constraint -> '20, 5'");

    KEvent menu = KEvent::mouse(KEvent::MOUSE_PRESSED, CPoint(1, 1), KEvent::BUTTON2);
    c.setMenu("NO_SUCH_MENU");
    EXPECT_STREQ(raised([&] { c.processMenuEvent(menu); }).getText().c_str(),
                 "Unresolved menu -> 'NO_SUCH_MENU'");
    c.setMenu(999);
    EXPECT_STREQ(raised([&] { c.processMenuEvent(menu); }).getText().c_str(),
                 "Unresolved menu -> '999'");

    KEvent paste = KEvent::command(0, "PASTE.ALL");
    paste.setSource(&c);
    EXPECT_STREQ(raised([&] { c.onCommand(paste); }).getText().c_str(), "Not a container!");

    for (const char* path : {"/tmp/picture.bmp", "/no/such/folder/picture.svg"})
        EXPECT_STREQ(raised([&] { c.createMetaFile(path); }).getText().c_str(),
                     "Unable to create metafile.") << path;
}

TEST(KComponentTest, StoredFormRoundTripsAndReadsVersionOne) {
    KComponent a("dial");
    a.setBounds(CRect(5, 6, 45, 36));
    a.setOrigin(CPoint(2, 3));
    a.setBackground(RGB(10, 20, 30));
    a.setVisible(false);
    a.setTag(-12);
    a.setData(99);
    a.setStretch(2);
    a.setInsets(CRect(1, 2, 3, 4));
    a.getFlags().set(9);
    a.setMenu("KPanel");
    a.addListener(&a);
    KArchive out;
    a.Serialize(out);

    KArchive in(out.getBuffer());
    KComponent b;
    b.Serialize(in);
    EXPECT_EQ(in.remaining(), 0u);
    EXPECT_STREQ(b.getName().c_str(), "dial");
    EXPECT_EQ(b.getLocation(), a.getLocation());
    EXPECT_EQ(b.getExtents(), a.getExtents());
    EXPECT_FALSE(b.isVisible());
    EXPECT_EQ(b.getBackground(), a.getBackground());
    EXPECT_EQ(b.getTag(), -12);
    EXPECT_EQ(b.getData(), 99);
    EXPECT_EQ(b.getStretch(), 2);
    EXPECT_EQ(b.getInsets(), a.getInsets());
    EXPECT_EQ(b.getFlags(), a.getFlags());
    EXPECT_STREQ(b.getMenu().c_str(), "KPanel");
    ASSERT_EQ(b.getListeners().size(), 1u);
    EXPECT_EQ(b.getListeners()[0], &b);

    // Version 1: the same fields without the menu (its length byte and "KPanel").
    std::vector<std::uint8_t> bytes = out.getBuffer();
    bytes[0] = 1;
    bytes.resize(bytes.size() - 7);
    KArchive old(bytes);
    KComponent c;
    c.Serialize(old);
    EXPECT_STREQ(c.getName().c_str(), "dial");
    EXPECT_STREQ(c.getMenu().c_str(), "KComponent");

    // Truncated input raises and never reads past the end.
    bytes.resize(20);
    KArchive cut(bytes);
    EXPECT_THROW(c.Serialize(cut), KException);
}

TEST(KComponentTest, PaintsBackgroundAtLocationAndPadsWhenStretchable) {
    KComponent c;
    c.setBounds(CRect(10, 10, 30, 20));
    c.setBackground(RGB(0, 128, 0));
    const auto dc = ktest::recordPaint(c, CSize(50, 50));
    const auto fills = ktest::calls(*dc, CDC::Call::FillRect);
    ASSERT_EQ(fills.size(), 1u);
    EXPECT_EQ(fills[0]->rect, CRect(0, 0, 20, 10));
    EXPECT_EQ(fills[0]->state.windowOrg, CPoint(-10, -10));

    c.setOpaque(false);
    for (int stretch : {3, 1}) {
        c.setStretch(stretch);
        CRecordingDC dc(CSize(50, 50));
        {
            KGraphics g(&dc);
            c.paintAll(g);
            c.drawPads(g);
        }
        EXPECT_EQ(dc.Count(CDC::Call::FillRect), 0);
        // Both directions: eight pads; horizontal only: the left and right ones.
        EXPECT_EQ(dc.Count(CDC::Call::Rectangle), stretch == 3 ? 8 : 2);
    }
}

TEST(KComponentTest, ListenersHearActions) {
    struct Listener : KComponent {
        std::vector<std::string> heard;
        void actionPerformed(KEvent& e) override { heard.push_back(e.getName().c_str()); }
    } listener;
    KComponent source("source");
    source.addListener(&listener);
    source.addListener(&listener);
    source.actionEvent("update.scale");
    source.actionEvent("color.change");
    ASSERT_EQ(listener.heard.size(), 2u) << "a listener is told once";
    EXPECT_EQ(listener.heard[0], "update.scale");
    source.removeListener(&listener);
    source.actionEvent("update");
    EXPECT_EQ(listener.heard.size(), 2u);
}

TEST(KComponentTest, CopyTakesTheDescribedFieldsOnly) {
    KPanel parent("parent");
    auto* a = new KComponent("a");
    parent.add(a);
    a->setBounds(CRect(3, 4, 50, 60));
    a->setTag(7);
    a->setData(8);
    a->setPrintable(false);
    a->setTooltipText("tip");
    KComponent b;
    b.copy(*a);
    EXPECT_STREQ(b.getName().c_str(), "a");
    EXPECT_EQ(b.getBounds(), a->getBounds());
    EXPECT_EQ(b.getTag(), 7);
    EXPECT_EQ(b.getData(), 0) << "the second integer is not copied";
    EXPECT_FALSE(b.isPrintable());
    EXPECT_TRUE(b.getTooltipText(CPoint()).isEmpty());
    EXPECT_EQ(b.getParent(), nullptr);
}
