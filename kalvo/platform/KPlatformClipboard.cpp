#include <kalvo/platform/KPlatformClipboard.h>

#include <kalvo/platform/KLocalClipboard.h>

namespace {

KPlatformClipboard* installed = nullptr;

}  // namespace

KPlatformClipboard& KPlatformClipboard::get() {
    static KLocalClipboard local;
    return installed != nullptr ? *installed : local;
}

unsigned KPlatformClipboard::registerFormat(const char* name) {
    if (name == nullptr || *name == 0) return 0;
    for (size_t i = 0; i < names_.size(); ++i) {
        if (names_[i] == name) return FIRST_REGISTERED_FORMAT + static_cast<unsigned>(i);
    }
    names_.emplace_back(name);
    return FIRST_REGISTERED_FORMAT + static_cast<unsigned>(names_.size() - 1);
}

KString KPlatformClipboard::getFormatName(unsigned format) const {
    if (format == CF_TEXT) return "CF_TEXT";
    if (format >= FIRST_REGISTERED_FORMAT && format - FIRST_REGISTERED_FORMAT < names_.size()) {
        return names_[format - FIRST_REGISTERED_FORMAT];
    }
    return KString();
}

void KPlatformClipboard::install(KPlatformClipboard* clipboard) {
    installed = clipboard;
}
