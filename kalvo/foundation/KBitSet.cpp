#include <kalvo/foundation/KBitSet.h>

#include <bit>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>

bool KBitSet::get(int bit) const {
    if (bit < 0) return false;
    const size_t word = static_cast<size_t>(bit) / 32;
    return word < words_.size() && (words_[word] >> (bit % 32) & 1u) != 0;
}

void KBitSet::set(int bit, bool value) {
    if (bit < 0) return;
    const size_t word = static_cast<size_t>(bit) / 32;
    if (word >= words_.size()) {
        if (!value) return;
        words_.resize(word + 1, 0);
    }
    if (value) {
        words_[word] |= 1u << (bit % 32);
    } else {
        words_[word] &= ~(1u << (bit % 32));
        trim();
    }
}

void KBitSet::trim() {
    while (!words_.empty() && words_.back() == 0) words_.pop_back();
}

int KBitSet::length() const {
    if (words_.empty()) return 0;
    return static_cast<int>(words_.size() * 32) - std::countl_zero(words_.back());
}

int KBitSet::cardinality() const {
    int n = 0;
    for (std::uint32_t w : words_) n += std::popcount(w);
    return n;
}

bool KBitSet::operator==(const KBitSet& other) const { return words_ == other.words_; }

void KBitSet::writeObject(KArchive& archive) const {
    archive << std::uint32_t{1};
    archive.writeCount(static_cast<std::uint32_t>(words_.size()));
    for (std::uint32_t w : words_) archive << w;
}

void KBitSet::readObject(KArchive& archive) {
    std::uint32_t version = 0;
    archive >> version;
    const std::uint32_t count = archive.readCount();
    if (count > MAX_WORDS) {
        KException::raise("Archive Error", "Bit set of %u words is too large", count);
    }
    archive.require(size_t{count} * 4);
    words_.assign(count, 0);
    for (std::uint32_t& w : words_) archive >> w;
    trim();
}
