#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <kalvo/host/headless/KCanvas.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KComponent.h>
#include <kalvo/toolkit/KFrame.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/layout/KLayout.h>

namespace {

// A layout that places children freely, as the editing tests need.
class FreeLayout : public KLayout {
public:
    int getDragConstraint() const override { return DRAG_FREE; }
};

// Remembers the events that reach it.
class Probe : public KComponent {
public:
    explicit Probe(const char* name) : KComponent(name) {}
    void processKeyEvent(KEvent& e) override {
        keys.push_back(e.getKeyCode());
        e.consume();
    }
    void mouseWheel(KEvent& e) override {
        wheel += e.getWheelDelta();
        e.consume();
    }
    void onCommand(KEvent& e) override {
        commands.push_back(e.getName().c_str());
        KComponent::onCommand(e);
    }
    std::vector<int> keys;
    std::vector<std::string> commands;
    int wheel = 0;
};

// Gives the child its bounds and adds it to the parent.
template <class T>
T* place(KContainer* parent, T* child, const CRect& bounds) {
    child->setBounds(bounds);
    parent->add(child);
    return child;
}

KPanel* panelRoot(KCanvas& canvas) {
    auto* root = new KPanel("root");
    canvas.setRoot(root);
    return root;
}

std::string readFile(const char* path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

TEST(KCanvasTest, PaintsTheTreeIntoFiles) {
    KCanvas canvas(120, 80);
    auto* root = new KFrame("frame");
    root->setBackground(RGB(200, 200, 200));
    canvas.setRoot(root);
    EXPECT_EQ(root->getBounds(), CRect(0, 0, 120, 80));
    auto* box = place(root, new KComponent("box"), CRect(10, 10, 30, 30));
    box->setBackground(RGB(255, 0, 0));
    canvas.paint();
    EXPECT_EQ(canvas.getPixel(15, 15), RGB(255, 0, 0));
    EXPECT_EQ(canvas.getPixel(30, 30), RGB(200, 200, 200));
    EXPECT_TRUE(canvas.getInvalidRect().IsRectEmpty());

    const std::string base = ::testing::TempDir() + "kalvo_canvas";
    for (const char* ext : {".png", ".svg", ".pdf"}) {
        const std::string path = base + ext;
        canvas.save(path.c_str());
        EXPECT_GT(readFile(path.c_str()).size(), 100u) << ext;
        std::remove(path.c_str());
    }
    EXPECT_THROW(canvas.save((base + ".bmp").c_str()), KException);
    EXPECT_THROW(canvas.save("/no/such/folder/x.png"), KException);

    const std::string svg = base + "_box.svg";
    box->createMetaFile(svg.c_str());
    EXPECT_NE(readFile(svg.c_str()).find("width=\"20"), std::string::npos)
        << "the component's size";
    std::remove(svg.c_str());
}

TEST(KCanvasTest, InvalidationAndMouseReachTheNestedComponent) {
    KCanvas canvas(200, 200);
    auto* editor = place(panelRoot(canvas), new KPanel("editor"), CRect(20, 20, 180, 180));
    editor->setLayout(new FreeLayout());
    editor->setGrid(1);
    auto* box = place(editor, new Probe("box"), CRect(10, 10, 40, 40));
    canvas.paint();
    box->invalidate(false);
    EXPECT_EQ(canvas.getInvalidRect(), CRect(30, 30, 60, 60)) << "in the host's coordinates";

    canvas.mousePress(CPoint(35, 35));
    EXPECT_EQ(KComponent::getFocus(), box);
    EXPECT_TRUE(KComponent::isCaptured(box) && canvas.isCaptured());
    canvas.mouseDrag(CPoint(45, 55));  // outside the box now: the capture still gets it
    EXPECT_EQ(box->getBounds(), CRect(20, 30, 50, 60));
    EXPECT_STREQ(canvas.getCursorName().c_str(), "COMPONENT_DRAG");
    canvas.mouseRelease(CPoint(45, 55));
    EXPECT_FALSE(canvas.isCaptured());
    EXPECT_TRUE(editor->isModified());

    // Resizing by the bottom-right pad of a stretchable component.
    box->setStretch(3);
    canvas.mousePress(CPoint(20 + 49, 20 + 59));
    canvas.mouseDrag(CPoint(20 + 69, 20 + 64));
    canvas.mouseRelease(CPoint(20 + 69, 20 + 64));
    EXPECT_EQ(box->getBounds(), CRect(20, 30, 70, 65));

    canvas.mouseWheel(CPoint(50, 60), 120);
    EXPECT_EQ(box->wheel, 120);
    canvas.keyPress('A');
    EXPECT_EQ(box->keys, std::vector<int>{'A'}) << "keys go to the focus";
}

TEST(KCanvasTest, PopupMenusAndCommands) {
    KCanvas canvas(200, 200);
    auto* editor = place(panelRoot(canvas), new KPanel("editor"), CRect(0, 0, 200, 200));
    auto* a = place(editor, new Probe("a"), CRect(0, 0, 50, 50));
    auto* b = place(editor, new Probe("b"), CRect(100, 100, 150, 150));

    // A right click shows the component's menu; the choice comes back as its command.
    canvas.queueMenuChoice("CLIP.ALL");
    canvas.mousePress(CPoint(10, 10), KEvent::BUTTON2);
    ASSERT_EQ(canvas.getShownMenus().size(), 1u);
    EXPECT_STREQ(canvas.getShownMenus()[0].c_str(), "Component");
    EXPECT_EQ(a->commands, std::vector<std::string>{"CLIP.ALL"});
    EXPECT_EQ(KComponent::getClip(), a) << "cut into the clip slot";
    EXPECT_EQ(editor->getComponentCount(), 1);

    // Pasting through the container's menu, by number, keeps a copy in the slot.
    editor->setMenu(201);
    canvas.queueMenuChoice("PASTE.ALL");
    canvas.mousePress(CPoint(60, 60), KEvent::BUTTON2);
    EXPECT_EQ(editor->getComponentCount(), 2);
    EXPECT_TRUE(KComponent::isClip());
    EXPECT_NE(KComponent::getClip(), a);
    KComponent::clearClip();

    // A dismissed menu sends nothing.
    canvas.mousePress(CPoint(110, 110), KEvent::BUTTON2);
    EXPECT_TRUE(b->commands.empty());

    // Commands by name go to the focus first, then up to the containers.
    KComponent::setFocus(b);
    canvas.command(0, "COL.LEFT");
    ASSERT_EQ(b->commands.size(), 1u);
    EXPECT_EQ(editor->getIndex(b), 0) << "the focused child moved toward the head";

    // Saving as a metafile asks for a file name.
    const std::string path = ::testing::TempDir() + "kalvo_menu.svg";
    canvas.queueFileName(path.c_str());
    canvas.command(0, "FILE.METAFILE");
    EXPECT_FALSE(readFile(path.c_str()).empty());
    std::remove(path.c_str());
}

TEST(KCanvasTest, TasksTimersAndPostedEvents) {
    KCanvas canvas(50, 50);
    KPanel* root = panelRoot(canvas);
    auto* probe = place(root, new Probe("probe"), CRect(0, 0, 10, 10));
    const unsigned timer = canvas.setTimer(100, [] {});
    EXPECT_EQ(canvas.advanceTime(99), 0);
    EXPECT_EQ(canvas.advanceTime(250), 3);
    canvas.killTimer(timer);
    EXPECT_EQ(canvas.advanceTime(1000), 0);

    KEvent key = KEvent::key(KEvent::KEY_PRESSED, KEvent::VK_RETURN);
    probe->postEvent(key);
    EXPECT_TRUE(probe->keys.empty()) << "posted events wait for the pump";
    EXPECT_EQ(canvas.pumpTasks(), 1);
    ASSERT_EQ(probe->keys.size(), 1u);

    // A posted event whose component is gone is dropped.
    probe->postEvent(key);
    root->removeAll();
    delete probe;
    EXPECT_EQ(canvas.pumpTasks(), 1);

    EXPECT_EQ(canvas.messageBox("Save changes?", "Kalvo", KHost::MB_YESNO), KHost::IDCANCEL);
    canvas.queueMessageBoxAnswer(KHost::IDYES);
    EXPECT_EQ(canvas.messageBox("Save changes?", "Kalvo", KHost::MB_YESNO), KHost::IDYES);
    EXPECT_EQ(canvas.getShownMessages().size(), 2u);
}

// A picture put on the clipboard for a host's window repaints that window; a handle whose
// host is gone names nothing.
TEST(KCanvasTest, ClipboardPicturesRepaintTheirOwnerWindow) {
    HWND gone;
    {
        KCanvas canvas(120, 80);
        KPanel* root = panelRoot(canvas);
        canvas.paint();
        const int before = canvas.getInvalidateCount();
        ASSERT_EQ(KHost::fromWindow(canvas.getWindow()), &canvas);
        EXPECT_EQ(KClipboard::setBitmap(CRect(0, 0, 20, 10), nullptr, root, canvas.getWindow()), 1);
        EXPECT_EQ(canvas.getInvalidateCount(), before + 1);
        EXPECT_EQ(canvas.getInvalidRect(), CRect(0, 0, 120, 80));
        EXPECT_EQ(KClipboard::setMetaFile(CRect(0, 0, 20, 10), nullptr, root, nullptr), 1);
        EXPECT_EQ(canvas.getInvalidateCount(), before + 1);  // no owner, nothing repainted
        gone = canvas.getWindow();
    }
    EXPECT_EQ(KHost::fromWindow(gone), nullptr);
    EXPECT_EQ(KHost::fromWindow(nullptr), nullptr);
}

TEST(KCanvasTest, TooltipsFollowThePointerAndActionsReachTheAncestors) {
    KCanvas canvas(200, 100);
    KPanel* root = panelRoot(canvas);
    auto* outer = place(root, new Probe("outer"), CRect(0, 0, 100, 100));
    outer->setTooltipText("Outer");
    place(root, new KComponent("plain"), CRect(100, 0, 200, 100));

    canvas.mouseMove(CPoint(10, 10));
    EXPECT_STREQ(canvas.getTooltip().c_str(), "Outer");
    EXPECT_EQ(canvas.getTooltipPoint(), CPoint(10, 10));
    canvas.paint();
    // The box shows below and right of the pointer.
    EXPECT_EQ(canvas.getPixel(23, 29), RGB(255, 255, 225));
    canvas.mouseMove(CPoint(150, 10));
    EXPECT_TRUE(canvas.getTooltip().isEmpty());
    EXPECT_FALSE(canvas.getInvalidRect().IsRectEmpty());

    // Posted actions wait for the pump, then reach the ancestors nearest first.
    struct Catcher : KPanel {
        std::vector<std::string> names;
        void onCommand(KEvent& e) override {
            names.push_back(e.getName().c_str());
            if (e.getSource() != nullptr) e.consume();
        }
    };
    auto* catcher = place(root, new Catcher(), CRect(0, 0, 10, 10));
    catcher->setName("catcher");
    auto* inner = place(catcher, new KComponent("inner"), CRect(0, 0, 5, 5));
    inner->postAction("changed");
    EXPECT_TRUE(catcher->names.empty());
    canvas.pumpTasks();
    ASSERT_EQ(catcher->names.size(), 1u);
    EXPECT_EQ(catcher->names[0], "changed");
    // A component deleted before the pump is not told.
    inner->postAction("gone");
    delete inner;
    canvas.pumpTasks();
    EXPECT_EQ(catcher->names.size(), 1u);
}
