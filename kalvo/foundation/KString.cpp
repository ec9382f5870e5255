#include <kalvo/foundation/KString.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include <kalvo/foundation/KArchive.h>

namespace {

char emptyText[1] = {0};  // the buffer of every empty string; never written
char dummyChar = 0;       // what charAt gives for an index past the end
// Process-wide settings and the count of live strings: atomic, since records may be read
// on a thread of their own while the interface thread draws.
std::atomic<int> increment{256};
std::atomic<int> maxSize{65535};
std::atomic<int> instanceCount{0};

// Membership of the characters of a set, looked up by byte value.
class CharSet {
public:
    explicit CharSet(const KString& set) {
        for (unsigned i = 0; i < set.length(); ++i) {
            const auto b = static_cast<unsigned char>(set.c_str()[i]);
            bits_[b / 64] |= std::uint64_t{1} << (b % 64);
        }
    }
    bool has(char c) const {
        const auto b = static_cast<unsigned char>(c);
        return (bits_[b / 64] >> (b % 64) & 1u) != 0;
    }

private:
    std::uint64_t bits_[4] = {0, 0, 0, 0};
};

}  // namespace

KString::KString() : buffer_(emptyText), len_(0), capacity_(0) { instanceCount.fetch_add(1, std::memory_order_relaxed); }

KString::KString(const KString& other) : KString() {
    if (other.len_ > 0) {
        setSize(other.len_);
        std::memcpy(buffer_, other.buffer_, other.len_);
        len_ = other.len_;
        buffer_[len_] = 0;
    }
}

KString::KString(KString&& other) noexcept
    : buffer_(other.buffer_), len_(other.len_), capacity_(other.capacity_) {
    instanceCount.fetch_add(1, std::memory_order_relaxed);
    other.buffer_ = emptyText;
    other.len_ = 0;
    other.capacity_ = 0;
}

KString::KString(const char* text) : KString() { assign(text); }

KString::KString(const char* text, int start, int count) : KString() {
    if (text == nullptr || count <= 0) return;
    setSize(static_cast<unsigned>(count));
    std::memcpy(buffer_, text + start, static_cast<size_t>(count));
    len_ = static_cast<unsigned>(count);
    buffer_[len_] = 0;
}

KString::KString(int len, char* buf) : KString() {
    if (buf == nullptr) return;
    buffer_ = buf;
    if (len < 0) {
        buf[0] = 0;
        len_ = 0;
    } else {
        buf[len] = 0;
        len_ = static_cast<unsigned>(len);
    }
    capacity_ = 0;  // the first growth reallocates the adopted block
}

KString::~KString() {
    release();
    instanceCount.fetch_sub(1, std::memory_order_relaxed);
}

void KString::setIncrement(int n) { increment = n >= 256 ? n : 256; }
int KString::getIncrement() { return increment; }
void KString::setMaxSize(int n) { maxSize = n <= 65535 ? n : 65535; }
int KString::getMaxSize() { return maxSize; }
int KString::getInstanceCount() { return instanceCount.load(std::memory_order_relaxed); }

bool KString::isShared() const { return buffer_ == emptyText; }

void KString::release() {
    if (!isShared()) std::free(buffer_);
    buffer_ = emptyText;
    len_ = 0;
    capacity_ = 0;
}

void KString::setSize(unsigned n) {
    if (n == 0) {
        release();
        return;
    }
    char* block;
    if (isShared()) {
        block = static_cast<char*>(std::malloc(size_t{n} + 1));
        if (block == nullptr) std::abort();
        block[0] = 0;
    } else {
        block = static_cast<char*>(std::realloc(buffer_, size_t{n} + 1));
        if (block == nullptr) std::abort();
    }
    buffer_ = block;
    capacity_ = n;
    if (len_ > n) len_ = n;
    buffer_[n] = 0;
    buffer_[len_] = 0;
}

