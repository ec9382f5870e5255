#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/foundation/KSerializable.h>

// A growable set of bit flags, all clear until set.
class KBitSet : public KSerializable {
public:
    KBitSet() = default;

    bool get(int bit) const;
    void set(int bit, bool value = true);  // negative bits are ignored
    void clear(int bit) { set(bit, false); }
    void clearAll() { words_.clear(); }
    // One past the highest set bit; 0 when none is set.
    int length() const;
    int cardinality() const;
    bool isEmpty() const { return length() == 0; }

    bool operator==(const KBitSet& other) const;

    // Stored as a version (1), a count of 32-bit words and the words, lowest first.
    void writeObject(KArchive& archive) const override;
    void readObject(KArchive& archive) override;

    static constexpr std::uint32_t MAX_WORDS = 1u << 16;  // larger stored sets are corrupt

private:
    void trim();
    std::vector<std::uint32_t> words_;
};
