#include <kalvo/foundation/KArchive.h>

#include <bit>
#include <cerrno>
#include <cstring>

#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KFile.h>
#include <kalvo/foundation/KObject.h>

namespace {

constexpr const char* kTitle = "Archive Error";
constexpr std::uint16_t kNullTag = 0;
constexpr std::uint16_t kNewClassTag = 0xFFFF;
constexpr std::uint16_t kClassTag = 0x8000;
constexpr std::uint32_t kBigClassTag = 0x80000000u;
constexpr std::uint16_t kBigObjectTag = 0x7FFF;
constexpr std::uint32_t kMaxMapCount = 0x3FFFFFFE;
constexpr size_t kMaxClassName = 255;

}  // namespace

KArchive::KArchive() : storing_(true) {}

KArchive::KArchive(const void* data, size_t size)
    : bytes_(static_cast<const std::uint8_t*>(data), static_cast<const std::uint8_t*>(data) + size),
      storing_(false) {
    loadMap_.push_back({nullptr, nullptr});
}

KArchive::KArchive(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)), storing_(false) {
    loadMap_.push_back({nullptr, nullptr});
}

KArchive KArchive::fromFile(const char* path) {
    std::string bytes;
    switch (KFile::read(path, bytes)) {
        case KFile::CANNOT_OPEN:
            KException::raise(kTitle, "Cannot open '%s': %s", path, std::strerror(errno));
        case KFile::CANNOT_TRANSFER:
            KException::raise(kTitle, "Cannot read '%s'", path);
        default:
            return KArchive(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
    }
}

void KArchive::saveFile(const char* path) const {
    const KFile::Result result = KFile::write(
        path, std::string_view(reinterpret_cast<const char*>(bytes_.data()), bytes_.size()));
    if (result == KFile::CANNOT_OPEN)
        KException::raise(kTitle, "Cannot create '%s': %s", path, std::strerror(errno));
    if (result == KFile::CANNOT_TRANSFER) KException::raise(kTitle, "Cannot write '%s'", path);
}

void KArchive::corrupt(const char* what) const {
    KException::raise(kTitle, "Corrupt archive at byte %zu: %s", position_, what);
}

void KArchive::require(size_t n) const {
    if (storing_) KException::raise(kTitle, "Reading from an archive that is storing");
    if (n > remaining()) {
        KException::raise(kTitle, "Unexpected end of archive at byte %zu: %zu bytes needed, %zu left",
                          position_, n, remaining());
    }
}

void KArchive::write(const void* data, size_t n) {
    if (!storing_) KException::raise(kTitle, "Writing to an archive that is loading");
    if (n == 0) return;
    const auto* p = static_cast<const std::uint8_t*>(data);
    bytes_.insert(bytes_.end(), p, p + n);
}

void KArchive::read(void* data, size_t n) {
    require(n);
    if (n == 0) return;
    std::memcpy(data, bytes_.data() + position_, n);
    position_ += n;
}

template <class T>
void KArchive::put(T v) {
    std::uint8_t b[sizeof(T)];
    for (size_t i = 0; i < sizeof(T); ++i) b[i] = static_cast<std::uint8_t>(v >> (8 * i));
    write(b, sizeof b);
}

template <class T>
T KArchive::get() {
    std::uint8_t b[sizeof(T)];
    read(b, sizeof b);
    T v = 0;
    for (size_t i = 0; i < sizeof(T); ++i) v = static_cast<T>(v | (static_cast<T>(b[i]) << (8 * i)));
    return v;
}

KArchive& KArchive::operator<<(bool v) { return *this << static_cast<std::uint8_t>(v ? 1 : 0); }
KArchive& KArchive::operator<<(std::int8_t v) { return *this << static_cast<std::uint8_t>(v); }
KArchive& KArchive::operator<<(std::uint8_t v) { write(&v, 1); return *this; }
KArchive& KArchive::operator<<(std::int16_t v) { return *this << static_cast<std::uint16_t>(v); }
KArchive& KArchive::operator<<(std::uint16_t v) { put(v); return *this; }
KArchive& KArchive::operator<<(std::int32_t v) { return *this << static_cast<std::uint32_t>(v); }
KArchive& KArchive::operator<<(std::uint32_t v) { put(v); return *this; }
KArchive& KArchive::operator<<(std::int64_t v) { return *this << static_cast<std::uint64_t>(v); }
KArchive& KArchive::operator<<(std::uint64_t v) { put(v); return *this; }
KArchive& KArchive::operator<<(float v) { return *this << std::bit_cast<std::uint32_t>(v); }
KArchive& KArchive::operator<<(double v) { return *this << std::bit_cast<std::uint64_t>(v); }

KArchive& KArchive::operator>>(bool& v) {
    std::uint8_t b;
    *this >> b;
    v = b != 0;
    return *this;
}
KArchive& KArchive::operator>>(std::int8_t& v) { v = static_cast<std::int8_t>(get<std::uint8_t>()); return *this; }
KArchive& KArchive::operator>>(std::uint8_t& v) { read(&v, 1); return *this; }
KArchive& KArchive::operator>>(std::int16_t& v) { v = static_cast<std::int16_t>(get<std::uint16_t>()); return *this; }
KArchive& KArchive::operator>>(std::uint16_t& v) { v = get<std::uint16_t>(); return *this; }
KArchive& KArchive::operator>>(std::int32_t& v) { v = static_cast<std::int32_t>(get<std::uint32_t>()); return *this; }
KArchive& KArchive::operator>>(std::uint32_t& v) { v = get<std::uint32_t>(); return *this; }
KArchive& KArchive::operator>>(std::int64_t& v) { v = static_cast<std::int64_t>(get<std::uint64_t>()); return *this; }
KArchive& KArchive::operator>>(std::uint64_t& v) { v = get<std::uint64_t>(); return *this; }
KArchive& KArchive::operator>>(float& v) { v = std::bit_cast<float>(get<std::uint32_t>()); return *this; }
KArchive& KArchive::operator>>(double& v) { v = std::bit_cast<double>(get<std::uint64_t>()); return *this; }

void KArchive::writeCount(std::uint32_t count) {
    if (count < 0xFFFF) {
        *this << static_cast<std::uint16_t>(count);
    } else {
        *this << std::uint16_t{0xFFFF} << count;
    }
}

std::int32_t KArchive::readVersion(std::int32_t latest, const char* what) {
    const auto version = get<std::int32_t>();
    if (version < 0 || version > latest) {
        KException::raise(kTitle, "Invalid %s version %d", what, version);
    }
    return version;
}

std::uint32_t KArchive::readCount() {
    const auto w = get<std::uint16_t>();
    return w != 0xFFFF ? w : get<std::uint32_t>();
}

void KArchive::writeString(const char* text) {
    writeString(text, text != nullptr ? std::strlen(text) : 0);
}

void KArchive::writeString(const char* text, size_t length) {
    if (length > 0xFFFFFFFFu) KException::raise(kTitle, "String of %zu bytes is too long to store", length);
    if (length < 255) {
        *this << static_cast<std::uint8_t>(length);
    } else if (length < 0xFFFE) {
        *this << std::uint8_t{0xFF} << static_cast<std::uint16_t>(length);
    } else {
        *this << std::uint8_t{0xFF} << std::uint16_t{0xFFFF} << static_cast<std::uint32_t>(length);
    }
    write(text, length);
}

KString KArchive::readString() {
    size_t length = get<std::uint8_t>();
    if (length == 0xFF) {
        length = get<std::uint16_t>();
        if (length == 0xFFFE) corrupt("wide-character strings are not supported");
        if (length == 0xFFFF) length = get<std::uint32_t>();
    }
    require(length);
    KString text(reinterpret_cast<const char*>(bytes_.data() + position_), 0, static_cast<int>(length));
    position_ += length;
    return text;
}

void KArchive::writeClass(const KClass* c) {
    auto it = storeMap_.find(c);
    if (it != storeMap_.end()) {
        if (it->second < kBigObjectTag) {
            *this << static_cast<std::uint16_t>(kClassTag | it->second);
        } else {
            *this << kBigObjectTag << (kBigClassTag | it->second);
        }
        return;
    }
    const size_t length = std::strlen(c->getClassName());
    *this << kNewClassTag << static_cast<std::uint16_t>(c->getSchema())
          << static_cast<std::uint16_t>(length);
    write(c->getClassName(), length);
    const auto index = static_cast<std::uint32_t>(storeMap_.size() + 1);
    if (index > kMaxMapCount) KException::raise(kTitle, "Too many objects in one archive");
    storeMap_[c] = index;
}

void KArchive::writeObject(const KObject* object) {
    if (object == nullptr) {
        *this << kNullTag;
        return;
    }
    auto it = storeMap_.find(object);
    if (it != storeMap_.end()) {
        if (it->second < kBigObjectTag) {
            *this << static_cast<std::uint16_t>(it->second);
        } else {
            *this << kBigObjectTag << it->second;
        }
        return;
    }
    writeClass(object->getRuntimeClass());
    const auto index = static_cast<std::uint32_t>(storeMap_.size() + 1);
    if (index > kMaxMapCount) KException::raise(kTitle, "Too many objects in one archive");
    storeMap_[object] = index;
    if (++depth_ > MAX_DEPTH) {
        depth_ = 0;
        KException::raise(kTitle, "Objects nested more than %d deep", MAX_DEPTH);
    }
    // Serialize is not const because the same routine loads; storing leaves the object as it is.
    const_cast<KObject*>(object)->Serialize(*this);
    --depth_;
}

const KClass* KArchive::readClassRecord(std::uint32_t& objectTag) {
    const auto tag = get<std::uint16_t>();
    if (tag == kNewClassTag) {
        get<std::uint16_t>();  // schema: each class stores its own version in its fields
        const size_t length = get<std::uint16_t>();
        if (length == 0 || length > kMaxClassName) corrupt("bad class name length");
        require(length);
        KString name(reinterpret_cast<const char*>(bytes_.data() + position_), 0, static_cast<int>(length));
        const KClass* c = KClass::find(name.c_str());
        if (c == nullptr) {
            KException::raise(kTitle, "Unknown class '%s' at byte %zu", name.c_str(), position_);
        }
        position_ += length;
        if (loadMap_.size() > kMaxMapCount) corrupt("too many objects");
        loadMap_.push_back({c, nullptr});
        return c;
    }
    objectTag = tag == kBigObjectTag ? get<std::uint32_t>()
                                     : ((tag & kClassTag) << 16) | (tag & ~kClassTag & 0xFFFF);
    if ((objectTag & kBigClassTag) == 0) return nullptr;  // an object reference, or null
    const std::uint32_t index = objectTag & ~kBigClassTag;
    if (index == 0 || index >= loadMap_.size() || loadMap_[index].cls == nullptr ||
        loadMap_[index].object != nullptr) {
        corrupt("class reference to an unknown index");
    }
    return loadMap_[index].cls;
}

KObject* KArchive::readObject(const KClass* expected) { return readAnyObject(expected, false); }

std::shared_ptr<KObject> KArchive::readSharedObject(const KClass* expected) {
    KObject* object = readAnyObject(expected, true);
    if (object == nullptr) return nullptr;
    return shared_.at(object);
}

KObject* KArchive::readAnyObject(const KClass* expected, bool shared) {
    std::uint32_t objectTag = 0;
    const KClass* c = readClassRecord(objectTag);
    if (c == nullptr) {
        if (objectTag == kNullTag) return nullptr;
        if (objectTag >= loadMap_.size() || loadMap_[objectTag].object == nullptr) {
            corrupt("object reference to an unknown index");
        }
        KObject* object = loadMap_[objectTag].object;
        // An owner that took the object may not meet it again as shared, nor the other way.
        if (shared != (shared_.count(object) != 0)) corrupt("object reference of the wrong kind");
        if (expected != nullptr && !object->isKindOf(expected)) {
            KException::raise(kTitle, "Object of class '%s' where '%s' was expected",
                              object->getClassName(), expected->getClassName());
        }
        return object;
    }
    if (expected != nullptr && !c->isDerivedFrom(expected)) {
        KException::raise(kTitle, "Object of class '%s' where '%s' was expected", c->getClassName(),
                          expected->getClassName());
    }
    KObject* object = c->createObject();
    if (object == nullptr) {
        KException::raise(kTitle, "Class '%s' cannot be created by name", c->getClassName());
    }
    const size_t index = loadMap_.size();
    loadMap_.push_back({nullptr, object});
    if (++depth_ > MAX_DEPTH) {
        delete object;
        loadMap_.back().object = nullptr;
        depth_ = 0;
        KException::raise(kTitle, "Objects nested more than %d deep", MAX_DEPTH);
    }
    try {
        object->Serialize(*this);
    } catch (...) {
        // The half-read object is deleted here and whatever it already adopted goes with it,
        // so nothing read since it was created may be referred to again.
        for (size_t i = index; i < loadMap_.size(); ++i) loadMap_[i].object = nullptr;
        delete object;
        --depth_;
        throw;
    }
    --depth_;
    if (shared) shared_[object] = std::shared_ptr<KObject>(object);
    return object;
}
