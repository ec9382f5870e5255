#include "RecentFiles.h"

#include <algorithm>
#include <fstream>

#include <glib.h>
#include <glib/gstdio.h>

RecentFiles::RecentFiles() {
    const std::string folder = std::string(g_get_user_config_dir()) + "/kalvo";
    file_ = folder + "/recent-files";
    std::ifstream in(file_);
    for (std::string line; std::getline(in, line) && paths_.size() < MAXIMUM;) {
        if (!line.empty()) paths_.push_back(line);
    }
}

void RecentFiles::add(const std::string& path) {
    remove(path);
    paths_.insert(paths_.begin(), path);
    if (paths_.size() > MAXIMUM) paths_.resize(MAXIMUM);
    save();
}

void RecentFiles::remove(const std::string& path) {
    paths_.erase(std::remove(paths_.begin(), paths_.end(), path), paths_.end());
    save();
}

void RecentFiles::save() const {
    const std::string folder = file_.substr(0, file_.rfind('/'));
    g_mkdir_with_parents(folder.c_str(), 0700);
    std::ofstream out(file_);
    for (const std::string& p : paths_) out << p << '\n';
}
