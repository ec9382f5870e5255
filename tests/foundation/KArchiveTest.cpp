#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

// A small tree of run-time typed objects; a child may be shared by two parents. A loaded
// node owns the children that were new when it read them, not those met again.
class TestNode : public KObject {
    K_DECLARE_CLASS(TestNode);

public:
    TestNode(const char* n = "", double v = 0) : value(v), name(n) {}
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

template <class T>
T next(KArchive& in) {
    T value{};
    in >> value;
    return value;
}

// "title: text" of what reading one object from the bytes raises, or "" if nothing.
std::string readError(const Bytes& bytes, const KClass* expected = nullptr) {
    KArchive in(bytes);
    try {
        std::unique_ptr<KObject> object(in.readObject(expected));
    } catch (const KException& e) {
        return std::string(e.getTitle().c_str()) + ": " + e.getText().c_str();
    }
    return "";
}

}  // namespace

TEST(KArchive, primitivesAreLittleEndian) {
    KArchive out;
    out << std::uint8_t{0xAB} << std::int16_t{-2} << std::uint32_t{0x01020304} << std::int64_t{-1}
        << 1.0 << 2.5f << true;
    const Bytes expected = {0xAB, 0xFE, 0xFF, 0x04, 0x03, 0x02, 0x01, 0xFF, 0xFF, 0xFF,
                            0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0,    0,    0,    0,    0,
                            0,    0xF0, 0x3F, 0,    0,    0x20, 0x40, 1};
    EXPECT_EQ(out.getBuffer(), expected);

    KArchive in(out.getBuffer());
    EXPECT_EQ(next<std::uint8_t>(in), 0xAB);
    EXPECT_EQ(next<std::int16_t>(in), -2);
    EXPECT_EQ(next<std::uint32_t>(in), 0x01020304u);
    EXPECT_EQ(next<std::int64_t>(in), -1);
    EXPECT_EQ(next<double>(in), 1.0);
    EXPECT_EQ(next<float>(in), 2.5f);
    EXPECT_TRUE(next<bool>(in));
    EXPECT_EQ(in.remaining(), 0u);
    std::uint8_t a = 0;
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
    const std::pair<size_t, size_t> forms[] = {{0, 1},      {254, 1},    {255, 3},
                                               {0xFFFD, 3}, {0xFFFE, 7}, {0x10001, 7}};
    for (auto [length, header] : forms) {
        const std::string text(length, 'k');
        KArchive out;
        out.writeString(text.c_str());
        ASSERT_EQ(out.getBuffer().size(), header + length) << length;
        KArchive in(out.getBuffer());
        EXPECT_EQ(std::string(in.readString().c_str()), text);
    }
    // 0xFF, 0xFFFE marks a wide-character string, which is not ours.
    KArchive in(Bytes{0xFF, 0xFE, 0xFF, 2, 'a', 0, 'b', 0});
    EXPECT_THROW(in.readString(), KException);
}

TEST(KArchive, objectsClassesAndBackReferences) {
    TestNode root("root"), a("a"), b("b"), shared("shared", 4.5);
    a.children = {&shared};
    b.children = {&shared};
    root.children = {&a, nullptr, &b};
    KArchive out;
    out.writeObject(&root);
    out.writeObject(&root);  // a second write is a reference

    const auto& bytes = out.getBuffer();
    // New class record: tag 0xFFFF, schema 1, name length 8, "TestNode".
    ASSERT_GE(bytes.size(), 14u);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 14),
              (Bytes{0xFF, 0xFF, 1, 0, 8, 0, 'T', 'e', 's', 't', 'N', 'o', 'd', 'e'}));
    // The root was object index 2 (after the class); the last two bytes refer to it.
    EXPECT_EQ(Bytes(bytes.end() - 2, bytes.end()), (Bytes{2, 0}));

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

