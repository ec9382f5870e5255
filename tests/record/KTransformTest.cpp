#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

using Columns = std::vector<std::vector<double>>;

// Runs the transform over the given columns (null for a missing one) and takes the output
// columns of n values, deleting the arrays; nothing if it refused, and then it must have
// handed out no columns.
std::optional<Columns> run(KDataTransform& transform,
                           const std::vector<std::vector<double>*>& columns, int n) {
    KVector<double> in, out;
    for (std::vector<double>* c : columns) in.add(c ? c->data() : nullptr);
    const bool ok = transform.transform(in, out, n);
    Columns result;
    for (int c = 0; c < out.getCount(); ++c) result.emplace_back(out.get(c), out.get(c) + n);
    KDataTransform::deleteColumns(out);
    if (ok) return result;
    EXPECT_TRUE(result.empty()) << "a refusal handed out columns";
    return std::nullopt;
}

// A transform that hands out a column and then fails.
class FailingLinear : public KTransform::Linear {
public:
    bool transform(KVector<double>&, KVector<double>& out, int& n) override {
        out.add(new double[static_cast<size_t>(n)]);
        return false;
    }
};

}  // namespace

TEST(KTransform, linearAddAndPolar) {
    std::vector<double> a{0, 1, 2}, b{-1, 0, 0.5};
    KTransform::Linear linear(2, 1);
    EXPECT_EQ(run(linear, {&a, &b}, 3), (Columns{{1, 3, 5}, {-1, 1, 2}}));
    EXPECT_EQ(run(linear, {}, 3), Columns{}) << "no columns: nothing to do";
    EXPECT_FALSE(run(linear, {&a, &b}, 0)) << "no rows";

    KTransform::Add add;
    std::vector<double> c{1, 2}, d{10, 20};
    EXPECT_EQ(run(add, {&c}, 2), Columns{c}) << "a single column is copied";
    EXPECT_EQ(run(add, {&c, &d}, 2), (Columns{{11, 22}}));
    EXPECT_EQ(run(add, {}, 2).value_or(Columns{}).size(), 1u) << "one column even without input";
    EXPECT_FALSE(run(add, {&c, &d, nullptr}, 2)) << "a missing column";
    EXPECT_FALSE(run(add, {&c, nullptr}, 0)) << "no rows";

    PolarTransform polar;
    std::vector<double> x{0, -1, 0, 3}, y{1, 0, -1, 4};
    const std::optional<Columns> r = run(polar, {&x, &y}, 4);
    ASSERT_TRUE(r && r->size() == 2u);
    EXPECT_EQ((*r)[0], (std::vector<double>{1, 1, 1, 5}));
    const double degrees[] = {90, 180, -90, std::atan2(4.0, 3.0) * 180 / 3.141592653589793};
    for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ((*r)[1][i], degrees[i]) << i;
    EXPECT_FALSE(run(polar, {&x}, 4)) << "needs x and y";
    EXPECT_FALSE(run(polar, {&x, &y}, 0)) << "no rows";
}

TEST(KTransform, doTransformWritesOneTraceIntoTheTarget) {
    std::vector<double> x{0, 0.5, 1, 1.5}, a{0, 1, 2, 3}, b{0, 10, 20, 30};
    KVector<double> columns;
    columns.add(a.data());
    columns.add(b.data());
    KRecord source, target;
    source.setData(x.data(), columns, 4);
    KTransform::Linear linear(2, 1);
    ASSERT_TRUE(linear.doTransform(source, 1, target));
    EXPECT_EQ(source.getTraceIndex(), 1) << "the source's trace is selected";
    ASSERT_EQ(target.getTraceCount(), 1);
    ASSERT_EQ(target.getDomainSize(), 4);
    EXPECT_EQ(target.getDomainValue(3), 1.5);
    EXPECT_EQ(target.getTrace(0)->getSample(3), 61);
    EXPECT_EQ(target.getYData(), nullptr) << "the new trace is not selected";

    // In place: the record is its own source.
    ASSERT_TRUE(linear.doTransform(target, 0, target));
    EXPECT_EQ(target.getYData()[3], 123);
    EXPECT_EQ(target.getDomainValue(3), 1.5);
}

TEST(KTransform, aFailedTransformStoresNothing) {
    KRecord source;
    KRecord target;
    target.create(1, 0, 8);
    target.setDomainValue(7);
    target.commit();
    KTransform::Linear linear;
    for (int trace : {0, -1}) {
        try {
            linear.doTransform(source, trace, target);
            FAIL() << "an empty source";
        } catch (const KException& e) {
            EXPECT_STREQ(e.getTitle().c_str(), "Assertion Failed");
            EXPECT_STREQ(e.getText().c_str(), "Processing linear transform");
        }
    }
    source.create(1, 0, 8);
    source.commit();
    FailingLinear failing;
    EXPECT_THROW(failing.doTransform(source, 0, target), KException);
    EXPECT_EQ(target.getDomainSize(), 1);
    EXPECT_EQ(target.getDomainValue(0), 7) << "the target is left as it was";
}
