#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <kalvo/toolkit/KToolkit.h>

#include "toolkit/ToolkitTestSupport.h"

namespace {

// A layout that counts what the container asks of it.
class ProbeLayout : public KLayout {
public:
    explicit ProbeLayout(int drag = DRAG_NONE) : drag_(drag) {}
    void addLayoutComponent(KComponent*, const char* constraint) override {
        ++added;
        lastConstraint = constraint != nullptr ? constraint : "";
    }
    void layoutContainer(KContainer*) override { ++layouts; }
    int getDragConstraint() const override { return drag_; }
    int added = 0;
    int layouts = 0;
    std::string lastConstraint;

private:
    int drag_;
};

// A component whose proximity is set by the test.
class Near : public KComponent {
public:
    Near(const char* name, unsigned proximity) : KComponent(name), proximity_(proximity) {}
    unsigned getProximity(CPoint) const override { return proximity_; }

private:
    unsigned proximity_;
};

KComponent* child(KContainer& parent, const char* name, CRect bounds) {
    auto* c = new KComponent(name);
    c->setBounds(bounds);
    parent.add(c);
    return c;
}

}  // namespace

TEST(KContainerTest, PathLookUp) {
    KPanel root("root");
    auto* a1 = new KComponent("a");  // not a container: skipped for "a.b"
    auto* a2 = new KPanel("a");
    auto* b = new KComponent("b");
    root.add(a1);
    root.add(a2);
    a2->add(b);
    EXPECT_EQ(root.findComponent("a.b"), b) << "past a non-container of the same name";
    EXPECT_EQ(root.findComponent("a"), a1) << "the first match ends a one-token path";
    EXPECT_EQ(root.findComponent("A"), nullptr) << "names compare exactly";
    EXPECT_EQ(root.findComponent(nullptr), nullptr);
    EXPECT_EQ(root.findComponent("root.a"), nullptr) << "the container's own name is not part";
    EXPECT_EQ(root.findContainer("a"), nullptr) << "the first 'a' is not a container";

    // Two containers named "a": only the first is searched.
    auto* second = new KPanel("a");
    root.remove(a1);
    delete a1;
    root.add(second);
    second->add(new KComponent("c"));
    EXPECT_EQ(root.findComponent("a.c"), nullptr);
    EXPECT_EQ(root.findComponent("a.b."), nullptr);
}

TEST(KContainerTest, AddAndRemove) {
    KPanel root("root");
    auto* layout = new ProbeLayout();
    root.setLayout(layout);
    auto* c = new KComponent("c");
    root.add(c, "North");
    EXPECT_EQ(layout->added, 1);
    EXPECT_EQ(layout->lastConstraint, "North");
    root.add(c, "South");
    EXPECT_EQ(layout->added, 1) << "a child already here changes nothing";
    EXPECT_EQ(root.getComponentCount(), 1);
    EXPECT_EQ(layout->layouts, 0) << "not laid out before the tree is shown";

    // A container added into its own subtree: the layout was told, then the error.
    auto* inner = new KPanel("inner");
    root.add(inner);
    auto* innerLayout = new ProbeLayout();
    inner->setLayout(innerLayout);
    const KException e = ktest::raised([&] { inner->add(&root); });
    EXPECT_STREQ(e.getText().c_str(), "Adding container to itself");
    EXPECT_STREQ(e.getTitle().c_str(), "KPanel Error");
    EXPECT_EQ(innerLayout->added, 1);
    EXPECT_EQ(inner->getComponentCount(), 0);

    // Moving to another parent.
    inner->add(c);
    EXPECT_EQ(c->getParent(), inner);
    EXPECT_FALSE(root.isChild(c));
    EXPECT_TRUE(root.isDescendent(c));

    KComponent::setFocus(c);
    inner->remove(c);
    EXPECT_EQ(KComponent::getFocus(), nullptr);
    EXPECT_EQ(c->getParent(), nullptr);
    delete c;
    // removeAll only takes the children out: they are the caller's to delete.
    std::vector<KComponent*> children;
    root.getComponentList(children);
    root.removeAll();
    EXPECT_EQ(root.getComponentCount(), 0);
    for (KComponent* child : children) {
        EXPECT_EQ(child->getParent(), nullptr);
        delete child;
    }
}

