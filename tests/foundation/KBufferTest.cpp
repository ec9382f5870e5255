#include <gtest/gtest.h>

#include <kalvo/kalvo.h>

// Out-of-range positions give null or are ignored; growth stays geometric, so a million
// appends take few reallocations.
TEST(KVectorBuffer, edgesAndGrowth) {
    int a = 1, b = 2, c = 3;
    KVector<int> v(0, 8);
    EXPECT_EQ(v.get(0), nullptr);
    v.add(&a);
    v.add(&c);
    v.insert(1, &b);
    v.insert(-5, &c);  // clamped to the head
    EXPECT_EQ(v.get(0), &c);
    EXPECT_EQ(v.get(2), &b);
    EXPECT_EQ(v.remove(7), nullptr);
    EXPECT_TRUE(v.removeItem(&b));
    EXPECT_FALSE(v.removeItem(&b));
    v.set(5, &a);
    EXPECT_EQ(v.getCount(), 3);

    KVectorBuffer buffer(0, 8);
    int reallocations = 0, capacity = buffer.getCapacity();
    for (int i = 0; i < 1000000; ++i) {
        buffer.add(&a);
        reallocations += buffer.getCapacity() != capacity;
        capacity = buffer.getCapacity();
    }
    EXPECT_LT(reallocations, 40);
}

TEST(KArrayBuffer, appendCountAndCopies) {
    KArrayBuffer doubles(8, 0, 4);
    for (int i = 0; i < 10; ++i) doubles.appendValue(i * 0.5);
    const double more[] = {7, 8};
    doubles.append(more, 2);
    EXPECT_EQ(static_cast<const double*>(doubles.data())[11], 8.0);
    EXPECT_EQ(doubles.at(12), nullptr);
    KArrayBuffer copy(doubles);
    doubles.setCount(14);  // new elements are zero
    EXPECT_EQ(static_cast<const double*>(doubles.data())[13], 0.0);
    EXPECT_EQ(copy.getCount(), 12);

    // Unset elements: an empty buffer is sized once at the count asked for; what was there stays.
    KArrayBuffer samples(8, 0, 1024);
    samples.setCountUnset(3000000);
    EXPECT_EQ(samples.getCount(), 3000000);
    EXPECT_EQ(samples.getCapacity(), 3000000);
    copy.setCountUnset(20);
    EXPECT_EQ(static_cast<const double*>(copy.data())[11], 8.0);
    copy.setCountUnset(3);
    EXPECT_EQ(copy.getCount(), 3);
    EXPECT_GE(copy.getCapacity(), 20);
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
        EXPECT_STREQ(e.what(), "Processing linear transform: 1 of 2 columns");
    }
}
