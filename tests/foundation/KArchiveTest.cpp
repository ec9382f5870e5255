#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KBitSet.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KObject.h>
#include <kalvo/foundation/KProperties.h>
#include <kalvo/foundation/KStringArray.h>

namespace {

// A small tree of run-time typed objects; a child may be shared by two parents. A loaded
// node owns the children that were new when it read them, not those met again.
class TestNode : public KObject {
    K_DECLARE_CLASS(TestNode);

public:
    ~TestNode() override {
        for (KObject* c : owned) delete c;
    }
    void Serialize(KArchive& ar) override {
        if (ar.isStoring()) {
            ar << std::uint32_t{1} << value;
            ar.writeString(name);
            ar.writeCount(static_cast<std::uint32_t>(children.size()));
            for (TestNode* c : children) ar.writeObject(c);
        } else {
            seen().insert(this);
            std::uint32_t version = 0;
            ar >> version >> value;
            name = ar.readString();
            const std::uint32_t n = ar.readCount();
            for (std::uint32_t i = 0; i < n; ++i) {
                // A new child reads itself (and grows the set); a reference does not.
                const size_t before = seen().size();
                auto* c = static_cast<TestNode*>(ar.readObject(K_CLASS(TestNode)));
                children.push_back(c);
                if (seen().size() > before) owned.push_back(c);
            }
        }
    }
    void copy(const KObject& other) override {
        const auto& o = static_cast<const TestNode&>(other);
        value = o.value;
        name = o.name;
    }
    // Every node loaded since the last clear.
    static std::set<const KObject*>& seen() {
        static std::set<const KObject*> nodes;
        return nodes;
    }

    double value = 0;
    KString name;
    std::vector<TestNode*> children;
    std::vector<KObject*> owned;
};
K_IMPLEMENT_CLASS(TestNode, KObject, 1)

class OtherNode : public KObject {
    K_DECLARE_CLASS(OtherNode);
};
K_IMPLEMENT_CLASS(OtherNode, KObject, 3)

std::vector<std::uint8_t> bytesOf(const KArchive& a) { return a.getBuffer(); }

}  // namespace

TEST(KArchive, primitivesAreLittleEndian) {
    KArchive out;
    out << std::uint8_t{0xAB} << std::int16_t{-2} << std::uint32_t{0x01020304}
        << std::int64_t{-1} << 1.0 << 2.5f << true;
    const std::vector<std::uint8_t> expected = {
        0xAB, 0xFE, 0xFF, 0x04, 0x03, 0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
        0xFF, 0,    0,    0,    0,    0,    0,    0xF0, 0x3F, 0,    0,    0x20, 0x40, 1};
    EXPECT_EQ(bytesOf(out), expected);

    KArchive in(out.getBuffer());
    std::uint8_t a;
    std::int16_t b;
    std::uint32_t c;
    std::int64_t d;
    double e;
    float f;
    bool g;
    in >> a >> b >> c >> d >> e >> f >> g;
    EXPECT_EQ(a, 0xAB);
    EXPECT_EQ(b, -2);
    EXPECT_EQ(c, 0x01020304u);
    EXPECT_EQ(d, -1);
    EXPECT_EQ(e, 1.0);
    EXPECT_EQ(f, 2.5f);
    EXPECT_TRUE(g);
    EXPECT_EQ(in.remaining(), 0u);
    EXPECT_THROW(in >> a, KException);
    EXPECT_THROW(out >> a, KException);  // a storing archive cannot be read
    EXPECT_THROW(in << a, KException);
}

TEST(KArchive, countsAndStringLengthForms) {
    for (std::uint32_t n : {0u, 1u, 0xFFFEu, 0xFFFFu, 0x10000u, 0xFFFFFFFFu}) {
        KArchive out;
        out.writeCount(n);
        EXPECT_EQ(out.getBuffer().size(), n < 0xFFFF ? 2u : 6u) << n;
        KArchive in(out.getBuffer());
        EXPECT_EQ(in.readCount(), n);
    }
    struct Form {
        size_t length;
        size_t header;
    };
    for (Form f : {Form{0, 1}, Form{254, 1}, Form{255, 3}, Form{0xFFFD, 3}, Form{0xFFFE, 7},
                   Form{0x10001, 7}}) {
        const std::string text(f.length, 'k');
        KArchive out;
        out.writeString(text.c_str());
        ASSERT_EQ(out.getBuffer().size(), f.header + f.length) << f.length;
        KArchive in(out.getBuffer());
        EXPECT_EQ(std::string(in.readString().c_str()), text);
    }
    // 0xFF, 0xFFFE marks a wide-character string, which is not ours.
    const std::vector<std::uint8_t> wide = {0xFF, 0xFE, 0xFF, 2, 'a', 0, 'b', 0};
    KArchive in(wide);
    EXPECT_THROW(in.readString(), KException);
}

