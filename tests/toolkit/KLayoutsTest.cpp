#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "toolkit/ToolkitTestSupport.h"

namespace {

// A panel of the given client size with the layout.
std::unique_ptr<KPanel> panel(KLayout* layout, int width, int height) {
    auto p = std::make_unique<KPanel>("panel");
    p->setLayout(layout);
    p->setBounds(CRect(0, 0, width, height));
    return p;
}

KComponent* child(KContainer* parent, const char* name, const char* constraint = nullptr,
                  int width = 18, int height = 18) {
    auto* c = new KComponent(name);
    c->setSize(width, height);
    parent->add(c, constraint);
    return c;
}

// The title and text of the error raised by adding the component with the constraint, and
// whether the child stayed out.
std::string addError(KContainer* parent, KComponent* c, const char* constraint) {
    const int before = parent->getComponentCount();
    try {
        parent->add(c, constraint);
    } catch (const KException& e) {
        EXPECT_EQ(parent->getComponentCount(), before) << "a refused child is not added";
        EXPECT_EQ(c->getParent(), nullptr);
        return std::string(e.getTitle().c_str()) + " | " + e.getText().c_str();
    }
    return "no error";
}

// The five regions of a border layout, in the order North, South, West, East, Center.
std::vector<KComponent*> regions(KContainer* parent) {
    std::vector<KComponent*> out;
    for (const char* r : {"North", "South", "West", "East", "Center"}) out.push_back(child(parent, r, r));
    return out;
}

}  // namespace

TEST(KGridBagLayout, placesRectanglesOnTheGridAtSeveralSizes) {
    auto p = panel(new KGridBagLayout(100, 100), 400, 200);
    KComponent* a = child(p.get(), "a", "20, 5, 60, 95");
    KComponent* reversed = child(p.get(), "reversed", "60,95,20,5");
    KComponent* fraction = child(p.get(), "fraction", "12.5, 0, 25.25, 50");
    p->getLayout()->layoutContainer(p.get());
    EXPECT_EQ(a->getBounds(), CRect(80, 10, 240, 190));
    EXPECT_EQ(reversed->getBounds(), CRect(80, 10, 240, 190)) << "normalised";
    EXPECT_EQ(fraction->getBounds(), CRect(50, 0, 101, 100)) << "25.25 * 4 + 0.5 = 101.5";

    const struct {
        int w, h;
        CRect expected;
    } sizes[] = {
        {33, 17, CRect(7, 1, 20, 16)},  // 7.1, 1.35, 20.3, 16.65 truncated
        {0, 0, CRect(0, 0, 0, 0)},
    };
    for (const auto& s : sizes) {
        p->setSize(s.w, s.h);
        p->doLayout();
        EXPECT_EQ(a->getBounds(), s.expected) << s.w << " x " << s.h;
    }
}

TEST(KGridBagLayout, constraintErrorsKeepTheChildOut) {
    auto p = panel(new KGridBagLayout(100, 100), 400, 200);
    child(p.get(), "a", "0, 0, 50, 50");

    auto unnamed = std::make_unique<KLabel>("");
    EXPECT_EQ(addError(p.get(), unnamed.get(), "0, 0, 1, 1"),
              "KLabel Error | Layout component must have a name");
    auto duplicate = std::make_unique<KComponent>("a");
    EXPECT_EQ(addError(p.get(), duplicate.get(), "0, 0, 1, 1"),
              "KComponent Error | Duplicate component name -> 'a'");
    auto three = std::make_unique<KComponent>("b");
    EXPECT_EQ(addError(p.get(), three.get(), "20, 5, 60"),
              "KComponent Error | Invalid constraint -> '20, 5, 60'");
    EXPECT_EQ(addError(p.get(), three.get(), nullptr),
              "KComponent Error | Invalid constraint -> ''");
    const auto* layout = static_cast<const KGridBagLayout*>(p->getLayout());
    EXPECT_EQ(layout->getConstraints().getCount(), 1) << "refused children leave no entry";
}

