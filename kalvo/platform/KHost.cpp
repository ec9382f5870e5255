#include <kalvo/platform/KHost.h>

#include <set>

namespace {
// The hosts alive now; a handle is a host's address, looked up here before it is trusted.
// Never destroyed: a host that a program keeps in a static goes after other statics.
std::set<const KHost*>& liveHosts() {
    static auto* hosts = new std::set<const KHost*>;
    return *hosts;
}
}  // namespace

KHost::KHost() { liveHosts().insert(this); }

KHost::~KHost() { liveHosts().erase(this); }

void KHost::scrollRect(const CRect& area, int, int) { invalidateRect(area, true); }

HWND KHost::getWindow() const { return reinterpret_cast<HWND>(const_cast<KHost*>(this)); }

KHost* KHost::fromWindow(HWND window) {
    auto* host = reinterpret_cast<const KHost*>(window);
    return window != nullptr && liveHosts().count(host) > 0 ? const_cast<KHost*>(host) : nullptr;
}
