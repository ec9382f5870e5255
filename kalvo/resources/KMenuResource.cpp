#include <kalvo/resources/KMenuResource.h>

#include <cstring>
#include <iterator>

namespace {

template <class Match>
const KMenuResource::Item* search(const KMenuResource::Item* items, int count, Match match) {
    for (int i = 0; i < count; ++i) {
        const KMenuResource::Item& item = items[i];
        if (item.items != nullptr) {
            if (const KMenuResource::Item* found = search(item.items, item.count, match)) {
                return found;
            }
        } else if (item.text != nullptr && match(item)) {
            return &item;
        }
    }
    return nullptr;
}

using Item = KMenuResource::Item;

// Command numbers shared by the component menus.
constexpr unsigned CUT = 32801, COPY = 32802, PASTE = 32803, BACK = 32804, FORWARD = 32805,
                   METAFILE = 32806;

const Item componentItems[] = {
    {"Cu&t\tCtrl+X", CUT, "CLIP.ALL", nullptr, 0},
    {"&Copy\tCtrl+C", COPY, "CLIP.RANGE", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Save as &Metafile...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

const Item containerItems[] = {
    {"Cu&t\tCtrl+X", CUT, "CLIP.ALL", nullptr, 0},
    {"&Copy\tCtrl+C", COPY, "CLIP.RANGE", nullptr, 0},
    {"&Paste\tCtrl+V", PASTE, "PASTE.ALL", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Move &Back", BACK, "COL.LEFT", nullptr, 0},
    {"Move &Forward", FORWARD, "COL.RIGHT", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Save as &Metafile...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

// The graphs' menus. The accelerators after the tab are the keys the graphs take.
constexpr unsigned COPY_ALL_DATA = 805, COPY_VISIBLE_DATA = 810;
constexpr unsigned GRAPH_FIRST = 33001;

const Item analogGraphItems[] = {
    {"Zoom In\t+", GRAPH_FIRST + 0, "GRAPH.ZOOMIN", nullptr, 0},
    {"Zoom Out\t-", GRAPH_FIRST + 1, "GRAPH.ZOOMOUT", nullptr, 0},
    {"Previous\tP", GRAPH_FIRST + 2, "GRAPH.PREVIOUS", nullptr, 0},
    {"Next\tN", GRAPH_FIRST + 3, "GRAPH.NEXT", nullptr, 0},
    {"X Extents\tX", GRAPH_FIRST + 4, "GRAPH.XEXTENTS", nullptr, 0},
    {"Y Extents\tY", GRAPH_FIRST + 5, "GRAPH.YEXTENTS", nullptr, 0},
    {"Reset All\tR", GRAPH_FIRST + 6, "GRAPH.RESET", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Grid Lines\tG", GRAPH_FIRST + 7, "GRAPH.GRID", nullptr, 0},
    {"Tick Marks\tI", GRAPH_FIRST + 8, "GRAPH.TICKS", nullptr, 0},
    {"Curve Glyphs\tL", GRAPH_FIRST + 9, "GRAPH.GLYPHS", nullptr, 0},
    {"Show Trigger\tT", GRAPH_FIRST + 10, "GRAPH.TRIGGER", nullptr, 0},
    {"Show Markers\tM", GRAPH_FIRST + 11, "GRAPH.MARKERS", nullptr, 0},
    {"Show Offset Control\tO", GRAPH_FIRST + 12, "GRAPH.OFFSET", nullptr, 0},
    {"Show X Intercept\tQ", GRAPH_FIRST + 13, "GRAPH.XINTER", nullptr, 0},
    {"Show Y Intercept\tW", GRAPH_FIRST + 14, "GRAPH.YINTER", nullptr, 0},
    {"Show Cross Hair\tC", GRAPH_FIRST + 15, "GRAPH.CROSSHAIR", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Visible Data to Clipboard", COPY_VISIBLE_DATA, "CURVE.COPY.VISIBLE", nullptr, 0},
    {"Copy All Data to Clipboard", COPY_ALL_DATA, "CURVE.COPY.ALL", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Move Graph Up", GRAPH_FIRST + 16, "GRAPH.UP", nullptr, 0},
    {"Move Graph Down", GRAPH_FIRST + 17, "GRAPH.DOWN", nullptr, 0},
    {"Move Graph to Top", GRAPH_FIRST + 18, "GRAPH.TOP", nullptr, 0},
    {"Move Graph to Bottom", GRAPH_FIRST + 19, "GRAPH.BOTTOM", nullptr, 0},
};

// Status graphs: their values have fixed places, so there is nothing to zoom or shift.
const Item digitalGraphItems[] = {
    {"Zoom In\t+", GRAPH_FIRST + 0, "GRAPH.ZOOMIN", nullptr, 0},
    {"Zoom Out\t-", GRAPH_FIRST + 1, "GRAPH.ZOOMOUT", nullptr, 0},
    {"Previous\tP", GRAPH_FIRST + 2, "GRAPH.PREVIOUS", nullptr, 0},
    {"Next\tN", GRAPH_FIRST + 3, "GRAPH.NEXT", nullptr, 0},
    {"X Extents\tX", GRAPH_FIRST + 4, "GRAPH.XEXTENTS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Grid Lines\tG", GRAPH_FIRST + 7, "GRAPH.GRID", nullptr, 0},
    {"Tick Marks\tI", GRAPH_FIRST + 8, "GRAPH.TICKS", nullptr, 0},
    {"Show Trigger\tT", GRAPH_FIRST + 10, "GRAPH.TRIGGER", nullptr, 0},
    {"Show Markers\tM", GRAPH_FIRST + 11, "GRAPH.MARKERS", nullptr, 0},
    {"Show Cross Hair\tC", GRAPH_FIRST + 15, "GRAPH.CROSSHAIR", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Visible Data to Clipboard", COPY_VISIBLE_DATA, "CURVE.COPY.VISIBLE", nullptr, 0},
    {"Copy All Data to Clipboard", COPY_ALL_DATA, "CURVE.COPY.ALL", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Move Graph Up", GRAPH_FIRST + 16, "GRAPH.UP", nullptr, 0},
    {"Move Graph Down", GRAPH_FIRST + 17, "GRAPH.DOWN", nullptr, 0},
    {"Move Graph to Top", GRAPH_FIRST + 18, "GRAPH.TOP", nullptr, 0},
    {"Move Graph to Bottom", GRAPH_FIRST + 19, "GRAPH.BOTTOM", nullptr, 0},
};

const Item graphFrameItems[] = {
    {"Frame &Properties...", GRAPH_FIRST + 40, "FRAME.PROPERTIES", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"C&ut Frame", CUT, "CLIP.ALL", nullptr, 0},
    {"&Copy Frame", COPY, "CLIP.RANGE", nullptr, 0},
    {"&Paste Graph", PASTE, "PASTE.ALL", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Add Analog Graph\tIns", GRAPH_FIRST + 41, "FRAME.ADD.ANALOG", nullptr, 0},
    {"Add Digital Graph", GRAPH_FIRST + 42, "FRAME.ADD.DIGITAL", nullptr, 0},
    {"Add Bar Graph", GRAPH_FIRST + 43, "FRAME.ADD.BAR", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Toggle Markers \tM", GRAPH_FIRST + 44, "FRAME.MARKERS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Send to &Back", BACK, "COL.LEFT", nullptr, 0},
    {"Bring to &Front", FORWARD, "COL.RIGHT", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Frame as Bitmap", GRAPH_FIRST + 45, "FRAME.COPY.BITMAP", nullptr, 0},
    {"Copy Frame as Picture", GRAPH_FIRST + 46, "FRAME.COPY.PICTURE", nullptr, 0},
    {"Export Frame to Meta File...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

// Bar graphs: the analog graph's commands, with their display choices; "Curve Glyphs" is
// their hatch.
const Item barGraphItems[] = {
    {"Zoom In\t+", GRAPH_FIRST + 0, "GRAPH.ZOOMIN", nullptr, 0},
    {"Zoom Out\t-", GRAPH_FIRST + 1, "GRAPH.ZOOMOUT", nullptr, 0},
    {"Previous\tP", GRAPH_FIRST + 2, "GRAPH.PREVIOUS", nullptr, 0},
    {"Next\tN", GRAPH_FIRST + 3, "GRAPH.NEXT", nullptr, 0},
    {"X Extents\tX", GRAPH_FIRST + 4, "GRAPH.XEXTENTS", nullptr, 0},
    {"Y Extents\tY", GRAPH_FIRST + 5, "GRAPH.YEXTENTS", nullptr, 0},
    {"Reset All\tR", GRAPH_FIRST + 6, "GRAPH.RESET", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Bars", GRAPH_FIRST + 80, "BAR.BARS", nullptr, 0},
    {"Columns", GRAPH_FIRST + 81, "BAR.COLUMNS", nullptr, 0},
    {"Columns Filled", GRAPH_FIRST + 82, "BAR.FILLED", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Overlay", GRAPH_FIRST + 83, "BAR.OVERLAY", nullptr, 0},
    {"Offset", GRAPH_FIRST + 84, "BAR.OFFSET", nullptr, 0},
    {"Stack", GRAPH_FIRST + 85, "BAR.STACK", nullptr, 0},
    {"Show Hatch\tL", GRAPH_FIRST + 9, "GRAPH.GLYPHS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Grid Lines\tG", GRAPH_FIRST + 7, "GRAPH.GRID", nullptr, 0},
    {"Tick Marks\tI", GRAPH_FIRST + 8, "GRAPH.TICKS", nullptr, 0},
    {"Show Trigger\tT", GRAPH_FIRST + 10, "GRAPH.TRIGGER", nullptr, 0},
    {"Show Markers\tM", GRAPH_FIRST + 11, "GRAPH.MARKERS", nullptr, 0},
    {"Show Offset Control\tO", GRAPH_FIRST + 12, "GRAPH.OFFSET", nullptr, 0},
    {"Show X Intercept\tQ", GRAPH_FIRST + 13, "GRAPH.XINTER", nullptr, 0},
    {"Show Y Intercept\tW", GRAPH_FIRST + 14, "GRAPH.YINTER", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Visible Data to Clipboard", COPY_VISIBLE_DATA, "CURVE.COPY.VISIBLE", nullptr, 0},
    {"Copy All Data to Clipboard", COPY_ALL_DATA, "CURVE.COPY.ALL", nullptr, 0},
    {"Properties...", GRAPH_FIRST + 86, "BAR.PROPERTIES", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Move Graph Up", GRAPH_FIRST + 16, "GRAPH.UP", nullptr, 0},
    {"Move Graph Down", GRAPH_FIRST + 17, "GRAPH.DOWN", nullptr, 0},
    {"Move Graph to Top", GRAPH_FIRST + 18, "GRAPH.TOP", nullptr, 0},
    {"Move Graph to Bottom", GRAPH_FIRST + 19, "GRAPH.BOTTOM", nullptr, 0},
};

// The harmonic analysis: the spectrum's graph, its frame, the phasor diagrams, tables.
const Item freqGraphItems[] = {
    {"Magnitude\tA", GRAPH_FIRST + 90, "FREQ.MAGNITUDE", nullptr, 0},
    {"Phase\tH", GRAPH_FIRST + 91, "FREQ.PHASE", nullptr, 0},
    {"Frequency in Harmonics\tF", GRAPH_FIRST + 92, "FREQ.NORMALIZE.X", nullptr, 0},
    {"Relative to the Fundamental\tU", GRAPH_FIRST + 93, "FREQ.NORMALIZE.Y", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Bars", GRAPH_FIRST + 80, "BAR.BARS", nullptr, 0},
    {"Columns", GRAPH_FIRST + 81, "BAR.COLUMNS", nullptr, 0},
    {"Columns Filled", GRAPH_FIRST + 82, "BAR.FILLED", nullptr, 0},
    {"Overlay", GRAPH_FIRST + 83, "BAR.OVERLAY", nullptr, 0},
    {"Offset", GRAPH_FIRST + 84, "BAR.OFFSET", nullptr, 0},
    {"Show Hatch\tL", GRAPH_FIRST + 9, "GRAPH.GLYPHS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Zoom In\t+", GRAPH_FIRST + 0, "GRAPH.ZOOMIN", nullptr, 0},
    {"Zoom Out\t-", GRAPH_FIRST + 1, "GRAPH.ZOOMOUT", nullptr, 0},
    {"X Extents\tX", GRAPH_FIRST + 4, "GRAPH.XEXTENTS", nullptr, 0},
    {"Y Extents\tY", GRAPH_FIRST + 5, "GRAPH.YEXTENTS", nullptr, 0},
    {"Grid Lines\tG", GRAPH_FIRST + 7, "GRAPH.GRID", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Visible Data to Clipboard", COPY_VISIBLE_DATA, "CURVE.COPY.VISIBLE", nullptr, 0},
    {"Copy All Data to Clipboard", COPY_ALL_DATA, "CURVE.COPY.ALL", nullptr, 0},
};

const Item analysisFrameItems[] = {
    {"Toggle Markers \tM", GRAPH_FIRST + 44, "FRAME.MARKERS", nullptr, 0},
    {"Lock Markers", GRAPH_FIRST + 60, "AXIS.LOCK", nullptr, 0},
    {"Recompute", GRAPH_FIRST + 94, "update", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Frame as Bitmap", GRAPH_FIRST + 45, "FRAME.COPY.BITMAP", nullptr, 0},
    {"Copy Frame as Picture", GRAPH_FIRST + 46, "FRAME.COPY.PICTURE", nullptr, 0},
    {"Export Frame to Meta File...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

const Item phasorPanelItems[] = {
    {"Angle Labels\tD", GRAPH_FIRST + 95, "PHASOR.DEGREES", nullptr, 0},
    {"Number Labels\tN", GRAPH_FIRST + 96, "PHASOR.NUMBERS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Save as &Metafile...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

const Item tableItems[] = {
    {"Copy Table\tCtrl+C", GRAPH_FIRST + 97, "TABLE.COPY", nullptr, 0},
};

const Item axisItems[] = {
    {"Toggle Markers \tM", GRAPH_FIRST + 44, "FRAME.MARKERS", nullptr, 0},
    {"Lock Markers", GRAPH_FIRST + 60, "AXIS.LOCK", nullptr, 0},
    {"Go to Marker X", GRAPH_FIRST + 61, "AXIS.FOCUS.X", nullptr, 0},
    {"Go to Marker O", GRAPH_FIRST + 62, "AXIS.FOCUS.O", nullptr, 0},
    {"Go to Trigger", GRAPH_FIRST + 63, "AXIS.FOCUS.T", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Enable Minor Grids", GRAPH_FIRST + 64, "AXIS.MINOR", nullptr, 0},
    {"Snap Range to the Grid", GRAPH_FIRST + 65, "AXIS.SNAP", nullptr, 0},
};

const Item curveItems[] = {
    {"Copy Visible Data to Clipboard", COPY_VISIBLE_DATA, "CLIP.RANGE", nullptr, 0},
    {"Copy All Data to Clipboard", COPY_ALL_DATA, "CLIP.ALL", nullptr, 0},
};

// The plots' menus: the graphs' zoom and display commands where they apply, and the plot's
// own.
constexpr unsigned PLOT_FIRST = 33201;

const Item plotItems[] = {
    {"Zoom In\t+", GRAPH_FIRST + 0, "GRAPH.ZOOMIN", nullptr, 0},
    {"Zoom Out\t-", GRAPH_FIRST + 1, "GRAPH.ZOOMOUT", nullptr, 0},
    {"Previous\tP", GRAPH_FIRST + 2, "GRAPH.PREVIOUS", nullptr, 0},
    {"Next\tN", GRAPH_FIRST + 3, "GRAPH.NEXT", nullptr, 0},
    {"Extents\tX", GRAPH_FIRST + 4, "GRAPH.XEXTENTS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"XY Plot\t1", PLOT_FIRST + 0, "PLOT.XY", nullptr, 0},
    {"Polar Plot\t2", PLOT_FIRST + 1, "PLOT.POLAR", nullptr, 0},
    {"Scatter Plot\t3", PLOT_FIRST + 2, "PLOT.SCATTER", nullptr, 0},
    {"Equal Scaling\tE", PLOT_FIRST + 3, "PLOT.EQUAL", nullptr, 0},
    {"Color by Time\tT", PLOT_FIRST + 4, "PLOT.TIMECOLOR", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Grid Lines\tG", GRAPH_FIRST + 7, "GRAPH.GRID", nullptr, 0},
    {"Tick Marks\tI", GRAPH_FIRST + 8, "GRAPH.TICKS", nullptr, 0},
    {"Show X Intercept\tQ", GRAPH_FIRST + 13, "GRAPH.XINTER", nullptr, 0},
    {"Show Y Intercept\tW", GRAPH_FIRST + 14, "GRAPH.YINTER", nullptr, 0},
    {"Show Cross Hair\tC", GRAPH_FIRST + 15, "GRAPH.CROSSHAIR", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Visible Data to Clipboard", COPY_VISIBLE_DATA, "CURVE.COPY.VISIBLE", nullptr, 0},
    {"Copy All Data to Clipboard", COPY_ALL_DATA, "CURVE.COPY.ALL", nullptr, 0},
};

const Item impedanceItems[] = {
    {"Zoom In\t+", GRAPH_FIRST + 0, "GRAPH.ZOOMIN", nullptr, 0},
    {"Zoom Out\t-", GRAPH_FIRST + 1, "GRAPH.ZOOMOUT", nullptr, 0},
    {"Previous\tP", GRAPH_FIRST + 2, "GRAPH.PREVIOUS", nullptr, 0},
    {"Next\tN", GRAPH_FIRST + 3, "GRAPH.NEXT", nullptr, 0},
    {"Zones and Locus\tX", GRAPH_FIRST + 4, "GRAPH.XEXTENTS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Show Zones\tZ", PLOT_FIRST + 5, "PLOT.ZONES", nullptr, 0},
    {"Color by Time\tT", PLOT_FIRST + 4, "PLOT.TIMECOLOR", nullptr, 0},
    {"Grid Lines\tG", GRAPH_FIRST + 7, "GRAPH.GRID", nullptr, 0},
    {"Show Cross Hair\tC", GRAPH_FIRST + 15, "GRAPH.CROSSHAIR", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Visible Data to Clipboard", COPY_VISIBLE_DATA, "CURVE.COPY.VISIBLE", nullptr, 0},
    {"Copy All Data to Clipboard", COPY_ALL_DATA, "CURVE.COPY.ALL", nullptr, 0},
};

const Item plotFrameItems[] = {
    {"Play\tSpace", PLOT_FIRST + 20, "PLOT.PLAY", nullptr, 0},
    {"Back to the Start\tHome", PLOT_FIRST + 21, "PLOT.REWIND", nullptr, 0},
    {"Faster\t]", PLOT_FIRST + 22, "PLOT.FASTER", nullptr, 0},
    {"Slower\t[", PLOT_FIRST + 23, "PLOT.SLOWER", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Toggle Markers \tM", GRAPH_FIRST + 44, "FRAME.MARKERS", nullptr, 0},
    {nullptr, 0, nullptr, nullptr, 0},
    {"Copy Frame as Bitmap", GRAPH_FIRST + 45, "FRAME.COPY.BITMAP", nullptr, 0},
    {"Copy Frame as Picture", GRAPH_FIRST + 46, "FRAME.COPY.PICTURE", nullptr, 0},
    {"Export Frame to Meta File...", METAFILE, "FILE.METAFILE", nullptr, 0},
};

constexpr int countOf(const Item* begin, const Item* end) { return static_cast<int>(end - begin); }

#define K_MENU_BAR(bar, title, items) \
    const Item bar[] = {{title, 0, nullptr, items, countOf(std::begin(items), std::end(items))}}
K_MENU_BAR(componentBar, "Component", componentItems);
K_MENU_BAR(containerBar, "Container", containerItems);
K_MENU_BAR(analogGraphBar, "Analog Graph", analogGraphItems);
K_MENU_BAR(digitalGraphBar, "Digital Graph", digitalGraphItems);
K_MENU_BAR(graphFrameBar, "Graph Frame", graphFrameItems);
K_MENU_BAR(axisBar, "Graph Axis", axisItems);
K_MENU_BAR(curveBar, "Curve", curveItems);
K_MENU_BAR(barGraphBar, "Bar Graph", barGraphItems);
K_MENU_BAR(freqGraphBar, "Frequency Graph", freqGraphItems);
K_MENU_BAR(harmonicFrameBar, "Harmonic Frame", analysisFrameItems);
K_MENU_BAR(phasorFrameBar, "Phasor Frame", analysisFrameItems);
K_MENU_BAR(phasorPanelBar, "Phasor Panel", phasorPanelItems);
K_MENU_BAR(tableBar, "Table", tableItems);
K_MENU_BAR(plotBar, "Plot", plotItems);
K_MENU_BAR(impedanceBar, "Impedance Plane", impedanceItems);
K_MENU_BAR(plotFrameBar, "Plot Frame", plotFrameItems);
#undef K_MENU_BAR

const KMenuResource menus[] = {
    {"KComponent", 200, componentBar, 1},
    {"KContainer", 201, containerBar, 1},
    {"KPanel", 202, containerBar, 1},
    {"KFrame", 203, containerBar, 1},
    {"KGraphPanel", 210, analogGraphBar, 1},
    {"KGraphPanelAnalog", 211, analogGraphBar, 1},
    {"KGraphPanelDigital", 212, digitalGraphBar, 1},
    {"KGraphFrame", 213, graphFrameBar, 1},
    {"KGraphAxis", 214, axisBar, 1},
    {"KCurve", 215, curveBar, 1},
    {"KBarGraphPanel", 220, barGraphBar, 1},
    {"KFreqGraph", 221, freqGraphBar, 1},
    {"KHarmonicFrame", 222, harmonicFrameBar, 1},
    {"KPhasorFrame", 223, phasorFrameBar, 1},
    {"KPhasorPanel", 224, phasorPanelBar, 1},
    {"KTableExt", 225, tableBar, 1},
    {"KPlotPanel", 230, plotBar, 1},
    {"KImpedancePanel", 231, impedanceBar, 1},
    {"KPlotFrame", 232, plotFrameBar, 1},
};

}  // namespace

const KMenuResource* KMenuResource::find(const char* name) {
    if (name == nullptr) return nullptr;
    for (const KMenuResource& menu : menus) {
        if (std::strcmp(menu.name, name) == 0) return &menu;
    }
    return nullptr;
}

const KMenuResource* KMenuResource::find(unsigned id) {
    for (const KMenuResource& menu : menus) {
        if (menu.id == id) return &menu;
    }
    return nullptr;
}

int KMenuResource::getCount() { return static_cast<int>(std::size(menus)); }

const KMenuResource& KMenuResource::get(int index) { return menus[index]; }

const KMenuResource::Item* KMenuResource::getPopup() const {
    for (int i = 0; i < count; ++i) {
        if (items[i].items != nullptr) return &items[i];
    }
    return nullptr;
}

const KMenuResource::Item* KMenuResource::findCommand(unsigned commandId) const {
    if (commandId == 0) return nullptr;
    return search(items, count, [commandId](const Item& item) { return item.id == commandId; });
}

const KMenuResource::Item* KMenuResource::findCommand(const char* command) const {
    if (command == nullptr || *command == '\0') return nullptr;
    return search(items, count, [command](const Item& item) {
        return item.command != nullptr && std::strcmp(item.command, command) == 0;
    });
}
