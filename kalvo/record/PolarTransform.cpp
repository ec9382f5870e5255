#include <kalvo/record/PolarTransform.h>

#include <cmath>

bool PolarTransform::transform(KVector<double>& in, KVector<double>& out, int& n) {
    const double* x = in.get(0);
    const double* y = in.get(1);
    if (n < 1 || x == nullptr || y == nullptr) return false;
    auto* magnitude = new double[static_cast<size_t>(n)];
    auto* angle = new double[static_cast<size_t>(n)];
    for (int i = 0; i < n; ++i) {
        magnitude[i] = std::sqrt(x[i] * x[i] + y[i] * y[i]);
        angle[i] = std::atan2(y[i], x[i]) * 180.0 / 3.141592653589793;
    }
    out.add(magnitude);
    out.add(angle);
    return true;
}
