#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

// A record of one trace with the given domain and values, fed row by row.
void feed(KRecord& record, const std::vector<double>& x, const std::vector<double>& y) {
    record.create(1, 0, 4);
    for (size_t i = 0; i < x.size(); ++i) {
        record.setDomainValue(x[i]);
        record.setTraceValue(0, y[i]);
        record.commit();
    }
    record.selectTrace(0);
}

struct CountingObserver : KRecordObserver {
    explicit CountingObserver(int id) : id(id) {}
    void recordUpdate() override { ++updates; }
    void recordRefresh() override { ++refreshes; }
    void recordReset() override { ++resets; }
    int getObserverId() const override { return id; }
    int id, updates = 0, refreshes = 0, resets = 0;
};

}  // namespace

TEST(KRecord, feedsRowsAndCommitRepeatsPendingValues) {
    KRecord record;
    record.create(2, 0, 1);
    record.setDomainValue(0.5);
    record.setTraceValue(0, 1.0);
    record.setTraceValue(1, 2.0);
    record.setTraceValue(5, 9.0);  // no such trace: ignored
    EXPECT_TRUE(record.isDatumChanged());
    record.commit();
    EXPECT_FALSE(record.isDatumChanged());
    record.commit();  // nothing new: the same row again

    ASSERT_EQ(record.getDomainSize(), 2);
    EXPECT_EQ(record.getDomainValue(1), 0.5);
    EXPECT_TRUE(std::isnan(record.getDomainValue(2)));
    EXPECT_EQ(record.getTrace(1)->getSample(1), 2.0);
    record.selectTrace(4);
    EXPECT_EQ(record.getYData(), nullptr);
}

TEST(KRecord, createSelectsNothingAndGroupsFoldCase) {
    KRecord record;
    EXPECT_EQ(record.getTraceIndex(), -1) << "a new record selects no trace";
    record.create(3, 0, 8);
    EXPECT_EQ(record.getTraceIndex(), -1) << "create selects nothing";
    EXPECT_EQ(record.getYData(), nullptr);
    EXPECT_STREQ(record.getTraceName().c_str(), "");
    record.selectTrace(2);
    const char* names[] = {"IA.rms", "ia.peak", "VB"};
    for (int i = 0; i < 3; ++i) record.setTraceName(i, names[i]);
    KStringArray groups;
    record.getGroupNames(groups);
    EXPECT_STREQ(groups.toString().c_str(), "\"IA\",\"VB\"") << "IA and ia are one group";

    record.create(3, 0, 8);
    EXPECT_EQ(record.getTraceIndex(), 2) << "the selected index stays as it was";
    record.create(1, 0, 8);
    EXPECT_EQ(record.getTraceIndex(), 2);
    EXPECT_EQ(record.getYData(), nullptr) << "an index without a trace selects nothing";
}

TEST(KRecord, findIndexAndLookUps) {
    KRecord record;
    feed(record, {0, 1, 2, 3}, {10, 20, 40, 80});
    // An inner sample gives the index before it; outside the domain, the nearest end.
    const std::pair<double, int> cases[] = {
        {2.0, 1}, {-5, 0},  {3.0, 3},           {99, 3},
        {2.5, 2}, {0.5, 0}, {KDouble::NaN, -1}, {KDouble::POSITIVE_INFINITY, -1}};
    for (auto [x, index] : cases) EXPECT_EQ(record.findIndex(x), index) << "x " << x;

    EXPECT_EQ(record.getValueAt(2), 40);
    EXPECT_TRUE(std::isnan(record.getValueAt(4)));
    EXPECT_EQ(record.getValueAt(1.5, false), 20);
    EXPECT_DOUBLE_EQ(record.getValueAt(2.25, true), 50);
    EXPECT_TRUE(std::isnan(record.getValueAt(3.0, true))) << "no interval after the last sample";
    // Reversed weights over the interval before x's: ((x-X0)Y0 + (X1-x)Y1) / (X1-X0).
    EXPECT_DOUBLE_EQ(record.interpolate(2.5), (1.5 * 20 + (2 - 2.5) * 40) / 1.0);
    EXPECT_TRUE(std::isnan(record.interpolate(0.5))) << "no interval before the first";

    feed(record, {0, 1}, {5, 6});
    EXPECT_EQ(record.findIndex(0.5), 0) << "a domain of two";
    double first = 0, last = 0;
    KRecord empty;
    empty.getLimits(first, last);
    EXPECT_TRUE(std::isnan(first) && std::isnan(last));
    EXPECT_EQ(empty.findIndex(1.0), -1);
}

