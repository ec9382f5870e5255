#pragma once

#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KVectorBuffer.h>

// An ordered list of owned text copies with case-insensitive matching and set-like merging.
class KStringArray : public KSerializable {
public:
    KStringArray();
    KStringArray(const KStringArray& other);
    KStringArray& operator=(const KStringArray& other);
    ~KStringArray() override;

    void copy(const KStringArray& other);
    // Element by element, byte for byte, over this array's count only.
    bool equals(const KStringArray& other) const;
    bool operator==(const KStringArray& other) const { return equals(other); }

    int getCount() const { return items_.getCount(); }
    void clear();
    int match(const char* s, bool caseSensitive = false) const;
    void add(const char* s);
    void merge(const char* s);
    void merge(const KStringArray& other);
    // The i-th text; null outside 0..count-1.
    const char* get(int i) const { return static_cast<const char*>(items_.get(i)); }
    void set(int i, const char* s);
    void dump(const char* s);

    // Split text in place at any of delims (space, tab and line feed when null).
    void addTokens(char* text, const char* delims = nullptr);
    void mergeTokens(char* text, const char* delims = nullptr);
    void mergeTokens(const KString& text, const char* delims = nullptr);

    KString toString() const;

    void writeObject(KArchive& archive) const override;
    void readObject(KArchive& archive) override;

private:
    template <class Adder>
    static void splitTokens(char* text, const char* delims, Adder adder);

    KVectorBuffer items_;
};
