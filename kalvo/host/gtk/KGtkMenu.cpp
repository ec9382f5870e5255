#include <kalvo/host/gtk/KGtkMenu.h>

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include <strings.h>

#include <kalvo/host/gtk/KGtkModalLoop.h>

namespace {

// The key names of menu texts that GTK spells otherwise.
struct KeyName {
    const char* text;
    const char* gtk;
};
const KeyName KEY_NAMES[] = {
    {"+", "plus"},         {"-", "minus"},     {"=", "equal"},        {"Ins", "Insert"},
    {"Del", "Delete"},     {"Esc", "Escape"},  {"Enter", "Return"},   {"PgUp", "Page_Up"},
    {"PgDn", "Page_Down"}, {"Space", "space"}, {"Bksp", "BackSpace"},
};

const char* const ACTION_GROUP = "kmenu";

}  // namespace

KGtkMenu::KGtkMenu(const KMenuResource::Item& popup) : model_(g_menu_new()) {
    build(model_, popup);
}

KGtkMenu::~KGtkMenu() {
    g_object_unref(model_);
}

KString KGtkMenu::toLabel(const char* text) {
    std::string label;
    for (const char* p = text; p != nullptr && *p != '\0' && *p != '\t'; ++p) {
        if (*p == '&') {
            if (p[1] == '&') {
                label += '&';
                ++p;
            } else {
                label += '_';
            }
        } else if (*p == '_') {
            label += "__";
        } else {
            label += *p;
        }
    }
    while (!label.empty() && label.back() == ' ') label.pop_back();
    return KString(label.c_str());
}

KString KGtkMenu::toAccelerator(const char* text) {
    const char* tab = text != nullptr ? std::strchr(text, '\t') : nullptr;
    if (tab == nullptr) return KString();
    std::string keys(tab + 1);
    while (!keys.empty() && keys.back() == ' ') keys.pop_back();
    while (!keys.empty() && keys.front() == ' ') keys.erase(0, 1);
    if (keys.empty()) return KString();
    // Parts between '+' signs; a '+' that begins a part is the key itself ("Ctrl++").
    std::vector<std::string> parts;
    for (size_t start = 0;;) {
        const size_t plus = keys.find('+', start + 1);
        parts.push_back(
            keys.substr(start, plus == std::string::npos ? std::string::npos : plus - start));
        if (plus == std::string::npos) break;
        start = plus + 1;
    }
    std::string accel;
    for (size_t i = 0; i + 1 < parts.size(); ++i) {
        if (strcasecmp(parts[i].c_str(), "Ctrl") == 0) {
            accel += "<Control>";
        } else if (strcasecmp(parts[i].c_str(), "Shift") == 0) {
            accel += "<Shift>";
        } else if (strcasecmp(parts[i].c_str(), "Alt") == 0) {
            accel += "<Alt>";
        } else {
            return KString();
        }
    }
    std::string key = parts.back();
    for (const KeyName& name : KEY_NAMES) {
        if (strcasecmp(key.c_str(), name.text) == 0) key = name.gtk;
    }
    if (key.size() == 1)
        key[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(key[0])));
    accel += key;
    guint keyval = 0;
    GdkModifierType modifiers;
    if (!gtk_accelerator_parse(accel.c_str(), &keyval, &modifiers) || keyval == 0) return KString();
    return KString(accel.c_str());
}

void KGtkMenu::build(GMenu* menu, const KMenuResource::Item& popup) {
    GMenu* section = g_menu_new();
    for (int i = 0; i < popup.count; ++i) {
        const KMenuResource::Item& item = popup.items[i];
        if (item.text == nullptr) {
            if (g_menu_model_get_n_items(G_MENU_MODEL(section)) > 0) {
                g_menu_append_section(menu, nullptr, G_MENU_MODEL(section));
                g_object_unref(section);
                section = g_menu_new();
            }
            continue;
        }
        const KString label = toLabel(item.text);
        if (item.items != nullptr) {
            GMenu* submenu = g_menu_new();
            build(submenu, item);
            g_menu_append_submenu(section, label.c_str(), G_MENU_MODEL(submenu));
            g_object_unref(submenu);
            continue;
        }
        GMenuItem* entry = g_menu_item_new(label.c_str(), nullptr);
        std::string action = std::string(ACTION_GROUP) + ".choose";
        g_menu_item_set_action_and_target_value(
            entry, action.c_str(), g_variant_new_uint32(static_cast<guint32>(items_.size())));
        const KString accel = toAccelerator(item.text);
        if (!accel.isEmpty()) g_menu_item_set_attribute(entry, "accel", "s", accel.c_str());
        g_menu_append_item(section, entry);
        g_object_unref(entry);
        items_.push_back(&item);
    }
    if (g_menu_model_get_n_items(G_MENU_MODEL(section)) > 0) {
        g_menu_append_section(menu, nullptr, G_MENU_MODEL(section));
    }
    g_object_unref(section);
}

unsigned KGtkMenu::track(GtkWidget* parent, CPoint at) {
    chosen_ = 0;
    GtkWidget* popover = gtk_popover_menu_new_from_model(G_MENU_MODEL(model_));
    GSimpleActionGroup* actions = g_simple_action_group_new();
    GSimpleAction* choose = g_simple_action_new("choose", G_VARIANT_TYPE_UINT32);
    g_signal_connect(choose, "activate", G_CALLBACK(onChoose), this);
    g_action_map_add_action(G_ACTION_MAP(actions), G_ACTION(choose));
    g_object_unref(choose);
    gtk_widget_insert_action_group(popover, ACTION_GROUP, G_ACTION_GROUP(actions));
    g_object_unref(actions);

    gtk_widget_set_parent(popover, parent);
    gtk_popover_set_has_arrow(GTK_POPOVER(popover), FALSE);
    // Toward the larger part of the widget: a long menu then fits or scrolls least.
    const bool below = at.y < gtk_widget_get_height(parent) / 2;
    gtk_popover_set_position(GTK_POPOVER(popover), below ? GTK_POS_BOTTOM : GTK_POS_TOP);
    gtk_widget_set_halign(popover, GTK_ALIGN_START);
    const GdkRectangle point = {at.x, at.y, 1, 1};
    gtk_popover_set_pointing_to(GTK_POPOVER(popover), &point);
    const gulong closed = g_signal_connect(popover, "closed", G_CALLBACK(onClosed), this);

    KGtkModalLoop loop;
    loop_ = &loop;
    // Shown once the menu has settled: the separators between sections appear in an idle
    // callback of their own, and a menu measured before them is cut short.
    g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, onShow, popover, nullptr);
    loop.run();
    loop_ = nullptr;
    g_signal_handler_disconnect(popover, closed);
    gtk_widget_unparent(popover);
    return chosen_;
}

void KGtkMenu::onChoose(GSimpleAction*, GVariant* parameter, gpointer self) {
    auto* menu = static_cast<KGtkMenu*>(self);
    const guint32 index = g_variant_get_uint32(parameter);
    if (index < menu->items_.size()) menu->chosen_ = menu->items_[index]->id;
    if (menu->loop_ != nullptr) menu->loop_->quit();
}

gboolean KGtkMenu::onShow(gpointer popover) {
    gtk_popover_popup(GTK_POPOVER(popover));
    return G_SOURCE_REMOVE;
}

void KGtkMenu::onClosed(GtkPopover*, gpointer self) {
    // The chosen item's action runs after the menu closes.
    auto* menu = static_cast<KGtkMenu*>(self);
    if (menu->loop_ != nullptr) menu->loop_->quitSoon();
}
