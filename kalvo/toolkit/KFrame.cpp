#include <kalvo/toolkit/KFrame.h>

K_IMPLEMENT_CLASS(KFrame, KContainer, 1)

KFrame::KFrame(const char* name) : KContainer(name) { setStretch(3); }

KContainer* KFrame::getClient() const {
    KContainer* client = findContainer("client");
    if (client == nullptr) throwError(nullptr, "Unable to find client panel.");
    return client;
}

KContainer* KFrame::getFooter() const {
    KContainer* footer = findContainer("footer");
    if (footer == nullptr) throwError(nullptr, "Unable to find footer panel.");
    return footer;
}
