#include "ViewCommand.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

const char* const ViewCommand::NAME = "kalvo-viewer";

namespace {

// The folder of the running program.
std::string ownFolder() {
    std::vector<char> path(4096);
    const ssize_t n = readlink("/proc/self/exe", path.data(), path.size() - 1);
    if (n <= 0) return ".";
    const std::string self(path.data(), static_cast<size_t>(n));
    const size_t slash = self.rfind('/');
    return slash == std::string::npos ? "." : self.substr(0, slash);
}

}  // namespace

int ViewCommand::run(int argc, char** argv) {
    const std::string viewer = ownFolder() + "/" + NAME;
    std::vector<char*> args = {const_cast<char*>(viewer.c_str())};
    for (int i = 2; i < argc; ++i) args.push_back(argv[i]);
    args.push_back(nullptr);
    execv(viewer.c_str(), args.data());
    const int error = errno;
    if (error == ENOENT) {
        std::fprintf(stderr,
                     "kalvo view: the viewer is not installed: no %s beside this kalvo in %s.\n"
                     "It is built when GTK 4 is found (scripts/install-deps.sh installs it).\n",
                     NAME, ownFolder().c_str());
    } else {
        std::fprintf(stderr, "kalvo view: cannot start %s: %s\n", viewer.c_str(),
                     std::strerror(error));
    }
    return 1;
}
