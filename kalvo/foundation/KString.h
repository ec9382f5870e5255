#pragma once

#include <compare>
#include <cstdarg>
#include <cstdint>

#include <kalvo/foundation/KSerializable.h>

// The library's byte string. Comparisons ignore case; searches return NOT_FOUND
// (0xFFFFFFFF, which callers test as -1) when nothing is found. An empty string owns no
// memory: its buffer is one shared, never written text.
class KString : public KSerializable {
public:
    static constexpr unsigned NOT_FOUND = 0xFFFFFFFFu;
    static constexpr unsigned FORMAT_LIMIT = 1024;  // format() keeps its result below this

    KString();
    KString(const KString& other);
    KString(KString&& other) noexcept;
    KString(const char* text);
    KString(const char* text, int start, int count);
    KString(int len, char* buf);  // adopts buf, a block from malloc
    ~KString() override;

    // Class-wide settings.
    static void setIncrement(int n);
    static int getIncrement();
    static void setMaxSize(int n);
    static int getMaxSize();
    static int getInstanceCount();

    // Storage.
    void setSize(unsigned n);
    void ensureCapacity(unsigned n);
    unsigned length() const { return len_; }
    unsigned capacity() const { return capacity_; }
    bool isEmpty() const { return len_ == 0; }
    explicit operator bool() const { return len_ != 0; }
    bool operator!() const { return len_ == 0; }
    const char* c_str() const { return buffer_; }

    KString& assign(const char* text);
    KString& operator=(const KString& other);
    KString& operator=(KString&& other) noexcept;
    KString& operator=(const char* text);

    KString& append(const char* text);
    KString& append(char c);
    KString& operator<<(const KString& text);
    KString& operator<<(const char* text);
    KString& operator<<(char c);

    KString concat(const char* text) const;
    KString concat(char c) const;
    KString operator+(const KString& text) const;
    KString operator+(const char* text) const;
    KString operator+(char c) const;
    KString toString() const;

    char& charAt(unsigned i);
    char& operator[](unsigned i) { return charAt(i); }
    const char& operator[](unsigned i) const;
    KString substring(unsigned start, unsigned count = NOT_FOUND) const;
    KString operator()(unsigned start, unsigned count) const { return substring(start, count); }

    // printf into a bounded buffer; the result is cut at FORMAT_LIMIT - 1 characters.
    KString& format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
    KString& formatV(const char* fmt, va_list args);

    // Comparison, always ignoring case.
    int compareTo(const char* s) const;
    bool equals(const char* s) const { return compareTo(s) == 0; }
    bool equals(const KString& s) const { return compareTo(s.buffer_) == 0; }
    // The other relational operators, in either order, follow from these two pairs.
    bool operator==(const KString& s) const { return compareTo(s.buffer_) == 0; }
    bool operator==(const char* s) const { return compareTo(s) == 0; }
    std::weak_ordering operator<=>(const KString& s) const { return order(compareTo(s.buffer_)); }
    std::weak_ordering operator<=>(const char* s) const { return order(compareTo(s)); }

    // Search.
    bool isAlphaNumeric() const;
    unsigned enumerate(char c) const;
    unsigned indexOf(char c, unsigned from = 0) const;
    unsigned indexOf(const KString& pattern) const;
    unsigned NthChar(char c, unsigned n) const;
    unsigned findCharOf(const KString& set, unsigned from = 0) const;
    unsigned findCharNotOf(const KString& set, unsigned from = 0) const;
    unsigned lastIndexOf(char c, unsigned stop = 0) const;
    unsigned lastIndexOf(const KString& set, unsigned from) const;
    unsigned lastIndexNotOf(const KString& set, unsigned from = 0) const;
    bool startsWith(const char* s, unsigned pos = 0) const;
    bool endsWith(const char* s) const;

    // Tokens.
    KString token(int n, char delim) const;
    KString token(int n, const KString& delims) const;
    KString token(int n, char open, char close) const;

    // In-place edits.
    KString& toUpperCase();
    KString& toLowerCase();
    KString& replace(char from, char to);
    KString& replace(const char* set, char to);

    // Copies.
    KString trim() const;
    KString toDos() const;
    KString toUnix() const;

    void writeObject(KArchive& archive) const override;
    void readObject(KArchive& archive) override;

private:
    static std::weak_ordering order(int c) {
        return c < 0 ? std::weak_ordering::less
                     : (c > 0 ? std::weak_ordering::greater : std::weak_ordering::equivalent);
    }
    bool isShared() const;
    void release();

    char* buffer_;
    unsigned len_;
    unsigned capacity_;
};

KString operator+(const char* left, const KString& right);
