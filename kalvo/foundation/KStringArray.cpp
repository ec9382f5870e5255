#include <kalvo/foundation/KStringArray.h>

#include <cstdlib>
#include <cstring>
#include <strings.h>

#include <kalvo/foundation/KArchive.h>

namespace {
char* duplicate(const char* s) {
    char* copy = strdup(s);
    if (copy == nullptr) std::abort();
    return copy;
}
}  // namespace

KStringArray::KStringArray() : items_(0, 8) {}

KStringArray::KStringArray(const KStringArray& other) : KStringArray() { copy(other); }

KStringArray& KStringArray::operator=(const KStringArray& other) {
    if (this != &other) copy(other);
    return *this;
}

KStringArray::~KStringArray() { clear(); }

void KStringArray::copy(const KStringArray& other) {
    if (this == &other) return;
    clear();
    for (int i = 0; i < other.getCount(); ++i) add(other.get(i));
}

bool KStringArray::equals(const KStringArray& other) const {
    for (int i = 0; i < getCount(); ++i) {
        const char* theirs = other.get(i);
        if (theirs == nullptr || std::strcmp(get(i), theirs) != 0) return false;
    }
    return true;
}

void KStringArray::clear() {
    for (int i = 0; i < items_.getCount(); ++i) std::free(items_.get(i));
    items_.removeAll();
}

int KStringArray::match(const char* s, bool caseSensitive) const {
    if (s == nullptr) return -1;
    for (int i = 0; i < getCount(); ++i) {
        const int c = caseSensitive ? std::strcmp(get(i), s) : strcasecmp(get(i), s);
        if (c == 0) return i;
    }
    return -1;
}

void KStringArray::add(const char* s) {
    if (s != nullptr) items_.add(duplicate(s));
}

void KStringArray::merge(const char* s) {
    if (s != nullptr && *s != 0 && match(s, false) < 0) add(s);
}

void KStringArray::merge(const KStringArray& other) {
    for (int i = 0; i < other.getCount(); ++i) merge(other.get(i));
}

void KStringArray::set(int i, const char* s) {
    if (i < 0 || i >= getCount()) return;
    std::free(items_.get(i));
    items_.set(i, duplicate(s != nullptr ? s : ""));
}

void KStringArray::dump(const char* s) {
    const int i = match(s, false);
    if (i >= 0) std::free(items_.remove(i));
}

template <class Adder>
void KStringArray::splitTokens(char* text, const char* delims, Adder adder) {
    if (text == nullptr) return;
    if (delims == nullptr) delims = " \t\n";
    char* state = nullptr;
    for (char* t = strtok_r(text, delims, &state); t != nullptr; t = strtok_r(nullptr, delims, &state)) {
        adder(t);
    }
}

void KStringArray::addTokens(char* text, const char* delims) {
    splitTokens(text, delims, [this](const char* t) { add(t); });
}

void KStringArray::mergeTokens(char* text, const char* delims) {
    splitTokens(text, delims, [this](const char* t) { merge(t); });
}

void KStringArray::mergeTokens(const KString& text, const char* delims) {
    KString copy(text);
    mergeTokens(copy.isEmpty() ? nullptr : &copy[0], delims);
}

KString KStringArray::toString() const {
    KString out;
    for (int i = 0; i < getCount(); ++i) {
        if (i > 0) out << ',';
        out << '"' << get(i) << '"';
    }
    return out;
}

void KStringArray::writeObject(KArchive& archive) const {
    archive << std::uint32_t{1};
    archive.writeCount(static_cast<std::uint32_t>(getCount()));
    for (int i = 0; i < getCount(); ++i) archive.writeString(get(i));
}

void KStringArray::readObject(KArchive& archive) {
    std::uint32_t version = 0;
    archive >> version;
    const std::uint32_t count = archive.readCount();
    for (std::uint32_t i = 0; i < count; ++i) add(archive.readString().c_str());
}
