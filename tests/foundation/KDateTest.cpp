#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>

#include <kalvo/foundation/KDate.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>

namespace {
// Runs the body with the process in a given time zone, then puts the old one back.
class TimeZone {
public:
    explicit TimeZone(const char* tz) {
        const char* old = std::getenv("TZ");
        had_ = old != nullptr;
        if (had_) old_ = old;
        setenv("TZ", tz, 1);
        tzset();
    }
    ~TimeZone() {
        if (had_) {
            setenv("TZ", old_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

private:
    bool had_ = false;
    std::string old_;
};
}  // namespace

TEST(KDate, validity) {
    EXPECT_FALSE(KDate(-5.0).isValid());
    EXPECT_FALSE(KDate(KDouble::NaN).isValid());
    EXPECT_FALSE(KDate(KDouble::POSITIVE_INFINITY).isValid());
    EXPECT_EQ(KDate(12.9).getSeconds(), 12);
    EXPECT_EQ(KDate(-1).get(KDate::MONTH), -1);
    EXPECT_EQ(KDate(0).get(6), -1);
    EXPECT_EQ(KDate(0).get(-1), -1);
    EXPECT_STREQ(KDate(-1).toString().c_str(), "");
}

TEST(KDate, fieldsAndTextInLocalTime) {
    TimeZone utc("UTC");
    const KDate d(1700000000);  // 2023-11-14 22:13:20 UTC
    EXPECT_EQ(d.get(KDate::SECOND), 20);
    EXPECT_EQ(d.get(KDate::MINUTE), 13);
    EXPECT_EQ(d.get(KDate::HOUR), 22);
    EXPECT_EQ(d.get(KDate::DAY), 14);
    EXPECT_EQ(d.get(KDate::MONTH), 11);
    EXPECT_EQ(d.get(KDate::YEAR), 2023);
    EXPECT_STREQ(d.toString().c_str(), "Tue Nov 14 22:13:20 UTC 2023");
    EXPECT_STREQ(d.toString("%Y-%m-%d %H:%M").c_str(), "2023-11-14 22:13");
    {
        TimeZone tokyo("JST-9");
        EXPECT_EQ(d.get(KDate::DAY), 15);
        EXPECT_EQ(d.get(KDate::HOUR), 7);
    }
}

TEST(KDate, addMovesByTheSpansRemainderOnly) {
    KDate d(1000);
    d.add(KDate::MINUTE, 5);
    EXPECT_EQ(d.getSeconds(), 1000);
    d.add(KDate::DAY, 3);
    EXPECT_EQ(d.getSeconds(), 1000);
    d.add(KDate::SECOND, 75);
    EXPECT_EQ(d.getSeconds(), 1015);
    d.add(KDate::SECOND, -61);
    EXPECT_EQ(d.getSeconds(), 1014);
    KDate invalid(-1);
    invalid.add(KDate::SECOND, 30);
    EXPECT_EQ(invalid.getSeconds(), -1);
}

TEST(KDate, floorAndCeil) {
    EXPECT_EQ(KDate(90000).floor(KDate::DAY), 21600.0);
    EXPECT_EQ(KDate(90000).ceil(KDate::DAY), 108000.0);
    EXPECT_EQ(KDate(3599).floor(KDate::HOUR), 0.0);
    EXPECT_EQ(KDate(3601).ceil(KDate::HOUR), 7200.0);
    EXPECT_EQ(KDate(125).floor(KDate::MINUTE), 120.0);
    EXPECT_EQ(KDate(120).ceil(KDate::MINUTE), 120.0);
    EXPECT_EQ(KDate(77).floor(KDate::SECOND), 77.0);
    EXPECT_EQ(KDate(77).ceil(9), 77.0);
    EXPECT_EQ(KDate(3000).floor(KDate::DAY), -64800.0);  // before the 06:00 origin
    try {
        KDate(-1).floor(KDate::DAY);
        FAIL() << "an invalid date must raise";
    } catch (const KException& e) {
        EXPECT_STREQ(e.getTitle().c_str(), "Date Error");
        EXPECT_STREQ(e.getText().c_str(), "Invalid date value");
    }
    EXPECT_THROW(KDate(-1).ceil(KDate::MINUTE), KException);
}
