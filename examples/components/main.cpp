// Builds a frame of nested panels with free placement, focuses one child so that its sizing
// pads show, and writes the canvas as PNG and SVG: kalvo_example_components [folder]
#include <cstdio>
#include <string>

#include <kalvo/kalvo.h>

namespace {

class FreeLayout : public KLayout {
public:
    int getDragConstraint() const override { return DRAG_FREE; }
};

KComponent* box(KContainer* parent, const char* name, CRect bounds, COLORREF color) {
    auto* c = new KComponent(name);
    c->setBounds(bounds);
    c->setBackground(color);
    parent->add(c);
    return c;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : ".";
    KCanvas canvas(400, 260);
    auto* frame = new KFrame("frame");
    frame->setBackground(RGB(230, 230, 230));
    canvas.setRoot(frame);

    auto* client = new KPanel("client");
    client->setBounds(CRect(10, 10, 390, 200));
    client->setBackground(RGB(255, 255, 240));
    client->setLayout(new FreeLayout());
    frame->add(client);
    auto* footer = new KPanel("footer");
    footer->setBounds(CRect(10, 210, 390, 250));
    footer->setBackground(RGB(210, 225, 245));
    frame->add(footer);

    auto* inner = new KPanel("midclient");
    inner->setBounds(CRect(200, 20, 360, 170));
    inner->setBackground(RGB(220, 240, 220));
    client->add(inner);
    box(inner, "eastpanel", CRect(100, 100, 200, 200), RGB(40, 120, 40));  // clipped
    KComponent* selected = box(client, "selected", CRect(30, 40, 150, 120), RGB(200, 60, 60));
    selected->setStretch(3);
    box(footer, "marker", CRect(10, 10, 60, 30), RGB(60, 60, 200));
    KComponent::setFocus(selected);

    for (const char* ext : {".png", ".svg"}) {
        const std::string path = folder + "/components" + ext;
        canvas.save(path.c_str());
        std::printf("wrote %s\n", path.c_str());
    }
    return 0;
}
