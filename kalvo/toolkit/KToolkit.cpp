#include <kalvo/toolkit/KToolkit.h>

#include <kalvo/toolkit/KComponent.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KFrame.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/layout/KLayout.h>

const KClass* const* KToolkit::getClasses() {
    static const KClass* const classes[] = {
        K_CLASS(KComponent), K_CLASS(KContainer), K_CLASS(KPanel), K_CLASS(KFrame),
        K_CLASS(KLayout),    nullptr,
    };
    return classes;
}