TEST(KContainerTest, Reordering) {
    KPanel root;
    KComponent* a = child(root, "a", CRect());
    KComponent* b = child(root, "b", CRect());
    KComponent* c = child(root, "c", CRect());
    KComponent stranger("x");
    auto order = [&] {
        std::string s;
        for (int i = 0; i < root.getComponentCount(); ++i) s += root.getComponent(i)->getName().c_str();
        return s;
    };
    auto after = [&](void (KContainer::*move)(KComponent*), KComponent* target) {
        (root.*move)(target);
        return order();
    };
    EXPECT_EQ(after(&KContainer::toHead, &stranger), "abc") << "not a child: nothing moves";
    EXPECT_EQ(after(&KContainer::toTail, &stranger), "abc");
    EXPECT_EQ(after(&KContainer::toHead, c), "cab");
    EXPECT_EQ(after(&KContainer::toTail, c), "abc");
    EXPECT_EQ(after(&KContainer::toPrev, b), "bac");
    EXPECT_EQ(after(&KContainer::toPrev, b), "bac") << "already at the head";
    EXPECT_EQ(after(&KContainer::toNext, a), "bca");
    EXPECT_EQ(after(&KContainer::toNext, a), "bca") << "already at the tail";
}

TEST(KContainerTest, HitTests) {
    KPanel root("root");
    root.setBounds(CRect(0, 0, 200, 200));
    KComponent* back = child(root, "back", CRect(0, 0, 100, 100));
    KComponent* front = child(root, "front", CRect(50, 50, 150, 150));
    EXPECT_EQ(root.getComponentAt(CPoint(60, 60)), front) << "front-most wins";
    EXPECT_EQ(root.getComponentAt(CPoint(10, 10)), back);
    EXPECT_EQ(root.getComponentAt(CPoint(150, 150)), nullptr) << "right and bottom are outside";

    KComponent::setFocus(back);  // moves back to the tail: put it behind again
    root.toHead(back);
    EXPECT_EQ(root.getComponentAt(CPoint(60, 60)), back) << "the focused child wins";
    KComponent::setFocus(nullptr);
    front->setVisible(false);
    EXPECT_EQ(root.getComponentAt(CPoint(60, 60)), back) << "hidden children are passed";
    front->setVisible(true);

    // Proximity: the nearest of the children under the point, the front-most on ties.
    KPanel plot("plot");
    plot.setBounds(CRect(0, 0, 100, 100));
    auto near = [&](const char* name, unsigned proximity) {
        auto* n = new Near(name, proximity);
        n->setBounds(CRect(0, 0, 100, 100));
        plot.add(n);
        return n;
    };
    Near* far = near("far", 9);
    near("nearA", 3);
    Near* nearB = near("nearB", 3);
    plot.toTail(far);
    EXPECT_EQ(plot.getComponentAt(CPoint(5, 5)), nearB);
    Near* hit = near("hit", 0);
    plot.toHead(hit);
    EXPECT_EQ(plot.getComponentAt(CPoint(5, 5)), hit) << "a proximity of 0 is a direct hit";

    // findComponentAt goes down to the innermost plain component, or nothing.
    auto* panel = new KPanel("panel");
    panel->setBounds(CRect(100, 0, 200, 100));
    root.add(panel);
    root.toHead(panel);
    KComponent* leaf = child(*panel, "leaf", CRect(10, 10, 20, 20));
    EXPECT_EQ(root.findComponentAt(CPoint(115, 15)), leaf);
    EXPECT_EQ(root.findComponentAt(CPoint(180, 80)), nullptr) << "an empty spot of a panel";
}