void KString::ensureCapacity(unsigned n) {
    if (capacity_ >= n) return;
    const std::uint64_t step = increment < 16 ? 16 : static_cast<std::uint64_t>(increment);
    std::uint64_t grown = capacity_;
    while (grown < n) grown += step;
    setSize(static_cast<unsigned>(std::min<std::uint64_t>(grown, 0xFFFFFFFEu)));
}

KString& KString::assign(const char* text) {
    if (text == buffer_) return *this;
    if (text == nullptr || *text == 0) {
        setSize(0);
        return *this;
    }
    const size_t n = std::strlen(text);
    if (text > buffer_ && text <= buffer_ + len_) {
        // The text lies inside this string: move it down before shrinking.
        std::memmove(buffer_, text, n);
        len_ = static_cast<unsigned>(n);
        buffer_[len_] = 0;
        setSize(len_);
        return *this;
    }
    setSize(static_cast<unsigned>(n));
    std::memcpy(buffer_, text, n);
    len_ = static_cast<unsigned>(n);
    buffer_[len_] = 0;
    return *this;
}

KString& KString::operator=(const KString& other) {
    if (this == &other) return *this;
    if (other.len_ == 0) {
        setSize(0);
        return *this;
    }
    setSize(other.len_);
    std::memcpy(buffer_, other.buffer_, other.len_);
    len_ = other.len_;
    buffer_[len_] = 0;
    return *this;
}

KString& KString::operator=(KString&& other) noexcept {
    if (this == &other) return *this;
    release();
    std::swap(buffer_, other.buffer_);
    std::swap(len_, other.len_);
    std::swap(capacity_, other.capacity_);
    return *this;
}

KString& KString::operator=(const char* text) { return assign(text); }

KString& KString::append(const char* text) {
    if (text == nullptr || *text == 0) return *this;
    const size_t n = std::strlen(text);
    // Appending a piece of this string: remember where it is, since growing may move it.
    const bool inside = text >= buffer_ && text < buffer_ + len_;
    const size_t offset = inside ? static_cast<size_t>(text - buffer_) : 0;
    ensureCapacity(len_ + static_cast<unsigned>(n));
    std::memmove(buffer_ + len_, inside ? buffer_ + offset : text, n);
    len_ += static_cast<unsigned>(n);
    buffer_[len_] = 0;
    return *this;
}

KString& KString::append(char c) {
    if (c == 0) return *this;  // a zero character appends nothing, as "%c" would
    if (len_ >= capacity_) ensureCapacity(len_ + 1);
    buffer_[len_++] = c;
    buffer_[len_] = 0;
    return *this;
}

KString& KString::operator<<(const KString& text) { return append(text.buffer_); }
KString& KString::operator<<(const char* text) { return append(text); }
KString& KString::operator<<(char c) { return append(c); }

KString KString::concat(const char* text) const {
    KString result(*this);
    result.append(text);
    return result;
}

KString KString::concat(char c) const {
    KString result(*this);
    result.append(c);
    return result;
}

KString KString::operator+(const KString& text) const { return concat(text.buffer_); }
KString KString::operator+(const char* text) const { return concat(text); }
KString KString::operator+(char c) const { return concat(c); }
KString KString::toString() const { return *this; }

KString operator+(const char* left, const KString& right) {
    KString result(left);
    result.append(right.c_str());
    return result;
}

char& KString::charAt(unsigned i) { return i < len_ ? buffer_[i] : dummyChar; }

const char& KString::operator[](unsigned i) const { return i < len_ ? buffer_[i] : dummyChar; }

KString KString::substring(unsigned start, unsigned count) const {
    if (start >= len_) return KString();
    if (count != NOT_FOUND && std::uint64_t{start} + count <= len_) {
        return KString(buffer_, static_cast<int>(start), static_cast<int>(count));
    }
    return KString(buffer_, static_cast<int>(start), static_cast<int>(len_ - start));
}

