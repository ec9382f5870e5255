#include "Workspace.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KGraphFrame.h>
#include <kalvo/graph/KGraphPanel.h>

#include "OutputFile.h"

namespace {

constexpr const char* MAGIC = "Kalvo workspace";
// 2: the impedance settings after each tab's active graph.
constexpr std::int32_t VERSION = 2;

}  // namespace

void Workspace::save(const std::string& path, const std::vector<Page>& pages, int active) {
    KArchive archive;
    archive.writeString(MAGIC);
    archive << VERSION << static_cast<std::int32_t>(active);
    archive.writeCount(static_cast<std::uint32_t>(pages.size()));
    for (const Page& page : pages) {
        archive.writeString(page.path.c_str());
        archive.writeString(page.title.c_str());
        archive.writeString(page.view.c_str());
        archive.writeObject(page.frame);
        // Which graph is active is the frame's state of the moment, not part of its stored
        // form; the workspace keeps it too, for the tab to come back as it was.
        std::vector<KGraphPanel*> graphs;
        page.frame->getGraphList(graphs);
        const auto active = std::find(graphs.begin(), graphs.end(), page.frame->getActiveGraph());
        archive << static_cast<std::int32_t>(active == graphs.end() ? -1 : active - graphs.begin());
        archive.writeObject(page.impedance);
    }
    OutputFile output(path);
    try {
        archive.saveFile(output.getTemporaryPath().c_str());
    } catch (const KException&) {
        KException::raise("Workspace", "%s: cannot be written", path.c_str());
    }
    output.commit();
}

std::vector<Workspace::LoadedPage> Workspace::load(const std::string& path, int& active) {
    KArchive archive = KArchive::fromFile(path.c_str());
    std::vector<LoadedPage> pages;
    try {
        // The name is looked at as bytes first: any file of the right size would otherwise
        // be read as a string and called damaged.
        const std::string magic = std::string(1, static_cast<char>(std::strlen(MAGIC))) + MAGIC;
        const std::vector<std::uint8_t>& bytes = archive.getBuffer();
        if (bytes.size() < magic.size() || !std::equal(magic.begin(), magic.end(), bytes.begin())) {
            KException::raise("Workspace", "%s: not a Kalvo workspace", path.c_str());
        }
        archive.readString();
        const std::int32_t version = archive.readVersion(VERSION, "workspace");
        std::int32_t front = 0;
        archive >> front;
        const std::uint32_t count = archive.readCount();
        for (std::uint32_t i = 0; i < count; ++i) {
            LoadedPage page;
            page.path = archive.readString().c_str();
            page.title = archive.readString().c_str();
            page.view = archive.readString().c_str();
            page.frame.reset(static_cast<KGraphFrame*>(archive.readObject(K_CLASS(KGraphFrame))));
            if (page.frame == nullptr)
                KException::raise("Workspace", "tab %u holds no time graphs", i + 1);
            std::int32_t activeGraph = -1;
            archive >> activeGraph;
            std::vector<KGraphPanel*> graphs;
            page.frame->getGraphList(graphs);
            if (activeGraph >= 0 && activeGraph < static_cast<std::int32_t>(graphs.size())) {
                page.frame->setActiveGraph(graphs[static_cast<size_t>(activeGraph)]);
            }
            if (version >= 2) {
                std::unique_ptr<KObject> impedance(
                    archive.readObject(K_CLASS(KImpedanceSettings)));
                if (impedance == nullptr)
                    KException::raise("Workspace", "tab %u holds no impedance settings", i + 1);
                page.impedance.copy(*impedance);
            }
            pages.push_back(std::move(page));
        }
        active = front >= 0 && front < static_cast<std::int32_t>(count) ? front : 0;
    } catch (const KException& e) {
        if (e.getText().indexOf(KString(path.c_str())) != KString::NOT_FOUND) throw;
        KException::raise("Workspace", "%s: damaged workspace (%s)", path.c_str(),
                          e.getText().c_str());
    }
    return pages;
}
