#include <kalvo/platform/KCursorService.h>

namespace {

KCursorService* installed = nullptr;

}  // namespace

KCursorService& KCursorService::get() {
    static KCursorService none;
    return installed != nullptr ? *installed : none;
}

void KCursorService::install(KCursorService* service) {
    installed = service;
}
