#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <kalvo/kalvo.h>

namespace ktest {

// The exception f raises; a test failure when it raises none.
template <class F>
KException raised(F f) {
    try {
        f();
    } catch (const KException& e) {
        return e;
    }
    ADD_FAILURE() << "no exception raised";
    return KException();
}

// The recorded calls of one kind, in order.
inline std::vector<const CRecordingDC::Entry*> calls(const CRecordingDC& dc, CDC::Call call) {
    std::vector<const CRecordingDC::Entry*> out;
    for (const auto& e : dc.GetEntries())
        if (e.call == call) out.push_back(&e);
    return out;
}

// What painting the whole component records.
inline std::unique_ptr<CRecordingDC> recordPaint(KComponent& c, CSize size, bool printing = false) {
    auto dc = std::make_unique<CRecordingDC>(size);
    dc->SetPrinting(printing);
    KGraphics g(dc.get());
    c.paintAll(g);
    return dc;
}

// The stored form of the object.
inline std::vector<std::uint8_t> stored(const KObject& object) {
    KArchive out;
    out.writeObject(&object);
    return out.getBuffer();
}

// The object read back from its stored form, with every byte used; throws (failing the
// test) when it comes back as another class.
template <class T>
std::unique_ptr<T> roundTrip(const KObject& object) {
    KArchive in(stored(object));
    std::unique_ptr<KObject> read(in.readObject());
    EXPECT_EQ(in.remaining(), 0u);
    if (k_dynamic_cast<T>(read.get()) == nullptr) throw std::runtime_error("read as another class");
    return std::unique_ptr<T>(static_cast<T*>(read.release()));
}

// Reading the stored form cut to its first n bytes raises instead of reading on.
inline void expectCutRaises(std::vector<std::uint8_t> bytes, size_t n) {
    bytes.resize(n);
    KArchive cut(std::move(bytes));
    EXPECT_THROW(delete cut.readObject(), KException) << n << " bytes";
}

}  // namespace ktest
