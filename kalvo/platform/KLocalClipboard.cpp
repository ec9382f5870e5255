#include <kalvo/platform/KLocalClipboard.h>

#include <cstring>

bool KLocalClipboard::open(HWND owner) {
    if (open_) return false;
    open_ = true;
    owner_ = owner;
    return true;
}

void KLocalClipboard::close() {
    open_ = false;
}

bool KLocalClipboard::empty() {
    if (!open_) return false;
    data_.clear();
    return true;
}

bool KLocalClipboard::setData(unsigned format, const void* data, size_t size) {
    if (!open_ || format == 0 || (data == nullptr && size > 0)) return false;
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    data_[format].assign(bytes, bytes + size);
    return true;
}

bool KLocalClipboard::isFormatAvailable(unsigned format) const {
    return data_.count(format) != 0;
}

bool KLocalClipboard::getDataSize(unsigned format, size_t& size) const {
    const auto it = data_.find(format);
    if (!open_ || it == data_.end()) return false;
    size = it->second.size();
    return true;
}

size_t KLocalClipboard::getData(unsigned format, void* buffer, size_t size) const {
    const auto it = data_.find(format);
    if (!open_ || it == data_.end() || buffer == nullptr) return 0;
    const size_t n = size < it->second.size() ? size : it->second.size();
    if (n > 0) std::memcpy(buffer, it->second.data(), n);
    return n;
}
