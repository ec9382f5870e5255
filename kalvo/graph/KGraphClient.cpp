#include <kalvo/graph/KGraphClient.h>

#include <kalvo/graph/KGraphPanel.h>

K_IMPLEMENT_CLASS(KGraphClient, KListPanel, 1)

// The graphs cover the stack: painting its background too would only be painted over.
KGraphClient::KGraphClient() : KListPanel("graphs") {
    setGap(2);
    setOpaque(false);
}

void KGraphClient::getGraphList(std::vector<KGraphPanel*>& list) const {
    for (int i = 0; i < getComponentCount(); ++i) {
        if (auto* graph = k_dynamic_cast<KGraphPanel>(getComponent(i))) list.push_back(graph);
    }
}

KContainer* KGraphClient::componentPasting(KComponent* component) {
    return k_dynamic_cast<KGraphPanel>(component) != nullptr ? this : nullptr;
}