TEST(KArchive, objectsClassesAndBackReferences) {
    TestNode root, a, b, shared;
    root.name = "root";
    a.name = "a";
    b.name = "b";
    shared.name = "shared";
    shared.value = 4.5;
    a.children.push_back(&shared);
    b.children.push_back(&shared);
    root.children = {&a, nullptr, &b};
    KArchive out;
    out.writeObject(&root);
    out.writeObject(&root);  // a second write is a reference

    const auto& bytes = out.getBuffer();
    // New class record: tag 0xFFFF, schema 1, name length 8, "TestNode".
    ASSERT_GE(bytes.size(), 14u);
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0xFF);
    EXPECT_EQ(bytes[2], 1);
    EXPECT_EQ(bytes[4], 8);
    EXPECT_EQ(std::string(bytes.begin() + 6, bytes.begin() + 14), "TestNode");
    // The root was object index 2 (after the class); the last two bytes refer to it.
    EXPECT_EQ(bytes[bytes.size() - 2], 2);
    EXPECT_EQ(bytes[bytes.size() - 1], 0);

    KArchive in(out.getBuffer());
    TestNode::seen().clear();
    std::unique_ptr<KObject> loaded(in.readObject());
    auto* r = static_cast<TestNode*>(loaded.get());
    ASSERT_STREQ(r->getClassName(), "TestNode");
    ASSERT_EQ(r->children.size(), 3u);
    EXPECT_EQ(r->children[1], nullptr);
    ASSERT_EQ(r->children[0]->children.size(), 1u);
    EXPECT_EQ(r->children[0]->children[0], r->children[2]->children[0]);
    EXPECT_EQ(r->children[0]->children[0]->value, 4.5);
    EXPECT_STREQ(r->children[2]->children[0]->name.c_str(), "shared");
    EXPECT_EQ(in.readObject(), r);
    EXPECT_EQ(in.remaining(), 0u);
}

TEST(KArchive, wrongOrUnknownClassesRaise) {
    OtherNode other;
    KArchive out;
    out.writeObject(&other);
    KArchive in(out.getBuffer());
    EXPECT_THROW(in.readObject(K_CLASS(TestNode)), KException);

    std::vector<std::uint8_t> unknown = {0xFF, 0xFF, 1, 0, 5, 0, 'N', 'o', 'S', 'u', 'c'};
    KArchive u(unknown);
    try {
        u.readObject();
        FAIL();
    } catch (const KException& e) {
        EXPECT_STREQ(e.getTitle().c_str(), "Archive Error");
        EXPECT_NE(std::string(e.getText().c_str()).find("NoSuc"), std::string::npos);
    }
    // A class reference or object reference to an index never defined.
    for (std::vector<std::uint8_t> bad : {std::vector<std::uint8_t>{0x05, 0x80},
                                          std::vector<std::uint8_t>{0x07, 0x00},
                                          std::vector<std::uint8_t>{0xFF, 0x7F, 9, 0, 0, 0x80}}) {
        KArchive k(bad);
        EXPECT_THROW(k.readObject(), KException);
    }
    // Abstract classes are not created by name.
    std::vector<std::uint8_t> root = {0xFF, 0xFF, 0, 0, 7, 0, 'K', 'O', 'b', 'j', 'e', 'c', 't'};
    KArchive k(root);
    EXPECT_THROW(k.readObject(), KException);
}

TEST(KArchive, deepNestingIsRefused) {
    std::vector<std::unique_ptr<TestNode>> chain(KArchive::MAX_DEPTH + 5);
    for (auto& n : chain) n = std::make_unique<TestNode>();
    for (size_t i = 0; i + 1 < chain.size(); ++i) chain[i]->children.push_back(chain[i + 1].get());
    KArchive out;
    EXPECT_THROW(out.writeObject(chain[0].get()), KException);
}

