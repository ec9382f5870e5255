// The Kalvo viewer: disturbance records in a window. `kalvo view` hands over to it.
#include <cstdio>
#include <cstring>

#include <kalvo/foundation/KException.h>

#include "ViewerApp.h"
#include "ViewerOptions.h"

int main(int argc, char** argv) {
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
