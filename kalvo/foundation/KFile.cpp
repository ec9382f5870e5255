#include <kalvo/foundation/KFile.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

}  // namespace

KFile::Result KFile::read(const char* path, std::string& bytes) {
    bytes.clear();
    File f(std::fopen(path, "rb"), std::fclose);
    if (!f) return CANNOT_OPEN;
    // Sized from the file first; anything the file has grown by since is appended below.
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (!error && size > 0) {
        bytes.resize(static_cast<size_t>(size));
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), f.get()));
    }
    char block[1 << 16];
    size_t n;
    while ((n = std::fread(block, 1, sizeof block, f.get())) > 0) bytes.append(block, n);
    return std::ferror(f.get()) ? CANNOT_TRANSFER : OK;
}

KFile::Result KFile::write(const char* path, std::string_view bytes) {
    std::FILE* f = std::fopen(path, "wb");
    if (f == nullptr) return CANNOT_OPEN;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && written ? OK : CANNOT_TRANSFER;
}
