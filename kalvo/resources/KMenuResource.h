#pragma once

// A menu compiled into the library: a bar of items whose first item opens the popup that a
// component shows. Items carry a command number and a command name; either one reaches
// the component's command handler.
struct KMenuResource {
    struct Item {
        const char* text;     // null for a separator; a tab separates the accelerator
        unsigned id;          // command number; 0 for separators and submenus
        const char* command;  // command name; null for separators and submenus
        const Item* items;    // the submenu's items, or null
        int count;            // the submenu's item count
    };

    const char* name;
    unsigned id;
    const Item* items;
    int count;

    // The first submenu of the bar: what a popup shows. Null when the bar has none.
    const Item* getPopup() const;
    // The item of that command number or name anywhere in the menu; null when none.
    const Item* findCommand(unsigned id) const;
    const Item* findCommand(const char* command) const;

    // The library's menus, by name (matched exactly) or by number; null when unknown.
    static const KMenuResource* find(const char* name);
    static const KMenuResource* find(unsigned id);
    static int getCount();
    static const KMenuResource& get(int index);
};
