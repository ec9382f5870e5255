#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include <kalvo/foundation/KString.h>

class KClass;
class KObject;

// A binary archive in memory, either storing or loading. Integers and doubles are
// little-endian; strings, counts and run-time typed objects use the classic framework
// archive encoding, so that stored objects read back byte for byte. Reading past the end,
// or input that does not make sense, raises a KException titled "Archive Error".
class KArchive {
public:
    KArchive();                                // storing
    KArchive(const void* data, size_t size);  // loading a copy of the bytes
    explicit KArchive(std::vector<std::uint8_t> bytes);  // loading

    // Loading from and saving to a file; failures raise a KException naming the file.
    static KArchive fromFile(const char* path);
    void saveFile(const char* path) const;

    bool isStoring() const { return storing_; }
    bool isLoading() const { return !storing_; }
    const std::vector<std::uint8_t>& getBuffer() const { return bytes_; }
    size_t getPosition() const { return position_; }
    size_t remaining() const { return bytes_.size() - position_; }
    // Raises unless at least n more bytes can be read.
    void require(size_t n) const;

    void write(const void* data, size_t n);
    void read(void* data, size_t n);

    KArchive& operator<<(bool v);
    KArchive& operator<<(std::int8_t v);
    KArchive& operator<<(std::uint8_t v);
    KArchive& operator<<(std::int16_t v);
    KArchive& operator<<(std::uint16_t v);
    KArchive& operator<<(std::int32_t v);
    KArchive& operator<<(std::uint32_t v);
    KArchive& operator<<(std::int64_t v);
    KArchive& operator<<(std::uint64_t v);
    KArchive& operator<<(float v);
    KArchive& operator<<(double v);
    KArchive& operator>>(bool& v);
    KArchive& operator>>(std::int8_t& v);
    KArchive& operator>>(std::uint8_t& v);
    KArchive& operator>>(std::int16_t& v);
    KArchive& operator>>(std::uint16_t& v);
    KArchive& operator>>(std::int32_t& v);
    KArchive& operator>>(std::uint32_t& v);
    KArchive& operator>>(std::int64_t& v);
    KArchive& operator>>(std::uint64_t& v);
    KArchive& operator>>(float& v);
    KArchive& operator>>(double& v);

    // The 32-bit version a class level stores first; raises "Invalid <what> version <n>"
    // unless it is 0 to latest.
    std::int32_t readVersion(std::int32_t latest, const char* what);

    // Element counts: 16 bits, or 0xFFFF followed by 32 bits.
    void writeCount(std::uint32_t count);
    std::uint32_t readCount();

    // Strings: a length of one byte, or 0xFF and 16 bits, or 0xFF, 0xFFFF and 32 bits,
    // then the characters without a terminator.
    void writeString(const char* text);
    void writeString(const char* text, size_t length);
    void writeString(const KString& text) { writeString(text.c_str(), text.length()); }
    KString readString();

    // Run-time typed objects: a class record the first time a class is met, a class
    // reference after that, and an object reference for an object already stored.
    void writeObject(const KObject* object);
    // A new object (owned by the caller) or one read before; null for a null record.
    // When expected is given, an object of another class raises.
    KObject* readObject(const KClass* expected = nullptr);
    // As readObject, for objects that several owners share: an object met again comes back
    // as the same shared object, however many owners it was stored for. An object read one
    // way and referred to again the other way raises.
    std::shared_ptr<KObject> readSharedObject(const KClass* expected = nullptr);

    static constexpr int MAX_DEPTH = 256;  // nesting of objects inside objects

private:
    [[noreturn]] void corrupt(const char* what) const;
    KObject* readAnyObject(const KClass* expected, bool shared);
    const KClass* readClassRecord(std::uint32_t& objectTag);
    void writeClass(const KClass* c);
    template <class T>
    void put(T v);
    template <class T>
    T get();

    std::vector<std::uint8_t> bytes_;
    size_t position_ = 0;
    bool storing_;
    int depth_ = 0;
    // Storing: index of each class and object already written (0 is the null tag).
    std::unordered_map<const void*, std::uint32_t> storeMap_;
    // Loading: what each index stands for.
    struct Entry {
        const KClass* cls;
        KObject* object;
    };
    std::vector<Entry> loadMap_;
    // Loading: the objects read as shared, kept for their later references.
    std::unordered_map<const KObject*, std::shared_ptr<KObject>> shared_;
};
