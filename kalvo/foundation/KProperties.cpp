#include <kalvo/foundation/KProperties.h>

#include <cstring>

#include <kalvo/foundation/KArchive.h>

int KProperties::find(const char* key) const {
    if (key == nullptr) return -1;
    for (size_t i = 0; i < entries_.size(); ++i) {
        if (std::strcmp(entries_[i].first.c_str(), key) == 0) return static_cast<int>(i);
    }
    return -1;
}

void KProperties::setProperty(const char* key, const char* value) {
    if (key == nullptr) return;
    const int i = find(key);
    if (i >= 0) {
        entries_[static_cast<size_t>(i)].second = value;
    } else {
        entries_.emplace_back(KString(key), KString(value));
    }
}

KString KProperties::getProperty(const char* key, const char* fallback) const {
    const int i = find(key);
    return i >= 0 ? entries_[static_cast<size_t>(i)].second : KString(fallback);
}

bool KProperties::remove(const char* key) {
    const int i = find(key);
    if (i < 0) return false;
    entries_.erase(entries_.begin() + i);
    return true;
}

KString KProperties::getKey(int i) const {
    return i >= 0 && i < getCount() ? entries_[static_cast<size_t>(i)].first : KString();
}

KString KProperties::getValue(int i) const {
    return i >= 0 && i < getCount() ? entries_[static_cast<size_t>(i)].second : KString();
}

bool KProperties::operator==(const KProperties& other) const {
    if (entries_.size() != other.entries_.size()) return false;
    for (size_t i = 0; i < entries_.size(); ++i) {
        // Byte comparison: keys and values are data here, not names to match loosely.
        if (std::strcmp(entries_[i].first.c_str(), other.entries_[i].first.c_str()) != 0 ||
            std::strcmp(entries_[i].second.c_str(), other.entries_[i].second.c_str()) != 0) {
            return false;
        }
    }
    return true;
}

void KProperties::writeObject(KArchive& archive) const {
    archive << std::uint32_t{1};
    archive.writeCount(static_cast<std::uint32_t>(entries_.size()));
    for (const auto& [key, value] : entries_) {
        archive.writeString(key);
        archive.writeString(value);
    }
}

void KProperties::readObject(KArchive& archive) {
    std::uint32_t version = 0;
    archive >> version;
    const std::uint32_t count = archive.readCount();
    entries_.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        KString key = archive.readString();
        KString value = archive.readString();
        setProperty(key.c_str(), value.c_str());
    }
}
