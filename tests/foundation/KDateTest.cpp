#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <kalvo/kalvo.h>

namespace {
// Puts the process in a time zone for the scope, then restores the old one.
class TimeZone {
public:
    explicit TimeZone(const char* tz) {
        if (const char* old = std::getenv("TZ")) old_ = old;
        setenv("TZ", tz, 1);
        tzset();
    }
    ~TimeZone() {
        old_ ? setenv("TZ", old_->c_str(), 1) : unsetenv("TZ");
        tzset();
    }

private:
    std::optional<std::string> old_;
};
}  // namespace

TEST(KDate, validity) {
    EXPECT_FALSE(KDate(-5.0).isValid());
    EXPECT_FALSE(KDate(KDouble::NaN).isValid());
    EXPECT_FALSE(KDate(KDouble::POSITIVE_INFINITY).isValid());
    EXPECT_EQ(KDate(12.9).getSeconds(), 12);
    EXPECT_EQ(KDate(-1).get(KDate::MONTH), -1);
    EXPECT_EQ(KDate(0).get(6), -1);
    EXPECT_STREQ(KDate(-1).toString().c_str(), "");
}

TEST(KDate, fieldsAndTextInLocalTime) {
    TimeZone utc("UTC");
    const KDate d(1700000000);  // 2023-11-14 22:13:20 UTC
    std::vector<int> fields;
    for (int f = KDate::SECOND; f <= KDate::YEAR; ++f) fields.push_back(d.get(f));
    EXPECT_EQ(fields, (std::vector<int>{20, 13, 22, 14, 11, 2023}));
    EXPECT_STREQ(d.toString().c_str(), "Tue Nov 14 22:13:20 UTC 2023");
    EXPECT_STREQ(d.toString("%Y-%m-%d %H:%M").c_str(), "2023-11-14 22:13");
    TimeZone tokyo("JST-9");
    EXPECT_EQ(d.get(KDate::DAY), 15);
    EXPECT_EQ(d.get(KDate::HOUR), 7);
}

TEST(KDate, addMovesByTheSpansRemainderOnly) {
    KDate d(1000);
    d.add(KDate::MINUTE, 5);
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
    // Days start at 06:00 UTC, so 3000 s floors to the day before the epoch's.
    const std::pair<double, double> cases[] = {
        {KDate(90000).floor(KDate::DAY), 21600.0}, {KDate(90000).ceil(KDate::DAY), 108000.0},
        {KDate(3599).floor(KDate::HOUR), 0.0},     {KDate(3601).ceil(KDate::HOUR), 7200.0},
        {KDate(125).floor(KDate::MINUTE), 120.0},  {KDate(120).ceil(KDate::MINUTE), 120.0},
        {KDate(77).floor(KDate::SECOND), 77.0},    {KDate(77).ceil(9), 77.0},
        {KDate(3000).floor(KDate::DAY), -64800.0}};
    for (auto [got, want] : cases) EXPECT_EQ(got, want);
    try {
        KDate(-1).floor(KDate::DAY);
        FAIL() << "an invalid date must raise";
    } catch (const KException& e) {
        EXPECT_STREQ(e.getTitle().c_str(), "Date Error");
        EXPECT_STREQ(e.getText().c_str(), "Invalid date value");
    }
    EXPECT_THROW(KDate(-1).ceil(KDate::MINUTE), KException);
}