// Every prefix of a real archive, and many corruptions of it, either read or raise: none
// reads outside the bytes (the sanitizer build watches) and none leaks what it made.
TEST(KArchive, truncatedAndCorruptInputRaisesCleanly) {
    TestNode root, child;
    root.name = "a root with a name long enough";
    child.value = 3;
    root.children = {&child, &child};
    KStringArray names;
    names.add("alpha");
    names.add("beta");
    KProperties props;
    props.setProperty("key", "value");
    KBitSet bits;
    bits.set(3);
    bits.set(40);

    KArchive out;
    out.writeObject(&root);
    names.writeObject(out);
    props.writeObject(out);
    bits.writeObject(out);
    KString("tail").writeObject(out);
    const std::vector<std::uint8_t> full = out.getBuffer();

    auto readAll = [](const std::vector<std::uint8_t>& bytes) {
        TestNode::seen().clear();
        KArchive in(bytes);
        std::unique_ptr<KObject> o(in.readObject());
        KStringArray n;
        n.readObject(in);
        KProperties p;
        p.readObject(in);
        KBitSet b;
        b.readObject(in);
        KString s;
        s.readObject(in);
    };
    ASSERT_NO_THROW(readAll(full));
    for (size_t cut = 0; cut < full.size(); ++cut) {
        std::vector<std::uint8_t> part(full.begin(), full.begin() + cut);
        EXPECT_THROW(readAll(part), KException) << "cut at " << cut;
    }
    std::mt19937 rng(12345);
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::uint8_t> bytes = full;
        const int flips = 1 + static_cast<int>(rng() % 4);
        for (int f = 0; f < flips; ++f) bytes[rng() % bytes.size()] = static_cast<std::uint8_t>(rng());
        try {
            readAll(bytes);
        } catch (const KException&) {
        }
    }
}

TEST(KBitSet, bitsAndStoredForm) {
    KBitSet b;
    b.set(0);
    b.set(33);
    b.set(-1);  // ignored
    EXPECT_EQ(b.length(), 34);
    b.clear(33);
    EXPECT_EQ(b.length(), 1);
    b.set(65);
    KArchive out;
    b.writeObject(out);
    const std::vector<std::uint8_t> expected = {1, 0, 0, 0, 3, 0, 1, 0, 0, 0, 0, 0,
                                                0, 0, 2, 0, 0, 0};
    EXPECT_EQ(out.getBuffer(), expected);
    KArchive in(out.getBuffer());
    KBitSet back;
    back.set(7);
    back.readObject(in);
    EXPECT_TRUE(back == b);
    std::vector<std::uint8_t> huge = {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F};
    KArchive h(huge);
    EXPECT_THROW(back.readObject(h), KException);
}

// Keys match exactly and keep the order in which they were first set, through the
// stored form too.
TEST(KProperties, insertionOrderAndStoredForm) {
    KProperties p;
    p.setProperty("zeta", "1");
    p.setProperty("alpha", "2");
    p.setProperty("Zeta", "3");
    p.setProperty("zeta", "4");  // replaced in place
    ASSERT_EQ(p.getCount(), 3);
    EXPECT_STREQ(p.getValue(0).c_str(), "4");
    EXPECT_STREQ(p.getKey(2).c_str(), "Zeta");
    EXPECT_STREQ(p.getProperty("missing", "dflt").c_str(), "dflt");
    KArchive out;
    p.writeObject(out);
    KArchive in(out.getBuffer());
    KProperties back;
    back.setProperty("stale", "gone");
    back.readObject(in);
    EXPECT_TRUE(back == p);
}

TEST(KObject, creationByNameAndClone) {
    EXPECT_EQ(KClass::find("NoSuchClass"), nullptr);
    std::unique_ptr<KObject> made(KClass::createObject("TestNode"));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(k_dynamic_cast<OtherNode>(made.get()), nullptr);
    EXPECT_EQ(KClass::createObject("KObject"), nullptr);  // not created by name
    TestNode n;
    n.name = "original";
    std::unique_ptr<KObject> copy(n.clone());
    auto* c = k_dynamic_cast<TestNode>(copy.get());
    ASSERT_NE(c, nullptr);
    EXPECT_STREQ(c->name.c_str(), "original");
}
