#include <kalvo/platform/KPlatformClipboard.h>

#include <kalvo/platform/KLocalClipboard.h>

namespace {

KPlatformClipboard* installed = nullptr;

}  // namespace

KPlatformClipboard& KPlatformClipboard::get() {
    static KLocalClipboard local;
    return installed != nullptr ? *installed : local;
}

void KPlatformClipboard::install(KPlatformClipboard* clipboard) {
    installed = clipboard;
}
