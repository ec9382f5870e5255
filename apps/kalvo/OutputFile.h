#pragma once

#include <cstdio>
#include <string>

// Where a command writes its result: standard output, or a file that is written under a
// temporary name beside it and renamed into place only by commit, so that a command that
// fails half way leaves no partial file (and an older file of that name as it was).
class OutputFile {
public:
    // An empty path is standard (the standard output). Raises KException naming the path and the reason
    // when the file cannot be created (a folder of that name, no permission...).
    explicit OutputFile(const std::string& path, FILE* standard = stdout);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    FILE* get() const { return file_; }
    const std::string& getPath() const { return path_; }
    // The file that holds what was written until commit.
    const std::string& getTemporaryPath() const { return temporary_; }
    // Writes out what is buffered and puts the file in place; raises naming the path when
    // writing failed (a full disk).
    void commit();

private:
    std::string path_, temporary_;
    FILE* file_ = nullptr;
    bool committed_ = false;
};
