#include <kalvo/toolkit/KFrame.h>

#include <kalvo/toolkit/widgets/KScrollPane.h>

K_IMPLEMENT_CLASS(KFrame, KContainer, 1)

KFrame::KFrame(const char* name) : KContainer(name) { setStretch(3); }

KContainer* KFrame::getClient() const {
    KComponent* found = findComponent("client");
    // A scrolled client is the view inside the pane.
    if (const KScrollPane* pane = k_dynamic_cast<KScrollPane>(found)) found = pane->getView();
    KContainer* client = k_dynamic_cast<KContainer>(found);
    if (client == nullptr) throwError(nullptr, "Unable to find client panel.");
    return client;
}

KContainer* KFrame::getFooter() const {
    KContainer* footer = findContainer("footer");
    if (footer == nullptr) throwError(nullptr, "Unable to find footer panel.");
    return footer;
}