TEST(KGridBagLayout, entryOfARemovedChildIsSkipped) {
    auto p = panel(new KGridBagLayout(10, 10), 100, 100);
    KComponent* gone = child(p.get(), "gone", "0, 0, 5, 5");
    KComponent* kept = child(p.get(), "kept", "5, 5, 10, 10");
    p->remove(gone);
    delete gone;
    p->doLayout();
    EXPECT_EQ(kept->getBounds(), CRect(50, 50, 100, 100));
}

TEST(KBorderLayout, regionsLeaveTheCornersEmpty) {
    auto p = panel(new KBorderLayout(10, 20, 10, 20), 100, 100);
    const auto r = regions(p.get());
    KComponent *n = r[0], *s = r[1], *w = r[2], *e = r[3], *c = r[4];
    p->doLayout();
    EXPECT_EQ(n->getBounds(), CRect(10, 0, 90, 20));
    EXPECT_EQ(s->getBounds(), CRect(10, 80, 90, 100));
    EXPECT_EQ(w->getBounds(), CRect(0, 20, 10, 80));
    EXPECT_EQ(e->getBounds(), CRect(90, 20, 100, 80));
    EXPECT_EQ(c->getBounds(), CRect(10, 20, 90, 80));

    // Insets move the client rectangle; a wider container stretches only the middle.
    p->setInsets(CRect(5, 5, 5, 5));
    p->setSize(300, 110);
    p->doLayout();
    EXPECT_EQ(n->getBounds(), CRect(15, 5, 285, 25));
    EXPECT_EQ(e->getBounds(), CRect(285, 25, 295, 85));
    EXPECT_EQ(c->getBounds(), CRect(15, 25, 285, 85));
}

TEST(KBorderLayout, thinRegionsHideTheirComponents) {
    auto p = panel(new KBorderLayout(0, 20, 0, 0), 100, 100);
    const auto r = regions(p.get());
    KComponent *s = r[1], *c = r[4];
    p->doLayout();
    const bool shown[] = {true, false, false, false, true};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(r[i]->isVisible(), shown[i]) << r[i]->getName().c_str();
    EXPECT_EQ(c->getBounds(), CRect(0, 20, 100, 100));

    // Thickness back: the layout places the hidden ones but never shows them again.
    static_cast<KBorderLayout*>(p->getLayout())->setMargins(10, -1, -1, 10);
    EXPECT_EQ(static_cast<KBorderLayout*>(p->getLayout())->getMargins(), CRect(10, 20, 0, 10));
    p->doLayout();
    EXPECT_FALSE(s->isVisible());
    EXPECT_EQ(s->getBounds(), CRect(10, 90, 100, 100));

    // Center hides only when both directions are used up, and shows again when one is not.
    auto q = panel(new KBorderLayout(30, 30, 30, 30), 60, 60);
    KComponent* center = child(q.get(), "center", "Center");
    q->doLayout();
    EXPECT_FALSE(center->isVisible());
    q->setSize(100, 60);
    q->doLayout();
    EXPECT_TRUE(center->isVisible());
    EXPECT_EQ(center->getBounds(), CRect(30, 30, 70, 30)) << "an empty strip, not a reversed one";
}

TEST(KBorderLayout, constraintWordsAndTheirError) {
    auto p = panel(new KBorderLayout(10, 10, 10, 10), 100, 100);
    auto lower = std::make_unique<KLabel>("x");
    EXPECT_EQ(addError(p.get(), lower.get(), "north"),
              "'KLabel' Border Layout Error | "
              "Adding component with invalid constraint value -> 'north'");
    EXPECT_EQ(addError(p.get(), lower.get(), nullptr),
              "'KLabel' Border Layout Error | "
              "Adding component with invalid constraint value -> ''");
    // A later component takes the region over; the earlier one is no longer placed.
    KComponent* first = child(p.get(), "first", "West");
    first->setBounds(CRect(1, 1, 2, 2));
    KComponent* second = child(p.get(), "second", "West");
    p->doLayout();
    EXPECT_EQ(second->getBounds(), CRect(0, 10, 10, 90));
    EXPECT_EQ(first->getBounds(), CRect(1, 1, 2, 2));
}

