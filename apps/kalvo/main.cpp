// The kalvo command: looks into COMTRADE disturbance records.
#include <clocale>
#include <cstdio>
#include <cstring>

#include <kalvo/foundation/KException.h>

#include "CommandLine.h"
#include "ExportCommand.h"
#include "HarmonicsCommand.h"
#include "InfoCommand.h"
#include "RenderCommand.h"

namespace {

const char* const USAGE =
    "usage: kalvo COMMAND [FILE] [OPTIONS]\n"
    "\n"
    "Looks into COMTRADE disturbance records (FILE.cfg with FILE.dat, or FILE.cff); without\n"
    "a FILE, into the embedded sample record, a line-to-ground fault.\n"
    "\n"
    "commands:\n"
    "  info       station, device, times, sampling, channels and what was off in the files\n"
    "  export     time and channel values as comma-separated text\n"
    "  harmonics  harmonic content of a stretch of the record\n"
    "  render     the time graphs of the record as a picture\n"
    "\n"
    "kalvo COMMAND --help tells more.\n";

struct Command {
    const char* name;
    int options;
    const char* help;
    int (*run)(const CommandLine&, FILE*);
};

const Command COMMANDS[] = {
    {"info", 0, InfoCommand::HELP, InfoCommand::run},
    {"export", CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::OUTPUT,
     ExportCommand::HELP, ExportCommand::run},
    {"harmonics", CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::HARMONICS,
     HarmonicsCommand::HELP, HarmonicsCommand::run},
    {"render", CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::OUTPUT | CommandLine::PICTURE,
     RenderCommand::HELP, RenderCommand::run},
};

}  // namespace

int main(int argc, char** argv) {
    setlocale(LC_CTYPE, "");
    if (argc < 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        fputs(USAGE, argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    for (const Command& command : COMMANDS) {
        if (strcmp(argv[1], command.name) != 0) continue;
        try {
            const CommandLine options(argc, argv, 2, command.options);
            if (options.help) {
                fputs(command.help, stdout);
                return 0;
            }
            return command.run(options, stdout);
        } catch (const KException& e) {
            fprintf(stderr, "kalvo %s: %s\n", command.name, e.getText().c_str());
            return strcmp(e.getTitle().c_str(), "Usage") == 0 ? 2 : 1;
        }
    }
    fprintf(stderr, "kalvo: unknown command '%s'\n\n%s", argv[1], USAGE);
    return 2;
}
