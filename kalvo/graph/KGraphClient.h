#pragma once

#include <vector>

#include <kalvo/toolkit/widgets/KListPanel.h>

class KGraphPanel;

// The stack of graph panels in a graph frame, top to bottom; graphs pasted into the frame
// come in here.
class KGraphClient : public KListPanel {
    K_DECLARE_CLASS(KGraphClient);

public:
    KGraphClient();

    void getGraphList(std::vector<KGraphPanel*>& list) const;
    // Graph panels come into the stack; anything else is refused.
    KContainer* componentPasting(KComponent* component) override;
};
