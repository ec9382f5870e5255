// The kalvo command: looks into COMTRADE disturbance records.
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include <kalvo/foundation/KException.h>

#include "CommandLine.h"
#include "ConvertCommand.h"
#include "DisplayText.h"
#include "EventsCommand.h"
#include "ExportCommand.h"
#include "HarmonicsCommand.h"
#include "ImpedanceCommand.h"
#include "InfoCommand.h"
#include "PhasorsCommand.h"
#include "RenderCommand.h"
#include "ViewCommand.h"

namespace {

const char* const USAGE =
    "usage: kalvo COMMAND [FILE] [OPTIONS]\n"
    "       kalvo --version\n"
    "\n"
    "Looks into COMTRADE disturbance records (FILE.cfg with FILE.dat, or FILE.cff); without\n"
    "a FILE, into the embedded sample record, a line-to-ground fault.\n"
    "\n"
    "commands:\n"
    "  info       station, device, times, sampling, channels, texts and what was off in the\n"
    "             files (--json for a JSON document)\n"
    "  events     the status channels' states and every change of state, in time order\n"
    "  export     time and channel values as comma-separated text\n"
    "  harmonics  harmonic content of a stretch of the record\n"
    "  phasors    three channels as phasors, with their symmetrical components\n"
    "  convert    the record rewritten in another data file type or revision\n"
    "  impedance  the apparent impedance of fault loops, cycle by cycle, and the zones it\n"
    "             enters\n"
    "  render     a view of the record as a picture: the time graphs, a plot of one\n"
    "             channel against another, the impedance plane, the harmonic or the\n"
    "             phasor analysis\n"
    "  view       the records in a window (kalvo-viewer)\n"
    "\n"
    "kalvo COMMAND --help tells more.\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or written or makes no sense, 2 a\n"
    "usage error (an unknown command or option, a bad value, a channel or time the record\n"
    "does not have).\n";

struct Command {
    const char* name;
    int options;  // CommandLine::Option flags
    const char* help;
    int (*run)(const CommandLine&, FILE*);
};

const Command COMMANDS[] = {
    {"info", CommandLine::INFO, InfoCommand::HELP, InfoCommand::run},
    {"events", CommandLine::CHANNELS, EventsCommand::HELP, EventsCommand::run},
    {"export", CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::OUTPUT,
     ExportCommand::HELP, ExportCommand::run},
    {"harmonics", CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::HARMONICS,
     HarmonicsCommand::HELP, HarmonicsCommand::run},
    {"convert", CommandLine::OUTPUT | CommandLine::CONVERT, ConvertCommand::HELP,
     ConvertCommand::run},
    {"impedance", CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::PLOT, ImpedanceCommand::HELP,
     ImpedanceCommand::run},
    {"phasors", CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::SEQUENCE, PhasorsCommand::HELP,
     PhasorsCommand::run},
    {"render",
     CommandLine::CHANNELS | CommandLine::RANGE | CommandLine::OUTPUT | CommandLine::PICTURE | CommandLine::PLOT |
         CommandLine::SEQUENCE,
     RenderCommand::HELP, RenderCommand::run},
};

}  // namespace

int main(int argc, char** argv) {
    DisplayText::useUtf8();
    if (argc < 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        fputs(USAGE, argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    if (strcmp(argv[1], "--version") == 0) {
        printf("kalvo %s\n", KALVO_VERSION);
        return 0;
    }
    // The window is a program of its own, with options of its own.
    if (strcmp(argv[1], "view") == 0) return ViewCommand::run(argc, argv);
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
            fflush(stdout);
            fprintf(stderr, "kalvo %s: %s\n", command.name,
                    DisplayText::escape(e.getText().c_str()).c_str());
            return strcmp(e.getTitle().c_str(), "Usage") == 0 ? 2 : 1;
        } catch (const std::bad_alloc&) {
            fprintf(stderr, "kalvo %s: not enough memory\n", command.name);
            return 1;
        } catch (const std::exception& e) {
            fprintf(stderr, "kalvo %s: %s\n", command.name, e.what());
            return 1;
        }
    }
    fprintf(stderr, "kalvo: unknown command '%s'\n\n%s", DisplayText::escape(argv[1]).c_str(),
            USAGE);
    return 2;
}