TEST(KGridLayout, equalCellsRowByRow) {
    auto p = panel(new KGridLayout(2, 3, 0, 0), 300, 200);
    KComponent* c[6];
    for (int i = 0; i < 6; ++i) c[i] = child(p.get(), std::to_string(i).c_str());
    p->doLayout();
    EXPECT_EQ(c[0]->getBounds(), CRect(0, 0, 100, 100));
    EXPECT_EQ(c[2]->getBounds(), CRect(200, 0, 300, 100));
    EXPECT_EQ(c[4]->getBounds(), CRect(100, 100, 200, 200));

    // Gaps between cells; pixels that do not divide go to the first cells.
    p->setLayout(new KGridLayout(2, 3, 10, 5));
    p->setSize(302, 105);
    p->doLayout();
    EXPECT_EQ(c[0]->getBounds(), CRect(0, 0, 94, 50));  // 282 = 94 + 94 + 94
    EXPECT_EQ(c[1]->getBounds(), CRect(104, 0, 198, 50));
    EXPECT_EQ(c[5]->getBounds(), CRect(208, 55, 302, 105));
    p->setSize(301, 100);
    p->doLayout();
    EXPECT_EQ(c[0]->getBounds().Width(), 94);  // 281 = 94 + 94 + 93
    EXPECT_EQ(c[2]->getBounds(), CRect(208, 0, 301, 48));

    // Columns given, rows grow; hidden children take no cell.
    p->setLayout(new KGridLayout(0, 2, 0, 0));
    c[1]->setVisible(false);
    p->setSize(200, 300);
    p->doLayout();
    EXPECT_EQ(c[2]->getBounds(), CRect(100, 0, 200, 100));
    EXPECT_EQ(c[5]->getBounds(), CRect(0, 200, 100, 300));
    // Two columns by three rows of the largest child (each now 100 by 100).
    EXPECT_EQ(p->getLayout()->preferredLayoutSize(p.get()), CSize(200, 300));
}

TEST(KFlowLayout, rowsWrapFromLeftToRight) {
    auto p = panel(new KFlowLayout(KFlowLayout::LEFT, 5, 4), 100, 200);
    KComponent* a = child(p.get(), "a", nullptr, 40, 20);
    KComponent* b = child(p.get(), "b", nullptr, 40, 30);
    KComponent* c = child(p.get(), "c", nullptr, 40, 10);  // 40 + 5 + 40 + 5 + 40 > 100
    KComponent* wide = child(p.get(), "wide", nullptr, 150, 10);
    p->doLayout();
    EXPECT_EQ(a->getBounds(), CRect(0, 5, 40, 25)) << "centred on the row's 30 pixels";
    EXPECT_EQ(b->getBounds(), CRect(45, 0, 85, 30));
    EXPECT_EQ(c->getBounds(), CRect(0, 34, 40, 44));
    EXPECT_EQ(wide->getBounds(), CRect(0, 48, 100, 58)) << "alone and cut to the width";

    static_cast<KFlowLayout*>(p->getLayout())->setAlignment(KFlowLayout::RIGHT);
    p->setSize(200, 200);
    wide->setVisible(false);
    p->doLayout();
    EXPECT_EQ(c->getBounds(), CRect(160, 10, 200, 20)) << "one row of 130, right-aligned";
    EXPECT_EQ(p->getLayout()->preferredLayoutSize(p.get()), CSize(130, 30));
}

TEST(KBagLayout, keepsBoundsAndBringsBackLostChildren) {
    auto p = panel(new KBagLayout(), 200, 100);
    KComponent* placed = child(p.get(), "placed");
    placed->setBounds(CRect(30, 40, 60, 50));
    KComponent* lost = child(p.get(), "lost");
    lost->setBounds(CRect(250, 120, 280, 130));
    KComponent* partly = child(p.get(), "partly");
    partly->setBounds(CRect(190, 90, 220, 120));
    p->doLayout();
    EXPECT_EQ(placed->getBounds(), CRect(30, 40, 60, 50));
    EXPECT_EQ(lost->getBounds(), CRect(170, 90, 200, 100));
    EXPECT_EQ(partly->getBounds(), CRect(190, 90, 220, 120)) << "still reachable: untouched";
}