KString& KString::format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    formatV(fmt, args);
    va_end(args);
    return *this;
}

KString& KString::formatV(const char* fmt, va_list args) {
    char text[FORMAT_LIMIT];
    if (fmt == nullptr || std::vsnprintf(text, sizeof text, fmt, args) < 0) text[0] = 0;
    return assign(text);
}

int KString::compareTo(const char* s) const {
    if (s == nullptr) return len_ != 0 ? -1 : 0;
    return strcasecmp(buffer_, s);
}

bool KString::isAlphaNumeric() const {
    for (unsigned i = 0; i < len_; ++i) {
        if (!std::isalnum(static_cast<unsigned char>(buffer_[i]))) return false;
    }
    return true;
}

unsigned KString::enumerate(char c) const {
    unsigned count = 0;
    for (unsigned i = 0; i < len_; ++i) count += buffer_[i] == c;
    return count;
}

unsigned KString::indexOf(char c, unsigned from) const {
    if (from >= len_) return NOT_FOUND;
    const void* hit = std::memchr(buffer_ + from, c, len_ - from);
    return hit != nullptr ? static_cast<unsigned>(static_cast<const char*>(hit) - buffer_) : NOT_FOUND;
}

unsigned KString::indexOf(const KString& pattern) const {
    const unsigned n = pattern.len_;
    if (n > len_) return NOT_FOUND;
    for (unsigned i = 0; i + n <= len_; ++i) {
        if (strncasecmp(buffer_ + i, pattern.buffer_, n) == 0) return i;
    }
    return NOT_FOUND;
}

unsigned KString::NthChar(char c, unsigned n) const {
    for (unsigned i = 0; i < len_; ++i) {
        if (buffer_[i] == c && n-- == 0) return i;
    }
    return NOT_FOUND;
}

unsigned KString::findCharOf(const KString& set, unsigned from) const {
    const CharSet chars(set);
    for (unsigned i = from; i < len_; ++i) {
        if (chars.has(buffer_[i])) return i;
    }
    return NOT_FOUND;
}

unsigned KString::findCharNotOf(const KString& set, unsigned from) const {
    const CharSet chars(set);
    for (unsigned i = from; i < len_; ++i) {
        if (!chars.has(buffer_[i])) return i;
    }
    return NOT_FOUND;
}

unsigned KString::lastIndexOf(char c, unsigned stop) const {
    if (len_ <= stop) return NOT_FOUND;
    for (unsigned i = len_; i-- > stop;) {
        if (buffer_[i] == c) return i;
    }
    return NOT_FOUND;
}

unsigned KString::lastIndexOf(const KString& set, unsigned from) const {
    const CharSet chars(set);
    for (unsigned i = len_; i-- > from;) {
        if (chars.has(buffer_[i])) return i;
    }
    return NOT_FOUND;
}

unsigned KString::lastIndexNotOf(const KString& set, unsigned from) const {
    const CharSet chars(set);
    for (unsigned i = len_; i-- > from;) {
        if (!chars.has(buffer_[i])) return i;
    }
    return NOT_FOUND;
}

bool KString::startsWith(const char* s, unsigned pos) const {
    if (s == nullptr || pos >= len_) return false;
    return strncasecmp(buffer_ + pos, s, std::strlen(s)) == 0;
}

bool KString::endsWith(const char* s) const {
    if (s == nullptr) return false;
    return startsWith(s, len_ - static_cast<unsigned>(std::strlen(s)));
}

KString KString::token(int n, char delim) const {
    if (n < 0) return KString();
    unsigned start = 0;
    for (int field = 0; field < n; ++field) {
        const unsigned next = indexOf(delim, start);
        if (next == NOT_FOUND) return KString();
        start = next + 1;
    }
    const unsigned end = indexOf(delim, start);
    return KString(buffer_, static_cast<int>(start),
                   static_cast<int>((end == NOT_FOUND ? len_ : end) - start));
}

