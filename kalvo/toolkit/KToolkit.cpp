#include <kalvo/toolkit/KToolkit.h>

#include <kalvo/toolkit/KComponent.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KFrame.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/layout/KBagLayout.h>
#include <kalvo/toolkit/layout/KBorderLayout.h>
#include <kalvo/toolkit/layout/KFlowLayout.h>
#include <kalvo/toolkit/layout/KFormLayout.h>
#include <kalvo/toolkit/layout/KGridBagLayout.h>
#include <kalvo/toolkit/layout/KGridLayout.h>
#include <kalvo/toolkit/layout/KLayout.h>
#include <kalvo/toolkit/widgets/KLabel.h>
#include <kalvo/toolkit/widgets/KListPanel.h>
#include <kalvo/toolkit/widgets/KScrollPane.h>
#include <kalvo/toolkit/widgets/KSlider.h>
#include <kalvo/toolkit/widgets/KSpinControl.h>
#include <kalvo/toolkit/widgets/KViewport.h>

const KClass* const* KToolkit::getClasses() {
    static const KClass* const classes[] = {
        K_CLASS(KComponent), K_CLASS(KContainer), K_CLASS(KPanel), K_CLASS(KFrame),
        K_CLASS(KLayout),    K_CLASS(KBagLayout), K_CLASS(KGridLayout), K_CLASS(KFlowLayout),
        K_CLASS(KBorderLayout), K_CLASS(KGridBagLayout), K_CLASS(KFormLayout), K_CLASS(KLabel),
        K_CLASS(KSlider), K_CLASS(KSpinControl), K_CLASS(KViewport), K_CLASS(KScrollPane),
        K_CLASS(KListPanel), nullptr,
    };
    return classes;
}
