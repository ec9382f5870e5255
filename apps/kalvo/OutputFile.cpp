#include "OutputFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <kalvo/foundation/KException.h>

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
    KException::raise("Output", "%s: %s", path.c_str(), std::strerror(error));
}

}  // namespace

OutputFile::OutputFile(const std::string& path, FILE* standard) : path_(path) {
    if (path.empty()) {
        file_ = standard;
        return;
    }
    struct stat info;
    if (stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) fail(path, EISDIR);
    const std::filesystem::path p(path);
    temporary_ = (p.parent_path() / (".kalvo-" + std::to_string(getpid()) + "-" +
                                     p.filename().string()))
                     .string();
    file_ = fopen(temporary_.c_str(), "wb");
    if (file_ == nullptr) fail(path, errno);
}

OutputFile::~OutputFile() {
    if (path_.empty() || committed_) return;
    if (file_ != nullptr) fclose(file_);
    std::remove(temporary_.c_str());
}

void OutputFile::commit() {
    if (path_.empty()) {
        if (fflush(file_) != 0 || ferror(file_)) fail("standard output", errno);
        return;
    }
    const bool written = fflush(file_) == 0 && !ferror(file_);
    const int error = errno;
    const bool closed = fclose(file_) == 0;
    file_ = nullptr;
    if (!written || !closed) fail(path_, written ? errno : error);
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) fail(path_, errno);
    committed_ = true;
}