KString KString::token(int n, const KString& delims) const {
    if (n < 0) return KString();
    const CharSet set(delims);
    unsigned i = 0;
    for (int found = 0;; ++found) {
        while (i < len_ && set.has(buffer_[i])) ++i;
        if (i >= len_) return KString();
        const unsigned start = i;
        while (i < len_ && !set.has(buffer_[i])) ++i;
        if (found == n) return KString(buffer_, static_cast<int>(start), static_cast<int>(i - start));
    }
}

KString KString::token(int n, char open, char close) const {
    int depth = 0;
    int group = -1;
    unsigned start = 0;
    for (unsigned i = 0; i < len_; ++i) {
        const char c = buffer_[i];
        // The close test comes first so that one character can both open and close.
        if (c == close && depth > 0) {
            if (--depth == 0 && group == n) {
                return KString(buffer_, static_cast<int>(start), static_cast<int>(i - start));
            }
        } else if (c == open) {
            if (depth++ == 0) {
                ++group;
                start = i + 1;
            }
        }
    }
    return KString();
}

KString& KString::toUpperCase() {
    for (unsigned i = 0; i < len_; ++i) {
        buffer_[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(buffer_[i])));
    }
    return *this;
}

KString& KString::toLowerCase() {
    for (unsigned i = 0; i < len_; ++i) {
        buffer_[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(buffer_[i])));
    }
    return *this;
}

KString& KString::replace(char from, char to) {
    if (from == 0 || to == 0) return *this;
    for (unsigned i = 0; i < len_; ++i) {
        if (buffer_[i] == from) buffer_[i] = to;
    }
    return *this;
}

KString& KString::replace(const char* set, char to) {
    if (set == nullptr || *set == 0 || to == 0) return *this;
    for (unsigned i = 0; i < len_; ++i) {
        if (std::strchr(set, buffer_[i]) != nullptr && buffer_[i] != 0) buffer_[i] = to;
    }
    return *this;
}

KString KString::trim() const {
    // Bytes are taken as signed, so 0x80 and above count as blank too.
    auto blank = [](char c) { return static_cast<signed char>(c) < 33; };
    unsigned first = 0;
    while (first < len_ && blank(buffer_[first])) ++first;
    unsigned last = len_;
    while (last > first && blank(buffer_[last - 1])) --last;
    return KString(buffer_, static_cast<int>(first), static_cast<int>(last - first));
}

KString KString::toDos() const {
    const unsigned lines = enumerate('\n');
    if (len_ == 0) return KString();
    char* block = static_cast<char*>(std::malloc(size_t{len_} + lines + 1));
    if (block == nullptr) std::abort();
    unsigned n = 0;
    for (unsigned i = 0; i < len_; ++i) {
        if (buffer_[i] == '\n') block[n++] = '\r';
        block[n++] = buffer_[i];
    }
    return KString(static_cast<int>(n), block);
}

KString KString::toUnix() const {
    if (len_ == 0) return KString();
    char* block = static_cast<char*>(std::malloc(size_t{len_} + 1));
    if (block == nullptr) std::abort();
    unsigned n = 0;
    for (unsigned i = 0; i < len_; ++i) {
        if (buffer_[i] == '\r' && i + 1 < len_ && buffer_[i + 1] == '\n') continue;
        block[n++] = buffer_[i];
    }
    return KString(static_cast<int>(n), block);
}

void KString::writeObject(KArchive& archive) const {
    archive << std::uint32_t{1} << std::uint32_t{len_};
    archive.write(buffer_, len_);
}

void KString::readObject(KArchive& archive) {
    setSize(0);
    std::uint32_t version = 0, n = 0;
    archive >> version >> n;
    if (n == 0) return;
    archive.require(n);
    setSize(n);
    archive.read(buffer_, n);
    len_ = n;
    buffer_[len_] = 0;
}
