// Draws one page that uses every drawing operation of KGraphics and writes it as
// drawing.png, drawing.svg and drawing.pdf into the folder given on the command line (the
// current folder by default).
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include <kalvo/kalvo.h>

namespace {

constexpr int kWidth = 800;
constexpr int kHeight = 600;

// The page: a grid of captioned panels, each showing one group of operations.
class DrawingPage : public KPainter {
public:
    void paint(KGraphics& g) override {
        g.setColor(RGB(250, 250, 245));
        g.fillRect(0, 0, kWidth, kHeight);
        CFont title("Arial", -20, 700);
        g.setFont(&title);
        g.setColor(RGB(0, 0, 0));
        g.drawString("Kalvo drawing context", 20, 12);
        g.dispose();

        panel(g, 0, 0, "Pens", [](KGraphics& g) {
            const char* names[] = {"solid", "dash", "dot", "dash-dot"};
            for (int style = 0; style < 4; ++style) {
                g.setColor(RGB(0, 0, 160), 1, style);
                g.drawLine(10, 10 + style * 14, 120, 10 + style * 14);
                g.setColor(RGB(0, 0, 0));
                g.drawString(names[style], 128, 3 + style * 14);
            }
            for (int width = 2; width <= 6; width += 2) {
                g.setColor(RGB(160, 0, 0), width);
                g.drawLine(10, 60 + width * 6, 120, 70 + width * 6);
            }
            g.setColor(RGB(0, 0, 0));
            for (int i = 0; i < 16; ++i) g.drawPixel(130 + i * 3, 80, RGB(0, 128, 0));
        });

        panel(g, 1, 0, "Rectangles", [](KGraphics& g) {
            g.setColor(RGB(0, 0, 0));
            g.drawRect(10, 10, 60, 50);
            g.setColor(RGB(70, 130, 180));
            g.fillRect(70, 10, 120, 50);
            g.setColor(RGB(192, 192, 192));
            g.fillRect(130, 10, 180, 50);
            g.draw3DRect(134, 14, 176, 46, true);
            g.fillRect(10, 60, 60, 100);
            g.draw3DRect(14, 64, 56, 96, false);
            g.drawMetalRect(70, 60, 120, 100);
            g.fillShadedRect(CRect(130, 60, 180, 100), RGB(200, 0, 0));
        });

        panel(g, 2, 0, "Hatches", [](KGraphics& g) {
            for (int style = HS_HORIZONTAL; style <= HS_DIAGCROSS; ++style) {
                const CRect cell(10 + (style % 3) * 58, 10 + (style / 3) * 46,
                                 60 + (style % 3) * 58, 50 + (style / 3) * 46);
                g.fillHatchedRect(cell, RGB(0, 0, 120), RGB(255, 255, 200), style);
                g.setColor(RGB(0, 0, 0));
                g.drawRect(cell);
            }
        });

        panel(g, 0, 1, "Ovals", [](KGraphics& g) {
            g.setColor(RGB(0, 0, 0));
            g.drawOval(10, 10, 60, 50);
            g.setColor(RGB(255, 165, 0));
            g.fillOval(70, 10, 130, 50);
            g.setColor(RGB(192, 192, 192));
            g.fillRect(140, 5, 190, 55);
            g.draw3DOval(145, 10, 185, 50, true);
            g.fillRect(140, 60, 190, 110);
            g.draw3DOval(145, 65, 185, 105, false);
            g.setColor(RGB(128, 0, 128), 3);
            g.drawOval(10, 60, 130, 105);
        });

        panel(g, 1, 1, "Arcs, pies, chords", [](KGraphics& g) {
            g.setColor(RGB(0, 100, 0), 2);
            g.drawArc(CRect(10, 10, 60, 60), 0, 270);
            g.setColor(RGB(200, 0, 0));
            g.drawPie(CRect(70, 10, 120, 60), 30, 120);
            g.setColor(RGB(0, 0, 200));
            g.drawChord(CRect(130, 10, 180, 60), 200, -140);
            g.setColor(RGB(0, 0, 0));
            g.drawString("0..270", 15, 65);
            g.drawString("30+120", 75, 65);
            g.drawString("200-140", 130, 65);
        });

        panel(g, 2, 1, "Triangles and transforms", [](KGraphics& g) {
            g.setColor(RGB(0, 150, 150));
            g.fillTriangle(10, 100, 60, 10, 110, 100);
            // An arrow turned in steps of 45 degrees about (150, 55).
            for (int step = 0; step < 8; ++step) {
                AffineTransform t;
                t.translate(150, 55);
                t.rotate(step * 45.0);
                if (step % 2) t.Mirror();
                g.setColor(step % 2 ? RGB(200, 0, 0) : RGB(0, 0, 200));
                g.fillTriangle(t.WPtoLP(12, -4), t.WPtoLP(40, 0), t.WPtoLP(12, 4));
            }
        });

        panel(g, 0, 2, "Text", [](KGraphics& g) {
            g.setColor(RGB(0, 0, 0));
            CFont arial("Arial", -14);
            g.setFont(&arial);
            g.drawString("Arial 14 px: 12.5 kV", 10, 6);
            const CRect extents = g.computeTextExtents("Arial 14 px: 12.5 kV") + CPoint(10, 6);
            g.setColor(RGB(255, 0, 0));
            g.drawRect(extents.left, 6, extents.right, 6 + extents.Height());
            g.setColor(RGB(0, 0, 0));
            const CRect box(10, 30, 120, 52);
            g.drawRect(box);
            g.drawString("Centred text cut with an ellipsis", box);
            const CRect wide(125, 30, 190, 52);
            g.drawRect(wide);
            g.drawString("Tab\tX", wide);
            g.dispose();
            const char* lines = "Several lines\nmeasured\nas one block";
            const CRect bounds = g.computeTextBounds(lines) + CPoint(10, 58);
            g.setColor(RGB(0, 0, 200));
            g.drawRect(bounds);
            CRect r = bounds;
            g.getDC()->DrawText(lines, &r, DT_LEFT);
        });

        panel(g, 1, 2, "Bitmaps and masks", [](KGraphics& g) {
            CBitmap icons, markers, digits;
            icons.LoadBitmap("LABEL_ICONS");
            markers.LoadBitmap("GRAPH_MARKERS");
            digits.LoadBitmap("SEVEN_SEGMENT");
            g.drawImage(&icons, nullptr, 10, 10);
            const CRect x(0, 0, 11, 11), o(11, 0, 22, 11);
            g.drawMask(&markers, &x, CPoint(10, 40), RGB(200, 0, 0));
            g.drawMask(&markers, &o, CPoint(30, 40), RGB(0, 0, 200));
            const char* number = "-12.50";
            const char* cells = "0123456789-.";
            int px = 10;
            for (const char* c = number; *c; ++c) {
                const int index = static_cast<int>(std::string(cells).find(*c));
                const CRect cell(index * 7, 0, index * 7 + 7, 11);
                g.drawMask(&digits, &cell, CPoint(px, 65), RGB(0, 140, 0));
                px += 9;
            }
            // Off-screen: the icons drawn into an image context, then stretched out of it.
            KImageContext image(g.getDC(), CRect(100, 10, 164, 26));
            {
                KGraphics off(image.getDC());
                off.drawImage(&icons, nullptr, 100, 10);
            }
            image.drawBits(g.getDC(), CRect(100, 40, 196, 64));
        });

        panel(g, 2, 2, "Clip, origin and XOR", [](KGraphics& g) {
            g.setColor(RGB(0, 0, 0));
            g.drawRect(10, 10, 80, 60);
            g.clipRect(CRect(10, 10, 80, 60));
            g.setColor(RGB(180, 220, 255));
            g.fillOval(40, 30, 120, 110);  // clipped to the rectangle
            g.resetClip();
            g += CPoint(100, 0);  // the same drawing moved right
            g.setColor(RGB(0, 0, 0));
            g.drawRect(10, 10, 80, 60);
            g.setColor(RGB(180, 220, 255));
            g.fillOval(40, 30, 120, 110);
            g -= CPoint(100, 0);
            // A rubber band drawn twice with XOR vanishes; once, it inverts what it crosses.
            CDC* dc = g.getDC();
            const int rop = dc->SetROP2(R2_XORPEN);
            g.setColor(RGB(255, 255, 255));
            g.drawRect(20, 70, 180, 100);
            g.drawRect(30, 75, 170, 95);
            g.drawRect(30, 75, 170, 95);
            g.fillRect(0, 0, 200, 120);  // nothing outside copy mode
            dc->SetROP2(rop);
        });
    }

private:
    // Runs a panel's drawing with its origin at the panel's top-left, clipped to it.
    template <typename Draw>
    void panel(KGraphics& g, int column, int row, const char* caption, Draw draw) {
        const CPoint at(20 + column * 260, 50 + row * 180);
        g.setColor(RGB(255, 255, 255));
        g.fillRect(at.x, at.y, at.x + 240, at.y + 160);
        g.setColor(RGB(120, 120, 120));
        g.drawRect(at.x, at.y, at.x + 240, at.y + 160);
        g.setColor(RGB(0, 0, 0));
        g.drawString(caption, at.x + 8, at.y + 4);
        KGraphics inner(g);
        inner += CPoint(at.x + 20, at.y + 30);
        inner.clipRect(CRect(-20, -30, 220, 130));
        draw(inner);
    }
};

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : ".";
    const std::string png = folder + "/drawing.png", svg = folder + "/drawing.svg",
                      pdf = folder + "/drawing.pdf";
    DrawingPage page;

    std::unique_ptr<CCairoDC> image(CCairoDC::CreateImage(kWidth, kHeight));
    {
        KGraphics g(image.get());
        page.paint(g);
    }
    if (!image->WritePNG(png.c_str())) {
        std::fprintf(stderr, "drawing: cannot write '%s'\n", png.c_str());
        return 1;
    }
    for (const std::string& path : {svg, pdf}) {
        std::unique_ptr<CCairoDC> dc(path == svg ? CCairoDC::CreateSVG(path.c_str(), kWidth, kHeight)
                                                 : CCairoDC::CreatePDF(path.c_str(), kWidth, kHeight));
        if (!dc) {
            std::fprintf(stderr, "drawing: cannot write '%s'\n", path.c_str());
            return 1;
        }
        KGraphics g(dc.get());
        page.paint(g);
    }
    std::printf("wrote %s, %s and %s\n", png.c_str(), svg.c_str(), pdf.c_str());
    return 0;
}