TEST(KLayouts, storedFormsRoundTrip) {
    KGridLayout grid(3, 0, 4, 5);
    grid.setDragMode(1);
    const auto gl = ktest::roundTrip<KGridLayout>(grid);
    EXPECT_EQ(gl->getRows(), 3);
    EXPECT_EQ(gl->getDragMode(), 1);
    EXPECT_EQ(gl->getVertGap(), 5);

    KFlowLayout flow(KFlowLayout::RIGHT, 7, 8);
    EXPECT_EQ(ktest::roundTrip<KFlowLayout>(flow)->getAlignment(), KFlowLayout::RIGHT);

    auto border = panel(new KBorderLayout(1, 2, 3, 4), 100, 100);
    child(border.get(), "top", "North");
    child(border.get(), "middle", "Center");
    const auto bl = ktest::roundTrip<KBorderLayout>(*border->getLayout());
    EXPECT_EQ(bl->getMargins(), CRect(1, 2, 3, 4));
    EXPECT_STREQ(bl->getRegionName(KBorderLayout::NORTH).c_str(), "top");
    EXPECT_STREQ(bl->getRegionName(KBorderLayout::CENTER).c_str(), "middle");
    EXPECT_TRUE(bl->getRegionName(KBorderLayout::EAST).isEmpty());

    // The grid bag stores its gaps, a version word and the table; the table keeps its order.
    auto bag = panel(new KGridBagLayout(), 100, 100);
    child(bag.get(), "z", "0, 0, 50, 50");
    child(bag.get(), "a", "50, 0, 100, 50");
    const auto gb = ktest::roundTrip<KGridBagLayout>(*bag->getLayout());
    const KProperties& table = gb->getConstraints();
    EXPECT_TRUE(table == static_cast<KGridBagLayout*>(bag->getLayout())->getConstraints());
    EXPECT_STREQ(table.getKey(0).c_str(), "z");

    // Every layout comes back as its own class; a cut archive raises instead of reading on.
    const KLayout* all[] = {&grid, &flow, border->getLayout(), bag->getLayout()};
    for (const KLayout* layout : all) {
        const std::vector<std::uint8_t> bytes = ktest::stored(*layout);
        ktest::expectCutRaises(bytes, bytes.size() - 1);
    }
    EXPECT_EQ(ktest::roundTrip<KBagLayout>(KBagLayout())->getDragConstraint(), 2);
}

TEST(KFormLayout, rowsOfLabelAndField) {
    auto p = panel(new KFormLayout(6, 3), 300, 200);
    KComponent* l1 = child(p.get(), "l1", nullptr, 50, 20);
    KComponent* f1 = child(p.get(), "f1", nullptr, 80, 24);
    KComponent* l2 = child(p.get(), "l2", nullptr, 70, 18);
    KComponent* f2 = child(p.get(), "f2", nullptr, 10, 10);
    KComponent* alone = child(p.get(), "alone", nullptr, 30, 15);
    p->doLayout();
    EXPECT_EQ(l1->getBounds(), CRect(0, 0, 70, 24)) << "the widest label sets the column";
    EXPECT_EQ(f1->getBounds(), CRect(76, 0, 300, 24)) << "fields fill the rest";
    EXPECT_EQ(l2->getBounds(), CRect(0, 27, 70, 45));
    EXPECT_EQ(f2->getBounds(), CRect(76, 27, 300, 45));
    EXPECT_EQ(alone->getBounds(), CRect(0, 48, 70, 63));
    // Narrow container: labels cut to the width, fields squeezed to nothing.
    p->setSize(60, 200);
    p->doLayout();
    EXPECT_EQ(l1->getBounds().Width(), 60);
    EXPECT_EQ(f1->getBounds().Width(), 0);
}
