#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include <kalvo/host/gtk/KCanvasWnd.h>
#include <kalvo/host/gtk/KGtkMenu.h>
#include <kalvo/resources/KMenuResource.h>
#include <kalvo/toolkit/KEvent.h>
#include <kalvo/toolkit/KPanel.h>

#include "GtkTestSupport.h"

using ktest::Later;
using ktest::XSession;

namespace {

// Takes the commands of its menu.
class Target : public KPanel {
public:
    Target() : KPanel("target") { setMenu("KComponent"); }
    void onCommand(KEvent& e) override {
        commands.push_back(e.getName().c_str());
        e.consume();
    }
    std::vector<std::string> commands;
};

struct Window {
    XSession& x = ktest::startGtk();
    KCanvasWnd wnd{"Kalvo questions", 400, 300};
    Target* target = new Target();

    Window() {
        target->setBackground(RGB(250, 250, 250));
        wnd.getView().setRoot(target);
        wnd.show();
        EXPECT_TRUE(x.waitUntil([&] { return wnd.getView().getClientRect().Width() == 400; }));
        x.xdotool("mousemove 60 60");
        x.sleep(100);
    }
};

}  // namespace

TEST(KGtkMenuTest, TextsBecomeLabelsAndAccelerators) {
    EXPECT_STREQ(KGtkMenu::toLabel("Cu&t\tCtrl+X").c_str(), "Cu_t");
    EXPECT_STREQ(KGtkMenu::toLabel("Fish && Chips").c_str(), "Fish & Chips");
    EXPECT_STREQ(KGtkMenu::toLabel("snake_case").c_str(), "snake__case");
    EXPECT_STREQ(KGtkMenu::toLabel("Toggle Markers \tM").c_str(), "Toggle Markers");
    const char* cases[][2] = {
        {"Cu&t\tCtrl+X", "<Control>x"},
        {"Zoom In\t+", "plus"},
        {"Zoom Out\t-", "minus"},
        {"Add\tIns", "Insert"},
        {"Toggle Markers \tM", "m"},
        {"Big\tCtrl++", "<Control>plus"},
        {"Menu\tShift+F10", "<Shift>F10"},
        {"No key", ""},
        {"Odd\tHyper+Q", ""},
        {"Odd\tNoSuchKey", ""},
    };
    for (const auto& c : cases) EXPECT_STREQ(KGtkMenu::toAccelerator(c[0]).c_str(), c[1]) << c[0];
}

TEST(KGtkMenuTest, APopupIsChosenFromByKeysAndMouse) {
    Window w;
    XSession& x = w.x;
    // A right click shows the component's menu, its first item highlighted; Down and
    // Return take the second.
    {
        Later keys(Later::xdotool("key Down Return"), 600);
        x.xdotool("mousemove 80 70 click 3");
        ASSERT_TRUE(x.waitUntil([&] { return w.target->commands.size() == 1; }));
    }
    EXPECT_EQ(w.target->commands[0], "CLIP.RANGE");

    // Escape dismisses it and sends nothing.
    {
        Later keys(Later::xdotool("key Escape"), 600);
        x.xdotool("click 3");
        x.sleep(1200);
    }
    EXPECT_EQ(w.target->commands.size(), 1u);

    // The menu key opens it at the pointer; the mouse picks the last item.
    {
        KComponent::setFocus(w.target);
        const KMenuResource::Item* popup = KMenuResource::find("KComponent")->getPopup();
        KGtkMenu menu(*popup);
        EXPECT_EQ(g_menu_model_get_n_items(menu.getModel()), 2)
            << "two sections between separators";
        Later shot(Later::screenshot("host-popup-menu"), 1000);
        Later pick(Later::xdotool("mousemove --sync 100 160 sleep 0.2 click 1"), 1800);
        x.xdotool("key Menu");
        ASSERT_TRUE(x.waitUntil([&] { return w.target->commands.size() == 2; }));
    }
    EXPECT_EQ(w.target->commands[1], "FILE.METAFILE");
}

TEST(KGtkDialogsTest, MessageBoxesAnswerWithTheirButtons) {
    Window w;
    KCanvasView& view = w.wnd.getView();
    {
        Later keys(Later::xdotool("key Return"), 400);
        EXPECT_EQ(view.messageBox("Save the workspace?", "Kalvo",
                                  KHost::MB_YESNO | KHost::MB_ICONQUESTION),
                  KHost::IDYES)
            << "Yes is the default";
    }
    {
        Later keys(Later::xdotool("key Escape"), 400);
        EXPECT_EQ(view.messageBox("Overwrite?", "Kalvo", KHost::MB_OKCANCEL), KHost::IDCANCEL);
    }
    {
        Later keys(Later::xdotool("key Escape"), 400);
        EXPECT_EQ(view.messageBox("Keep it?", "Kalvo", KHost::MB_YESNO), KHost::IDNO)
            << "closing a Yes/No box says No";
    }
    {
        Later keys(Later::xdotool("key Tab Tab Return"), 500);
        Later shot(Later::screenshot("host-message-box"), 300);
        EXPECT_NE(view.messageBox("'/tmp/x.cfg' is not a COMTRADE record.", "Kalvo",
                                  KHost::MB_YESNOCANCEL | KHost::MB_ICONERROR),
                  0);
    }
}

TEST(KGtkDialogsTest, TheSaveDialogTakesATypedNameAndAddsTheExtension) {
    Window w;
    const std::string folder = ::testing::TempDir() + "kalvo-save-" + std::to_string(getpid());
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    {
        Later keys(Later::xdotool("key ctrl+a type " + folder + "/picture"), 700);
        Later enter(Later::xdotool("key Return"), 1600);
        const KString path =
            w.wnd.getView().getSaveFileName("Portable Network Graphics (*.png)", ".png");
        EXPECT_EQ(std::string(path.c_str()), folder + "/picture.png");
    }
    {
        Later keys(Later::xdotool("key Escape"), 700);
        EXPECT_TRUE(
            w.wnd.getView().getSaveFileName("Portable Network Graphics (*.png)", ".png").isEmpty());
    }
    rmdir(folder.c_str());
}