TEST(KRecord, extremesKeepTheirStartValues) {
    KRecord record;
    feed(record, {0, 1}, {-1, -2});
    EXPECT_EQ(record.getMaxValue(0, 0), 2.2250738585072014e-308);
    EXPECT_EQ(record.getMinValue(0, 0), -2);

    feed(record, {0, 1, 2, 3, 4, 5}, {3, KDouble::NaN, -7, KDouble::POSITIVE_INFINITY, 9, 1});
    EXPECT_EQ(record.getMinValue(0, 0), -7) << "non-finite samples are skipped";
    EXPECT_EQ(record.getMaxValue(0, 3), 3) << "count limits the run";
    EXPECT_EQ(record.getMaxValue(-4, -1), 9) << "negative from and count count as 0";
    EXPECT_EQ(record.getMinValue(5, 100), 1) << "count cut to what remains";
    EXPECT_TRUE(std::isnan(record.getMinValue(6, 0)));

    feed(record, {0, 1}, {KDouble::NaN, KDouble::NEGATIVE_INFINITY});
    EXPECT_EQ(record.getMinValue(0, 0), DBL_MAX) << "no finite sample: the start value";

    // The unrolled loops must treat every position alike, including the tail.
    std::vector<double> x(23), y(23);
    for (int i = 0; i < 23; ++i) x[i] = i, y[i] = i % 5;
    for (int at = 0; at < 23; ++at) {
        for (double extreme : {-100.0, 100.0}) {
            std::vector<double> z = y;
            z[at] = extreme;
            feed(record, x, z);
            EXPECT_EQ(extreme < 0 ? record.getMinValue(0, 0) : record.getMaxValue(0, 0), extreme)
                << "at " << at;
        }
    }
}

TEST(KRecord, copyDataWritesRowsAndRestoresStringLimits) {
    KRecord record;
    feed(record, {0, 0.5, 1}, {1.25, -2, 3});
    KString out;
    EXPECT_TRUE(record.copyData(out, 1, -1));
    EXPECT_STREQ(out.c_str(), "0.500000,-2.000000\n1.000000,3.000000\n");
    EXPECT_EQ(KString::getMaxSize(), 65535);
    EXPECT_EQ(KString::getIncrement(), 256);
    EXPECT_FALSE(record.copyData(out, -1, 2));
    EXPECT_FALSE(record.copyData(out, 3, 99)) << "to past the end means the end";
    record.selectTrace(-1);
    EXPECT_FALSE(record.copyData(out, 0, 2));
}

TEST(KRecord, samplingTable) {
    KRecord record;
    feed(record, {0, 1, 2, 3, 5, 7}, {0, 0, 0, 0, 0, 0});
    for (double tolerance : {1e-6, -1.0}) {  // a negative tolerance must end, as 0 does
        record.computeSamplingTable(tolerance);
        ASSERT_EQ(record.getSampleInfoCount(), 2);
        EXPECT_DOUBLE_EQ(record.getSampleInfo(0)->getRate(), 1 / 1.25);
        EXPECT_EQ(record.getSampleInfo(0)->getEndIndex(), 4);
        EXPECT_DOUBLE_EQ(record.getSampleInfo(1)->getRate(), 0.5);
        EXPECT_EQ(record.getSampleInfo(1)->getEndIndex(), 6);
    }

    feed(record, {0, 0.001, 0.002, KDouble::NaN, 0.004}, {0, 0, 0, 0, 0});
    record.computeSamplingTable();  // must end despite the NaN
    EXPECT_EQ(record.getSampleInfo(record.getSampleInfoCount() - 1)->getEndIndex(), 5);

    feed(record, {1}, {0});
    try {
        record.computeSamplingTable(1e-6);
        FAIL() << "one sample";
    } catch (const KException& e) {
        EXPECT_STREQ(e.getText().c_str(), "There must be at least two samples!");
    }
}

