// Renders a frame of nested panels, each placed by one of the layouts, with labels showing
// the seven glyphs, to PNG, SVG and EMF: layouts.png, layouts.svg, layouts.emf in the folder
// given as the first argument (the current folder by default).
#include <cstdio>
#include <string>

#include <kalvo/host/headless/KCanvas.h>
#include <kalvo/kalvo.h>

namespace {

constexpr COLORREF PHASE_COLORS[] = {RGB(200, 30, 30), RGB(200, 160, 0),  RGB(30, 80, 200),
                                     RGB(0, 140, 60),  RGB(120, 60, 160), RGB(0, 130, 140),
                                     RGB(90, 90, 90)};

KLabel* label(const char* name, const char* text, int align = KLabel::LEFT) {
    auto* l = new KLabel(name);
    l->setText(text);
    l->setHorizontalAlignment(align);
    return l;
}

// A captioned box: a panel whose North row holds the caption and whose Center holds a
// panel placed by the layout. Returns the inner panel.
KPanel* box(KContainer* parent, const char* name, const char* constraint, const char* caption,
            KLayout* layout, COLORREF background) {
    auto* outer = new KPanel(name);
    outer->setLayout(new KBorderLayout(0, 24, 0, 0));
    outer->setInsets(CRect(4, 4, 4, 4));
    outer->setBackground(RGB(200, 204, 212));
    parent->add(outer, constraint);
    KLabel* title = label("caption", caption);
    title->setBackground(RGB(60, 70, 90));
    title->setTextColor(RGB(255, 255, 255));
    title->setBorder(false);
    outer->add(title, "North");
    auto* inner = new KPanel("content");
    inner->setLayout(layout);
    inner->setInsets(CRect(6, 6, 6, 6));
    inner->setBackground(background);
    outer->add(inner, "Center");
    return inner;
}

KContainer* buildFrame() {
    auto* frame = new KFrame("frame");
    frame->setLayout(new KBorderLayout(0, 44, 0, 96));
    frame->setBackground(RGB(236, 238, 242));
    KLabel* title =
        label("title", "Feeder 7 disturbance record - layouts and glyphs", KLabel::CENTER);
    title->setBackground(RGB(255, 250, 230));
    title->setImageIndex(1);
    frame->add(title, "North");

    auto* client = new KPanel("client");
    client->setLayout(new KGridBagLayout(100, 100));
    client->setBackground(RGB(236, 238, 242));
    frame->add(client, "Center");

    // The seven glyphs in a grid of equal cells, four to a row.
    KPanel* glyphs = box(client, "glyphs", "0, 0, 55, 55", "KGridLayout(0, 4): the seven glyphs",
                         new KGridLayout(0, 4, 6, 6), RGB(250, 250, 250));
    for (int i = 0; i < KLabel::GLYPH_COUNT; ++i) {
        KLabel* l = label(KLabel::getGlyphName(i), KLabel::getGlyphName(i));
        l->setGlyph(i);
        l->setGlyphSize(20);
        l->setImageColor(PHASE_COLORS[i]);
        glyphs->add(l);
    }
    KLabel* hatched = label("hatched", "Hatched", KLabel::LEFT);
    hatched->setGlyph(KLabel::TRIANGLE);
    hatched->setHatchGlyph(true);
    hatched->setGlyphSize(20);
    hatched->setImageColor(RGB(30, 80, 200));
    glyphs->add(hatched);

    // Channel labels flowing in rows that wrap.
    KPanel* flow = box(client, "flow", "55, 0, 100, 55", "KFlowLayout(LEFT): channels",
                       new KFlowLayout(KFlowLayout::LEFT, 6, 6), RGB(246, 250, 246));
    const char* channels[] = {"Ua", "Ub", "Uc", "Un", "Ia", "Ib", "Ic", "In", "Trip", "Close"};
    for (int i = 0; i < 10; ++i) {
        KLabel* l = label(channels[i], channels[i], KLabel::CENTER);
        l->setSize(i < 8 ? 72 : 100, 30);
        l->setGlyph(i < 8 ? i % 7 : -1);
        l->setGlyphSize(16);
        l->setImageColor(PHASE_COLORS[i % 7]);
        if (i >= 8) l->setImageIndex(i == 8 ? 3 : 1);
        flow->add(l);
    }

    // Rows of label and field.
    KPanel* form = box(client, "form", "0, 55, 55, 100", "KFormLayout: record header",
                       new KFormLayout(8, 4), RGB(250, 248, 244));
    const char* rows[][2] = {{"Station", "Northfield 110 kV"},
                             {"Trigger", "2026-11-21 22:11:59.125"},
                             {"Sampling", "4800 Hz, 12 analog, 16 digital"}};
    for (const auto& row : rows) {
        KLabel* key = label((std::string(row[0]) + "Label").c_str(), row[0], KLabel::RIGHT);
        key->setSize(90, 28);
        key->setBorder(false);
        key->setBackground(RGB(250, 248, 244));
        form->add(key);
        KLabel* value = label(row[0], row[1]);
        value->setSize(200, 28);
        form->add(value);
    }

    // Five regions of fixed thickness, the corners left empty.
    KPanel* border = box(client, "border", "55, 55, 100, 100", "KBorderLayout(70, 30, 70, 30)",
                         new KBorderLayout(70, 30, 70, 30), RGB(244, 246, 252));
    const char* regions[] = {"North", "South", "West", "East", "Center"};
    for (int i = 0; i < 5; ++i) {
        KLabel* l = label(regions[i], regions[i], KLabel::CENTER);
        l->setBackground(i == 4 ? RGB(255, 255, 255) : RGB(225, 232, 245));
        border->add(l, regions[i]);
    }

    // Freely placed labels with the library's icons.
    KPanel* bag = box(frame, "footer", "South", "KBagLayout: free placement", new KBagLayout(),
                      RGB(252, 252, 252));
    const char* notes[] = {"Information", "Warning", "Error", "Question"};
    for (int i = 0; i < 4; ++i) {
        KLabel* l = label(notes[i], notes[i]);
        l->setImageIndex(i + 1);
        l->setBounds(CRect(CPoint(10 + i * 150, 4 + (i % 2) * 14), CSize(130, 30)));
        bag->add(l);
    }
    return frame;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? std::string(argv[1]) + "/" : "";
    try {
        KCanvas canvas(960, 600);
        canvas.setRoot(buildFrame());
        for (const char* name : {"layouts.png", "layouts.svg"}) {
            canvas.save((folder + name).c_str());
            std::printf("wrote %s%s\n", folder.c_str(), name);
        }
        canvas.getRoot()->createMetaFile((folder + "layouts.emf").c_str());
        std::printf("wrote %slayouts.emf\n", folder.c_str());
    } catch (const KException& e) {
        std::fprintf(stderr, "%s: %s\n", e.getTitle().c_str(), e.getText().c_str());
        return 1;
    }
    return 0;
}
