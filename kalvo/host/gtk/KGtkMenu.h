#pragma once

#include <vector>

#include <gtk/gtk.h>

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/CPoint.h>
#include <kalvo/resources/KMenuResource.h>

// A popup menu of the library's menu resources as a GTK popover menu: the items with their
// mnemonics and accelerators, submenus as submenus, the stretches between separators as
// sections. Showing it waits for the choice.
class KGtkMenu {
public:
    explicit KGtkMenu(const KMenuResource::Item& popup);
    ~KGtkMenu();
    KGtkMenu(const KGtkMenu&) = delete;
    KGtkMenu& operator=(const KGtkMenu&) = delete;

    GMenuModel* getModel() const { return G_MENU_MODEL(model_); }
    // Pops the menu up on the widget at the point (widget coordinates) and waits: the chosen
    // item's command number, or 0 when the menu was dismissed.
    unsigned track(GtkWidget* parent, CPoint at);

    // The label of an item's text: '&' marks the mnemonic ("_"), "&&" is an ampersand, and
    // the accelerator after the tab is left out.
    static KString toLabel(const char* text);
    // The GTK accelerator of the key named after the tab ("Ctrl+X" gives "<Control>x", "+"
    // gives "plus", "Ins" gives "Insert"); empty when there is none or GTK knows no such key.
    static KString toAccelerator(const char* text);

private:
    void build(GMenu* menu, const KMenuResource::Item& popup);
    static void onChoose(GSimpleAction* action, GVariant* parameter, gpointer self);
    static gboolean onShow(gpointer popover);
    static void onClosed(GtkPopover* popover, gpointer self);

    GMenu* model_;
    std::vector<const KMenuResource::Item*> items_;  // by the index their action carries
    unsigned chosen_ = 0;
    class KGtkModalLoop* loop_ = nullptr;
};