TEST(KContainerTest, PaintsChildrenClippedInOrderWithFocusMarks) {
    KPanel root("root");
    root.setBounds(CRect(0, 0, 100, 100));
    auto* panel = new KPanel("panel");
    panel->setBounds(CRect(10, 10, 60, 60));
    root.add(panel);
    KComponent* a = child(*panel, "a", CRect(0, 0, 20, 20));
    a->setBackground(RGB(255, 0, 0));
    KComponent* b = child(*panel, "b", CRect(30, 30, 80, 80));  // sticks out of the panel
    b->setBackground(RGB(0, 0, 255));
    KComponent* outside = child(*panel, "outside", CRect(300, 300, 320, 320));
    outside->setBackground(RGB(0, 255, 0));

    const auto dc = ktest::recordPaint(root, CSize(100, 100));
    const auto fills = ktest::calls(*dc, CDC::Call::FillRect);
    // The root fills only the bands around the panel, which paints every pixel of its own;
    // plain components do not, so the panel fills behind a and b.
    ASSERT_EQ(fills.size(), 7u) << "root in four bands, panel, a, b; the child outside the clip is skipped";
    int rootArea = 0;
    for (int i = 0; i < 4; ++i) {
        CRect common;
        EXPECT_FALSE(common.IntersectRect(fills[i]->rect, CRect(10, 10, 60, 60))) << i;
        rootArea += fills[i]->rect.Width() * fills[i]->rect.Height();
    }
    EXPECT_EQ(rootArea, 100 * 100 - 50 * 50);
    EXPECT_EQ(fills[4]->rect, CRect(0, 0, 50, 50));
    EXPECT_EQ(fills[5]->brush.GetColor(), RGB(255, 0, 0));
    EXPECT_EQ(fills[6]->brush.GetColor(), RGB(0, 0, 255));
    EXPECT_EQ(fills[6]->state.clip, CRect(10, 10, 60, 60)) << "b is clipped to the panel (device coordinates)";

    // A free layout shows pads around the focused stretchable child, a grey frame in style 0.
    panel->setLayout(new ProbeLayout(KLayout::DRAG_FREE));
    a->setStretch(3);
    KComponent::setFocus(a);
    KComponent::setStyle(0);
    const auto focused = ktest::recordPaint(root, CSize(100, 100));
    KComponent::setStyle(2);
    EXPECT_EQ(focused->Count(CDC::Call::Rectangle), 8);
    bool grey = false;
    for (const auto* e : ktest::calls(*focused, CDC::Call::LineTo)) grey |= e->state.pen.GetColor() == 0x808080;
    EXPECT_TRUE(grey);

    // Printing leaves out what is not printable.
    b->setPrintable(false);
    EXPECT_EQ(ktest::recordPaint(root, CSize(100, 100), true)->Count(CDC::Call::FillRect), 6);
    // A hidden panel paints nothing, so the root fills behind it.
    panel->setVisible(false);
    EXPECT_EQ(ktest::recordPaint(root, CSize(100, 100))->Count(CDC::Call::FillRect), 1);
    panel->setVisible(true);
    KComponent::setFocus(nullptr);
}

TEST(KContainerTest, StoredTreeLoadsEqual) {
    auto frame = std::make_unique<KFrame>("frame");
    frame->setBounds(CRect(0, 0, 300, 200));
    frame->setLayout(new KLayout(4, 6));
    auto* client = new KPanel("client");
    client->setBounds(CRect(0, 0, 300, 180));
    client->setProperty("title", "Voltages");
    client->setGrid(5);
    frame->add(client);
    auto* footer = new KPanel("footer");
    footer->setBounds(CRect(0, 180, 300, 200));
    frame->add(footer);
    auto* inner = new KPanel("midclient");
    client->add(inner);
    KComponent* east = child(*inner, "eastpanel", CRect(1, 2, 3, 4));
    east->setForeground(RGB(9, 8, 7));
    footer->addListener(east);  // identities map back to the loaded tree

    const std::unique_ptr<KFrame> loaded = ktest::roundTrip<KFrame>(*frame);

    // Equal trees: same classes, names, bounds and parents at every node.
    std::vector<KComponent*> before, after;
    frame->enumComponents(before, nullptr);
    loaded->enumComponents(after, nullptr);
    ASSERT_EQ(before.size(), after.size());
    for (size_t i = 0; i < before.size(); ++i) {
        EXPECT_STREQ(before[i]->getClassName(), after[i]->getClassName());
        EXPECT_STREQ(before[i]->getName().c_str(), after[i]->getName().c_str());
        EXPECT_EQ(before[i]->getBounds(), after[i]->getBounds());
        if (i > 0) EXPECT_STREQ(after[i]->getParent()->getName().c_str(),
                                before[i]->getParent()->getName().c_str());
    }
    EXPECT_EQ(loaded->getClient(), loaded->findComponent("client"));
    EXPECT_EQ(loaded->getFooter()->getListeners().size(), 1u);
    EXPECT_EQ(loaded->getFooter()->getListeners()[0], loaded->findComponent("client.midclient.eastpanel"));
    EXPECT_STREQ(static_cast<KPanel*>(loaded->getClient())->getProperty("title").c_str(), "Voltages");
    EXPECT_EQ(loaded->getClient()->getGrid(), 10) << "the grid is not part of the stored form";
    EXPECT_EQ(loaded->getLayout()->getVertGap(), 6);

    // Every toolkit class can be created by name from the library.
    for (const KClass* const* c = KToolkit::getClasses(); *c != nullptr; ++c) {
        std::unique_ptr<KObject> made(KClass::createObject((*c)->getClassName()));
        EXPECT_NE(made, nullptr) << (*c)->getClassName();
    }

    // A truncated tree raises and leaks nothing.
    const int live = KComponent::getInstanceCount();
    const std::vector<std::uint8_t> bytes = ktest::stored(*frame);
    ktest::expectCutRaises(bytes, bytes.size() / 2);
    EXPECT_EQ(KComponent::getInstanceCount(), live);
}

