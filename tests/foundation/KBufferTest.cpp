#include <gtest/gtest.h>

#include <kalvo/foundation/KArrayBuffer.h>
#include <kalvo/foundation/KAssertion.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/foundation/KVectorBuffer.h>

TEST(KVectorBuffer, listOperationsAndGrowth) {
    int a = 1, b = 2, c = 3;
    KVectorBuffer v(0, 8);
    EXPECT_EQ(v.get(0), nullptr);
    v.add(&a);
    EXPECT_EQ(v.getCapacity(), 8);
    v.add(&c);
    v.insert(1, &b);
    v.insert(-5, &c);  // clamped to the head
    EXPECT_EQ(v.getCount(), 4);
    EXPECT_EQ(v.get(0), &c);
    EXPECT_EQ(v.get(2), &b);
    EXPECT_EQ(v.indexOf(&a), 1);
    EXPECT_EQ(v.remove(0), &c);
    EXPECT_EQ(v.remove(7), nullptr);
    EXPECT_TRUE(v.removeItem(&b));
    EXPECT_FALSE(v.removeItem(&b));
    v.set(0, &b);
    v.set(5, &a);
    EXPECT_EQ(v.get(0), &b);
    EXPECT_EQ(v.getCount(), 2);

    KVectorBuffer copy(v);
    v.removeAll();
    EXPECT_EQ(copy.getCount(), 2);
    // Growth is geometric: a million adds take few reallocations.
    int reallocations = 0, capacity = v.getCapacity();
    for (int i = 0; i < 1000000; ++i) {
        v.add(&a);
        if (v.getCapacity() != capacity) {
            ++reallocations;
            capacity = v.getCapacity();
        }
    }
    EXPECT_LT(reallocations, 40);
}

TEST(KArrayBuffer, appendCountAndCopies) {
    KArrayBuffer doubles(8, 0, 4);
    for (int i = 0; i < 10; ++i) doubles.appendValue(i * 0.5);
    EXPECT_EQ(doubles.getCount(), 10);
    EXPECT_EQ(*static_cast<double*>(doubles.at(9)), 4.5);
    EXPECT_EQ(doubles.at(10), nullptr);
    EXPECT_EQ(doubles.at(-1), nullptr);
    const double more[] = {7, 8};
    doubles.append(more, 2);
    doubles.append(&more[1]);
    EXPECT_EQ(static_cast<const double*>(doubles.data())[12], 8.0);
    KArrayBuffer copy(doubles);
    doubles.setCount(14);
    EXPECT_EQ(static_cast<const double*>(doubles.data())[13], 0.0);
    doubles.setCount(2);
    EXPECT_EQ(copy.getCount(), 13);
    copy.freeExtra();
    EXPECT_EQ(copy.getCapacity(), 13);
    copy = doubles;
    EXPECT_EQ(copy.getCount(), 2);
    copy.removeAll();
    copy.freeExtra();
    EXPECT_EQ(copy.getCapacity(), 0);
}

TEST(KVector, typedPointers) {
    double x[2] = {1, 2}, y[2] = {3, 4};
    KVector<double> columns;
    columns.add(x);
    columns.add(y);
    EXPECT_EQ(columns.size(), 2);
    EXPECT_EQ(columns[1][0], 3.0);
    EXPECT_EQ(columns.get(2), nullptr);
    EXPECT_EQ(columns.indexOf(y), 1);
    EXPECT_EQ(columns.remove(0), x);
    EXPECT_EQ(columns.getCount(), 1);
}

TEST(KAssertion, failedChecksNameTheWork) {
    KAssertion work("Processing linear transform");
    EXPECT_NO_THROW(work.check(true));
    try {
        work.check(false);
        FAIL();
    } catch (const KException& e) {
        EXPECT_STREQ(e.getTitle().c_str(), "Assertion Failed");
        EXPECT_STREQ(e.getText().c_str(), "Processing linear transform");
    }
    try {
        work.fail("%d of %d columns", 1, 2);
        FAIL();
    } catch (const KException& e) {
        EXPECT_STREQ(e.getText().c_str(), "Processing linear transform: 1 of 2 columns");
        EXPECT_STREQ(e.what(), "Processing linear transform: 1 of 2 columns");
    }
    const KException formatted = KException::format("%s Error", "%s -> '%s'", "x", "y");
    EXPECT_STREQ(formatted.getTitle().c_str(), "%s Error");  // the title is taken as it is
    EXPECT_STREQ(formatted.getText().c_str(), "x -> 'y'");
}
