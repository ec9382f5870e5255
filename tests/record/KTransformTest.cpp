#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

// Output columns as vectors of n values; deletes the arrays.
std::vector<std::vector<double>> take(KVector<double>& out, int n) {
    std::vector<std::vector<double>> columns;
    for (int c = 0; c < out.getCount(); ++c) columns.emplace_back(out.get(c), out.get(c) + n);
    KDataTransform::deleteColumns(out);
    return columns;
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

TEST(KTransform, linear) {
    KTransform::Linear linear(2, 1);
    EXPECT_STREQ(linear.getName().c_str(), "KDataTransform");
    std::vector<double> a{0, 1, 2}, b{-1, 0, 0.5};
    KVector<double> in, out;
    in.add(a.data());
    in.add(b.data());
    int n = 3;
    ASSERT_TRUE(linear.transform(in, out, n));
    auto columns = take(out, n);
    ASSERT_EQ(columns.size(), 2u);
    EXPECT_EQ(columns[0], (std::vector<double>{1, 3, 5}));
    EXPECT_EQ(columns[1], (std::vector<double>{-1, 1, 2}));

    n = 0;
    EXPECT_FALSE(linear.transform(in, out, n));
    EXPECT_EQ(out.getCount(), 0);
    KVector<double> none;
    n = 3;
    EXPECT_TRUE(linear.transform(none, out, n)) << "no columns: nothing to do";
    EXPECT_EQ(out.getCount(), 0);

    linear.set(-1, 0);
    KTransform::Linear copy(linear);
    copy.setName("copy");
    EXPECT_EQ(copy.getScale(), -1);
    EXPECT_STREQ(linear.getName().c_str(), "KDataTransform");
}

TEST(KTransform, add) {
    KTransform::Add add;
    std::vector<double> a{1, 2}, b{10, 20};
    KVector<double> in, out;
    in.add(a.data());
    int n = 2;
    ASSERT_TRUE(add.transform(in, out, n));
    EXPECT_EQ(take(out, n)[0], a) << "a single column is copied";
    in.add(b.data());
    ASSERT_TRUE(add.transform(in, out, n));
    auto columns = take(out, n);
    ASSERT_EQ(columns.size(), 1u);
    EXPECT_EQ(columns[0], (std::vector<double>{11, 22}));

    KVector<double> none;
    ASSERT_TRUE(add.transform(none, out, n));
    EXPECT_EQ(take(out, n).size(), 1u) << "one column even without input";
    in.add(nullptr);
    EXPECT_FALSE(add.transform(in, out, n)) << "a missing column";
    EXPECT_EQ(out.getCount(), 0);
    n = 0;
    EXPECT_FALSE(add.transform(in, out, n));
}

TEST(KTransform, polar) {
    PolarTransform polar;
    std::vector<double> x{0, -1, 0, 3}, y{1, 0, -1, 4};
    KVector<double> in, out;
    in.add(x.data());
    in.add(y.data());
    int n = 4;
    ASSERT_TRUE(polar.transform(in, out, n));
    auto columns = take(out, n);
    ASSERT_EQ(columns.size(), 2u);
    EXPECT_EQ(columns[0], (std::vector<double>{1, 1, 1, 5}));
    EXPECT_DOUBLE_EQ(columns[1][0], 90);
    EXPECT_DOUBLE_EQ(columns[1][1], 180);
    EXPECT_DOUBLE_EQ(columns[1][2], -90);
    EXPECT_DOUBLE_EQ(columns[1][3], std::atan2(4.0, 3.0) * 180 / 3.141592653589793);

    KVector<double> one;
    one.add(x.data());
    EXPECT_FALSE(polar.transform(one, out, n)) << "needs x and y";
    n = 0;
    EXPECT_FALSE(polar.transform(in, out, n));
    EXPECT_EQ(out.getCount(), 0);
}

TEST(KTransform, doTransformWritesOneTraceIntoTheTarget) {
    KRecord source;
    source.create(2, 0, 8);
    for (int i = 0; i < 4; ++i) {
        source.setDomainValue(i * 0.5);
        source.setTraceValue(0, i);
        source.setTraceValue(1, 10 * i);
        source.commit();
    }
    KRecord target;
    KTransform::Linear linear(2, 1);
    ASSERT_TRUE(linear.doTransform(source, 1, target));
    EXPECT_EQ(source.getTraceIndex(), 1) << "the source's trace is selected";
    ASSERT_EQ(target.getTraceCount(), 1);
    ASSERT_EQ(target.getDomainSize(), 4);
    EXPECT_EQ(target.getDomainValue(3), 1.5);
    EXPECT_EQ(target.getYData()[3], 61);

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

TEST(KTransform, extendedBaseDoesNothing) {
    KDataTransformExt ext;
    EXPECT_STREQ(ext.getName().c_str(), "KDataTransformExt");
    EXPECT_TRUE(std::isnan(ext.getSampleRate()));
    KRecord source, target;
    KVector<KCurve> curves;
    KVector<KRecord> records;
    EXPECT_FALSE(ext.transform(&source, target, 0, 1, false, false));
    EXPECT_FALSE(ext.transform(curves, records, 0.0, 1.0, true, true));
}