TEST(KContainerTest, FrameMessages) {
    KFrame frame("frame");
    frame.add(new KComponent("client"));
    EXPECT_STREQ(ktest::raised([&] { frame.getClient(); }).getText().c_str(),
                 "Unable to find client panel.");
    EXPECT_STREQ(ktest::raised([&] { frame.getFooter(); }).getText().c_str(),
                 "Unable to find footer panel.");
}

// A copy is deep: its own children and its own layout, with the layout's constraints.
TEST(KContainerTest, CopiesCarryChildrenAndLayouts) {
    KPanel source("source");
    source.setLayout(new KGridBagLayout(10, 10));
    source.setBounds(CRect(0, 0, 100, 100));
    auto* p = new KPanel("p");
    source.add(p, "0, 0, 5, 5");
    p->add(new KComponent("q"));
    std::unique_ptr<KObject> copy(source.clone());
    auto* panel = k_dynamic_cast<KPanel>(copy.get());
    ASSERT_NE(panel, nullptr);
    ASSERT_NE(panel->findComponent("p.q"), nullptr);
    EXPECT_NE(panel->findComponent("p.q"), source.findComponent("p.q"));
    ASSERT_STREQ(panel->getLayout()->getClassName(), "KGridBagLayout");
    EXPECT_NE(panel->getLayout(), source.getLayout());
    panel->doLayout();
    EXPECT_EQ(panel->findComponent("p")->getBounds(), CRect(0, 0, 50, 50));
}

TEST(KContainer, populateAllFillsATreeView) {
    KFrame frame("frame");
    auto* client = new KPanel("client");
    auto* unnamed = new KComponent("");
    frame.add(client, nullptr);
    client->add(new KComponent("a"), nullptr);
    client->add(unnamed, nullptr);
    frame.add(new KComponent("footer"), nullptr);

    CTreeCtrl tree;
    frame.populateAll(tree, TVI_ROOT);
    ASSERT_EQ(tree.GetCount(), 5);
    const HTREEITEM root = tree.GetRootItem();
    EXPECT_EQ(tree.GetItemText(root), "frame");
    const HTREEITEM clientItem = tree.GetChildItem(root);
    const HTREEITEM a = tree.GetChildItem(clientItem);
    EXPECT_EQ(tree.GetItemText(a), "a");
    EXPECT_EQ(tree.GetItemText(tree.GetNextSiblingItem(a)), "KComponent");  // no name: class
    EXPECT_EQ(tree.GetItemData(tree.GetNextSiblingItem(a)), reinterpret_cast<std::uintptr_t>(unnamed));
    EXPECT_EQ(tree.GetItemText(tree.GetNextSiblingItem(clientItem)), "footer");
    EXPECT_EQ(tree.GetNextSiblingItem(root), -1);
    EXPECT_EQ(tree.GetParentItem(a), clientItem);
    EXPECT_EQ(tree.InsertItem("orphan", 99), -1);
}
