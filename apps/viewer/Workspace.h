#pragma once

#include <memory>
#include <string>
#include <vector>

#include <kalvo/plot/KImpedanceSettings.h>

class KGraphFrame;

// The whole of what the viewer shows, in one file that opens again as it was: for each tab
// the record's path and title, the view shown, the time graphs in their stored form
// (their graphs, curves with their colours, ranges, markers, and the records themselves,
// so that the file stands on its own) and the impedance settings; which tab was in front.
// Files of the first version, without the settings, open with none.
class Workspace {
public:
    static constexpr const char* EXTENSION = ".kvw";
    static constexpr const char* FILTER = "Kalvo workspace (*.kvw)";

    // A tab as it is stored: its time graphs stay the tab's.
    struct Page {
        std::string path;
        std::string title;
        std::string view;
        const KGraphFrame* frame;
        const KImpedanceSettings* impedance;
    };
    // A tab as it is read back, with time graphs of its own.
    struct LoadedPage {
        std::string path;
        std::string title;
        std::string view;
        std::unique_ptr<KGraphFrame> frame;
        KImpedanceSettings impedance;
    };

    Workspace() = delete;

    // Writes the pages, active being the one in front; what was at the path stays until the
    // file is complete. Raises KException naming the file when it cannot be written.
    static void save(const std::string& path, const std::vector<Page>& pages, int active);
    // Reads a workspace, setting active; raises KException naming the file when it is not
    // one or is damaged.
    static std::vector<LoadedPage> load(const std::string& path, int& active);
};
