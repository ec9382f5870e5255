#pragma once

#include <string>
#include <vector>

// The records and workspaces opened last, newest first, kept in the user's configuration
// folder (kalvo/recent-files, a path a line) so that the next start offers them again.
class RecentFiles {
public:
    static constexpr size_t MAXIMUM = 10;

    // Reads the list of the configuration folder.
    RecentFiles();
    const std::vector<std::string>& getPaths() const { return paths_; }
    // Puts the path first (once) and writes the list back.
    void add(const std::string& path);
    // Takes a path that is gone off the list.
    void remove(const std::string& path);
    const std::string& getFile() const { return file_; }

private:
    void save() const;

    std::string file_;
    std::vector<std::string> paths_;
};
