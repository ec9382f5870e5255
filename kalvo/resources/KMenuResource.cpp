#include <kalvo/resources/KMenuResource.h>

#include <cstring>
#include <iterator>

namespace {

template <class Match>
const KMenuResource::Item* search(const KMenuResource::Item* items, int count, Match match) {
    for (int i = 0; i < count; ++i) {
        const KMenuResource::Item& item = items[i];
        if (item.items != nullptr) {
            if (const KMenuResource::Item* found = search(item.items, item.count, match)) {
                return found;
            }
        } else if (item.text != nullptr && match(item)) {
            return &item;
        }
    }
    return nullptr;
}

using Item = KMenuResource::Item;

// Command numbers shared by the component menus.
constexpr unsigned CUT = 32801, COPY = 32802, PASTE = 32803, BACK = 32804, FORWARD = 32805,
                   METAFILE = 32806;

const Item componentItems[] = {
    {"Cu&t\tCtrl+X", CUT, "CLIP.ALL", nullptr, 0},
    {"&Copy\tCtrl+C", COPY, "CLIP.RANGE", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Save as &Metafile...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

const Item containerItems[] = {
    {"Cu&t\tCtrl+X", CUT, "CLIP.ALL", nullptr, 0},
    {"&Copy\tCtrl+C", COPY, "CLIP.RANGE", nullptr, 0},
    {"&Paste\tCtrl+V", PASTE, "PASTE.ALL", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Move &Back", BACK, "COL.LEFT", nullptr, 0},
    {"Move &Forward", FORWARD, "COL.RIGHT", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Save as &Metafile...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

constexpr int countOf(const Item* begin, const Item* end) { return static_cast<int>(end - begin); }

const Item componentBar[] = {
    {"Component", 0, nullptr, componentItems, countOf(std::begin(componentItems), std::end(componentItems))}};
const Item containerBar[] = {
    {"Container", 0, nullptr, containerItems, countOf(std::begin(containerItems), std::end(containerItems))}};

const KMenuResource menus[] = {
    {"KComponent", 200, componentBar, 1},
    {"KContainer", 201, containerBar, 1},
    {"KPanel", 202, containerBar, 1},
    {"KFrame", 203, containerBar, 1},
};

}  // namespace

const KMenuResource* KMenuResource::find(const char* name) {
    if (name == nullptr) return nullptr;
    for (const KMenuResource& menu : menus) {
        if (std::strcmp(menu.name, name) == 0) return &menu;
    }
    return nullptr;
}

const KMenuResource* KMenuResource::find(unsigned id) {
    for (const KMenuResource& menu : menus) {
        if (menu.id == id) return &menu;
    }
    return nullptr;
}

int KMenuResource::getCount() { return static_cast<int>(std::size(menus)); }

const KMenuResource& KMenuResource::get(int index) { return menus[index]; }

const KMenuResource::Item* KMenuResource::getPopup() const {
    for (int i = 0; i < count; ++i) {
        if (items[i].items != nullptr) return &items[i];
    }
    return nullptr;
}

const KMenuResource::Item* KMenuResource::findCommand(unsigned commandId) const {
    if (commandId == 0) return nullptr;
    return search(items, count, [commandId](const Item& item) { return item.id == commandId; });
}

const KMenuResource::Item* KMenuResource::findCommand(const char* command) const {
    if (command == nullptr || *command == '\0') return nullptr;
    return search(items, count, [command](const Item& item) {
        return item.command != nullptr && std::strcmp(item.command, command) == 0;
    });
}
