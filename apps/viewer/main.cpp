// The Kalvo viewer: disturbance records in a window. `kalvo view` hands over to it.
#include <malloc.h>

#include <cstdio>
#include <cstring>

#include <kalvo/foundation/KException.h>

#include "ViewerApp.h"
#include "ViewerOptions.h"

int main(int argc, char** argv) {
    // Every frame the window's renderer takes picture buffers of some megabytes and gives
    // them back. Left to the defaults those come fresh from the system each time, and
    // touching their new pages costs a fifth of the viewer's time while a view pans; kept in
    // the heap they are used again. Records' sample arrays are far larger than this and
    // still go back to the system when their tab closes.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 128 << 20);
    try {
        ViewerOptions options(argc, argv);
        if (options.help) {
            std::fputs(ViewerOptions::HELP, stdout);
            return 0;
        }
        if (options.version) {
            std::printf("kalvo view %s\n", KALVO_VERSION);
            return 0;
        }
        ViewerApp app(std::move(options));
        return app.run(argv[0]);
    } catch (const KException& e) {
        std::fprintf(stderr, "kalvo view: %s\n", e.getText().c_str());
        return std::strcmp(e.getTitle().c_str(), "Usage") == 0 ? 2 : 1;
    }
}