TEST(KArchive, sharedObjectsComeBackSharedAndOnlyAsShared) {
    // One object stored for two owners comes back as one, shared by both.
    TestNode node("node", 2.5), other("other");
    KArchive out;
    out.writeObject(&node);
    out.writeObject(&other);
    out.writeObject(&node);
    KArchive in(out.getBuffer());
    std::shared_ptr<KObject> first = in.readSharedObject(K_CLASS(TestNode));
    std::unique_ptr<KObject> owned(in.readObject());
    std::shared_ptr<KObject> again = in.readSharedObject(K_CLASS(TestNode));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, again);
    EXPECT_EQ(static_cast<TestNode*>(first.get())->value, 2.5);
    EXPECT_EQ(in.remaining(), 0u);

    // An object one owner took met again as shared, or a shared one met as owned: raises.
    KArchive owner(out.getBuffer());
    std::unique_ptr<KObject> taken(owner.readObject());
    std::unique_ptr<KObject> second(owner.readObject());
    EXPECT_THROW(owner.readSharedObject(), KException);
    KArchive sharer(out.getBuffer());
    std::shared_ptr<KObject> kept = sharer.readSharedObject();
    std::unique_ptr<KObject> next(sharer.readObject());
    EXPECT_THROW(sharer.readObject(), KException);
}

TEST(KArchive, wrongOrUnknownClassesRaise) {
    OtherNode other;
    KArchive out;
    out.writeObject(&other);
    EXPECT_NE(readError(out.getBuffer(), K_CLASS(TestNode)), "");
    const std::string unknown = readError({0xFF, 0xFF, 1, 0, 5, 0, 'N', 'o', 'S', 'u', 'c'});
    EXPECT_EQ(unknown.rfind("Archive Error: ", 0), 0u) << unknown;
    EXPECT_NE(unknown.find("NoSuc"), std::string::npos) << unknown;
    // A class or object reference to an index never defined; an abstract class by name.
    for (const Bytes& bad : {Bytes{0x05, 0x80}, Bytes{0x07, 0x00}, Bytes{0xFF, 0x7F, 9, 0, 0, 0x80},
                             Bytes{0xFF, 0xFF, 0, 0, 7, 0, 'K', 'O', 'b', 'j', 'e', 'c', 't'}})
        EXPECT_NE(readError(bad), "");
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
    TestNode root("a root with a name long enough"), child("", 3);
    root.children = {&child, &child};
    KStringArray names;
    names.mergeTokens(KString("alpha beta"), " ");
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
    const Bytes full = out.getBuffer();

    auto readAll = [](const Bytes& bytes) {
        TestNode::seen().clear();
        KArchive in(bytes);
        std::unique_ptr<KObject> o(in.readObject());
        KStringArray().readObject(in);
        KProperties().readObject(in);
        KBitSet().readObject(in);
        KString().readObject(in);
    };
    ASSERT_NO_THROW(readAll(full));
    for (size_t cut = 0; cut < full.size(); ++cut) {
        Bytes part(full.begin(), full.begin() + cut);
        EXPECT_THROW(readAll(part), KException) << "cut at " << cut;
    }
    std::mt19937 rng(12345);
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes = full;
        const int flips = 1 + static_cast<int>(rng() % 4);
        for (int f = 0; f < flips; ++f)
            bytes[rng() % bytes.size()] = static_cast<std::uint8_t>(rng());
        try {
            readAll(bytes);
        } catch (const KException&) {
        }
    }
}

TEST(KBitSet, bitsAndStoredForm) {
    KBitSet b;
    for (int bit : {0, 33, -1}) b.set(bit);  // -1 is ignored
    EXPECT_EQ(b.length(), 34);
    b.clear(33);
    EXPECT_EQ(b.length(), 1);
    b.set(65);
    KArchive out;
    b.writeObject(out);
    const Bytes expected = {1, 0, 0, 0, 3, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0};
    EXPECT_EQ(out.getBuffer(), expected);
    KArchive in(out.getBuffer());
    KBitSet back;
    back.set(7);
    back.readObject(in);
    EXPECT_TRUE(back == b);
    KArchive h(Bytes{1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F});
    EXPECT_THROW(back.readObject(h), KException);
}

// Keys match exactly and keep the order in which they were first set, through the
// stored form too.
TEST(KProperties, insertionOrderAndStoredForm) {
    KProperties p;
    const std::pair<const char*, const char*> sets[] = {
        {"zeta", "1"}, {"alpha", "2"}, {"Zeta", "3"}, {"zeta", "4"}};  // the last replaces
    for (auto [key, value] : sets) p.setProperty(key, value);
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
