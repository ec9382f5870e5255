#include <kalvo/record/KDataTransformExt.h>

KDataTransformExt::KDataTransformExt() {
    setName("KDataTransformExt");
}

bool KDataTransformExt::transform(KRecord*, KRecord&, int, int, bool, bool) {
    return false;
}

bool KDataTransformExt::transform(KVector<KCurve>&, KVector<KRecord>&, double, double, bool, bool) {
    return false;
}
