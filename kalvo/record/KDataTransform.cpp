#include <kalvo/record/KDataTransform.h>

bool KDataTransform::transform(KVector<double>&, KVector<double>&, int&) {
    return false;
}

void KDataTransform::deleteColumns(KVector<double>& columns) {
    for (int i = 0; i < columns.getCount(); ++i) delete[] columns.get(i);
    columns.removeAll();
}
