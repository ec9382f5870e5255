#pragma once

#include <utility>
#include <vector>

#include <kalvo/foundation/KString.h>

// Text properties: keys (matched exactly, case included) with their values, kept in the
// order in which the keys were first set.
class KProperties : public KSerializable {
public:
    KProperties() = default;

    int getCount() const { return static_cast<int>(entries_.size()); }
    bool isEmpty() const { return entries_.empty(); }
    bool contains(const char* key) const { return find(key) >= 0; }
    // The index of key, or -1.
    int find(const char* key) const;

    // Replaces the value of an existing key in place; a new key goes to the end.
    // A null key is ignored; a null value is stored as empty.
    void setProperty(const char* key, const char* value);
    // The value of key, or the given default when the key is not there.
    KString getProperty(const char* key, const char* fallback = "") const;
    bool remove(const char* key);
    void clear() { entries_.clear(); }

    // Keys and values by position; empty outside 0..count-1.
    KString getKey(int i) const;
    KString getValue(int i) const;

    bool operator==(const KProperties& other) const;

    // Stored as a version (1), a count, then each key and value as archive strings.
    void writeObject(KArchive& archive) const override;
    void readObject(KArchive& archive) override;

private:
    std::vector<std::pair<KString, KString>> entries_;
};
