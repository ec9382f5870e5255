#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

void fill(KRecord& record) {
    record.setName("Substation 7");
    record.setFormat("COMTRADE 1999");
    record.setDevice("Relay 21");
    record.setDescription("Line fault");
    record.setFileName("/data/fault.cfg");
    record.setComment("phase A to ground");
    record.setScale(1e-6);
    record.setOffset(2.5);
    record.setSamplingTolerance(1e-9);
    record.setTriggerValue(0.04);
    record.setProperty("revision", "1999");
    record.getDomain().setScale(1e-3);
    record.create(2, 0, 16);
    record.setTraceName(0, "IA");
    record.setTraceName(1, "VA");
    KRecord::Trace& ia = *record.getTrace(0);
    ia.setUnits("A");
    ia.setPhase("A");
    ia.setCircuit("Line 1");
    ia.setScale(0.125);
    ia.setOffset(-3);
    ia.setBounds(-32768, 32767);
    ia.setPrimary(600);
    ia.setSecondary(5);
    ia.setFlags(3);
    ia.setProperty("skew", "0");
    for (int i = 0; i < 300; ++i) {
        record.setDomainValue(i * 0.25);
        record.setTraceValue(0, std::sin(i * 0.1));
        record.setTraceValue(1, i == 7 ? KDouble::NaN : -i);
        record.commit();
    }
    record.selectTrace(1);
    record.computeSamplingTable();
}

std::vector<std::uint8_t> store(KRecord& record) {
    KArchive archive;
    record.Serialize(archive);
    return archive.getBuffer();
}

// Loads bytes into a fresh record: "title: text" of the exception raised, or "" if none.
std::string loadError(const std::vector<std::uint8_t>& bytes) {
    KRecord target;
    KArchive in(bytes);
    try {
        target.Serialize(in);
    } catch (const KException& e) {
        return std::string(e.getTitle().c_str()) + ": " + e.getText().c_str();
    }
    return "";
}

// A filled record and its stored bytes.
class KRecordArchive : public testing::Test {
protected:
    void SetUp() override {
        fill(record);
        bytes = store(record);
    }
    KRecord record;
    std::vector<std::uint8_t> bytes;
};

}  // namespace

TEST_F(KRecordArchive, roundTripKeepsEverything) {
    KRecord loaded;
    KArchive in(bytes);
    loaded.Serialize(in);
    EXPECT_EQ(in.remaining(), 0u);
    // Storing what was loaded gives the same bytes, so every stored field came back; a few
    // are checked by value as well.
    EXPECT_STREQ(loaded.getComment().c_str(), "phase A to ground");
    EXPECT_EQ(loaded.getTriggerValue(), 0.04);
    EXPECT_EQ(loaded.getTraceIndex(), 1);
    ASSERT_EQ(loaded.getTraceCount(), 2);
    ASSERT_EQ(loaded.getDomainSize(), 300);
    const KRecord::Trace& ia = *loaded.getTrace(0);
    EXPECT_STREQ(ia.getCircuit().c_str(), "Line 1");
    EXPECT_EQ(ia.getUpperBound(), 32767);
    EXPECT_EQ(ia.getOwner(), &loaded);
    EXPECT_EQ(ia.getSample(299), record.getTrace(0)->getSample(299));
    EXPECT_TRUE(std::isnan(loaded.getTrace(1)->getSample(7)));
    EXPECT_EQ(loaded.getSampleInfo(0)->getEndIndex(), 300);
    EXPECT_EQ(store(loaded), bytes);

    // An empty record through the run-time typed path.
    KRecord empty;
    KArchive out;
    out.writeObject(&empty);
    KArchive typed(out.getBuffer());
    std::unique_ptr<KObject> object(typed.readObject(K_CLASS(KRecord)));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(static_cast<KRecord*>(object.get())->getTraceIndex(), -1);
}

TEST_F(KRecordArchive, everyTruncationRaisesAndChangesNothing) {
    KRecord target;
    target.create(1, 0, 8);
    target.setName("before");
    target.setDomainValue(1);
    target.commit();
    // Every cut short of the end: a KException, and the target as it was.
    for (size_t size = 0; size < bytes.size(); size += (size < 600 ? 1 : 97)) {
        KArchive in(bytes.data(), size);
        EXPECT_THROW(target.Serialize(in), KException) << "cut at " << size;
        ASSERT_STREQ(target.getName().c_str(), "before") << "cut at " << size;
        ASSERT_EQ(target.getDomainSize(), 1);
    }
}

TEST_F(KRecordArchive, corruptCountsAndVersionsRaise) {
    std::vector<std::uint8_t> newer = bytes;
    newer[0] = 2;
    const std::string version = loadError(newer);
    EXPECT_EQ(version.rfind("Archive Error: ", 0), 0u) << version;
    EXPECT_NE(version.find("version 2"), std::string::npos) << version;

    // A trace whose sample count differs from the domain's.
    KRecord uneven;
    uneven.create(1, 0, 8);
    uneven.commit();
    uneven.getTrace(0)->appendValue(1.0);
    const std::string count = loadError(store(uneven));
    EXPECT_NE(count.find("2 samples, the domain 1"), std::string::npos) << count;

    // Every byte flipped in turn: an exception or a record, never a crash or a read past
    // the end (the sanitizer build checks the second).
    for (size_t i = 0; i < 400 && i < bytes.size(); ++i) {
        std::vector<std::uint8_t> bad = bytes;
        bad[i] ^= 0xFF;
        loadError(bad);
    }
}