TEST(KRecord, setDataCopiesEvenFromItself) {
    KRecord record;
    feed(record, {0, 1, 2}, {5, 6, 7});
    // The record's own arrays as input: destroy must not pull them away first.
    KVector<double> columns;
    columns.add(const_cast<double*>(record.getYData()));
    columns.add(nullptr);
    record.setData2(record.getXData(), columns, 3);
    ASSERT_EQ(record.getTraceCount(), 2);
    EXPECT_EQ(record.getTrace(0)->getSample(2), 7);
    EXPECT_TRUE(std::isnan(record.getTrace(1)->getSample(0))) << "a null column gives NaN";

    record.setTraceName(0, "IA");
    columns.set(0, record.getTrace(0)->getData());
    columns.set(1, record.getTrace(0)->getData());
    record.setData2(record.getXData(), columns, 2);
    EXPECT_STREQ(record.getTrace(0)->getName().c_str(), "IA") << "setData2 keeps descriptions";
    EXPECT_EQ(record.getTrace(1)->getSample(1), 6);
    columns.set(0, record.getTrace(0)->getData());  // the last call replaced the arrays
    columns.set(1, record.getTrace(1)->getData());
    record.setData(record.getXData(), columns, 2);
    EXPECT_TRUE(record.getTrace(0)->getName().isEmpty()) << "setData replaces everything";
}

TEST(KRecord, copiesAreDeepAndStartWithoutObservers) {
    CountingObserver watcher(1);  // outlives the record it observes
    KRecord record;
    feed(record, {0, 1}, {5, 6});
    record.setName("Station");
    record.addObserver(&watcher);

    KRecord copy(record);
    record.getTrace(0)->getData()[0] = -1;
    EXPECT_EQ(copy.getTrace(0)->getSample(0), 5);
    EXPECT_EQ(copy.getTrace(0)->getOwner(), &copy);
    EXPECT_EQ(copy.getObserverCount(), 0);
    std::unique_ptr<KObject> clone(record.clone());
    ASSERT_TRUE(clone != nullptr && clone->isKindOf(K_CLASS(KRecord)));
    EXPECT_STREQ(static_cast<KRecord*>(clone.get())->getName().c_str(), "Station");
}

TEST(KRecord, notifiesObservers) {
    CountingObserver a(1), b(2), c(2);  // outlive the record they observe
    KRecord record;
    for (CountingObserver* o : {&a, &b, &c, static_cast<CountingObserver*>(nullptr)})
        record.addObserver(o);
    EXPECT_EQ(record.getObserverCount(), 3);
    record.updateObservers(&b);
    EXPECT_EQ(a.updates + c.updates, 2);
    EXPECT_EQ(b.updates, 0) << "the observer that made the change is not told";
    record.refreshObservers();
    record.resetObservers();
    EXPECT_EQ(c.refreshes, 1);
    EXPECT_EQ(c.resets, 1);
    EXPECT_EQ(record.findObserver(2), &b) << "the first with that identifier";
    record.removeObserver(&b);
    EXPECT_EQ(record.getObserver(1), &c);
    // A record that goes tells the observers still there.
    struct Forgetful : KRecordObserver {
        KRecordProducer* gone = nullptr;
        void recordDestroyed(KRecordProducer* p) override { gone = p; }
    } forgetful;
    auto* temporary = new KRecord();
    temporary->addObserver(&forgetful);
    delete temporary;
    EXPECT_EQ(forgetful.gone, temporary);
}

// RMS over a run (cut to what remains, 0 past the end), and the domain turned from raw to
// real values and back through the domain trace's scale and offset.
TEST(KRecord, rmsAndDomainCalibration) {
    KRecord r;
    feed(r, {0, 1, 2, 3}, {3, -4, 0, 12});
    const KRecord::Trace& t = *r.getTrace(0);
    EXPECT_DOUBLE_EQ(t.getRMSValue(0, 2), std::sqrt((9.0 + 16.0) / 2));
    EXPECT_DOUBLE_EQ(t.getRMSValue(2, 10), std::sqrt(144.0 / 2));
    EXPECT_EQ(t.getRMSValue(4, 1), 0.0);

    r.getDomain().setScale(0.5);
    r.getDomain().setOffset(10);
    r.setDomainReal();
    EXPECT_EQ(r.getDomainValue(3), 11.5);
    r.setDomainRaw();
    EXPECT_EQ(r.getDomainValue(3), 3.0);
    r.getDomain().setScale(0);  // no inverse: nothing changes
    r.setDomainRaw();
    EXPECT_EQ(r.getDomainValue(3), 3.0);
}
