#pragma once

#include <cstdint>

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/CFont.h>
#include <kalvo/toolkit/KComponent.h>

class KImage;

// A text on a background, optionally with a mark beside it: a glyph (the shapes that curves
// also mark their samples and key entries with), an icon of the library's "LABEL_ICONS", or
// an image. Painting fills the background by the fill style, draws the border (a frame in the
// shadow colour), then
// the mark and the text placed together by the alignments and the image constraint.
class KLabel : public KComponent {
    K_DECLARE_CLASS(KLabel);

public:
    // Glyph indices; their names are getGlyphName's.
    enum Glyph {
        NO_GLYPH = -1,
        CIRCLE,
        SQUARE,
        TRIANGLE,
        SOLID_CIRCLE,
        SOLID_SQUARE,
        SOLID_TRIANGLE,
        CROSSING,
        GLYPH_COUNT
    };
    // Horizontal alignment: LEFT, CENTER, RIGHT; vertical: TOP, CENTER, BOTTOM.
    enum Align { LEFT = 0, TOP = 0, CENTER = 1, RIGHT = 2, BOTTOM = 2 };
    // Where the mark stands: behind the text (centred on its own), left or right of it.
    enum ImageConstraint { IMAGE_CENTER = 0, IMAGE_LEFT = 1, IMAGE_RIGHT = 2 };
    // Background: none (the component's own painting only), solid, or shaded.
    enum FillStyle { FILL_NONE = 0, FILL_SOLID = 1, FILL_SHADED = 2 };

    explicit KLabel(const char* name = nullptr);
    ~KLabel() override;

    // "Circle", "Square", "Triangle", "Solid Circle", "Solid Square", "Solid Triangle",
    // "Crossing"; null outside 0 to 6.
    static const char* getGlyphName(int index);
    // The font labels draw their text with: Arial, 14 pixels high.
    static const CFont& getLabelFont();

    void setText(const char* text) { text_ = text; }
    const KString& getText() const { return text_; }
    void setBorder(bool border) { border_ = border; }
    bool isBorder() const { return border_; }
    // -1 for none; values outside -1 to 6 are kept and draw nothing.
    void setGlyph(int index) { glyph_ = index; }
    int getGlyph() const { return glyph_; }
    void setGlyphSize(int size) { glyphSize_ = size; }
    int getGlyphSize() const { return glyphSize_; }
    void setHatchGlyph(bool hatch) { hatchGlyph_ = hatch; }
    bool isHatchGlyph() const { return hatchGlyph_; }
    // 0 for none, n for the n-th icon of "LABEL_ICONS" (1 information, 2 warning, 3 error,
    // 4 question).
    void setImageIndex(int index);
    int getImageIndex() const { return imageIndex_; }
    // The label deletes the image when it owns it.
    void setImage(KImage* image, bool owned);
    KImage* getImage() const { return image_; }
    void setImageColor(COLORREF color) { imageColor_ = color; }
    COLORREF getImageColor() const { return imageColor_; }
    void setTextColor(COLORREF color) { textColor_ = color; }
    COLORREF getTextColor() const { return textColor_; }
    // The label's own background colour, filled by the fill style.
    void setBackground(COLORREF color) { labelBackground_ = color; }
    COLORREF getBackground() const { return labelBackground_; }
    // False: the fill takes the component's background colour instead of the label's.
    void setUserBackground(bool user) { userBackground_ = user; }
    bool isUserBackground() const { return userBackground_; }
    // FILL_NONE, FILL_SOLID or FILL_SHADED; others are ignored.
    void setFillStyle(int style);
    int getFillStyle() const { return fillStyle_; }
    // IMAGE_CENTER, IMAGE_LEFT or IMAGE_RIGHT; others are ignored.
    void setImageConstraint(int constraint);
    int getImageConstraint() const { return imageConstraint_; }
    // LEFT, CENTER or RIGHT (TOP, CENTER or BOTTOM); others are ignored.
    void setHorizontalAlignment(int align);
    int getHorizontalAlignment() const { return horizontalAlignment_; }
    void setVerticalAlignment(int align);
    int getVerticalAlignment() const { return verticalAlignment_; }

    KString paramString() const override;
    // Room for the mark and the text inside the border.
    CSize getMinimumSize() const override;
    // Inside the insets and the border.
    CRect getClientRect() const override;

    void paint(KGraphics& graphics) override;
    bool paintsEveryPixel() const override { return isOpaque(); }
    virtual void drawBackground(KGraphics& graphics);
    virtual void drawForeground(KGraphics& graphics);
    // A dotted frame inside the border.
    void drawFocus(KGraphics& graphics) override;
    // The glyph in the rectangle, in the colour.
    void drawGlyph(KGraphics& graphics, CRect rect, COLORREF color);
    // The glyph as a square hatched in white over the colour, the hatch chosen by the glyph.
    void drawHatchGlyph(KGraphics& graphics, CRect rect, COLORREF color);

    void copy(const KObject& other) override;
    // After the component part: version 1, then text, border, glyph, glyph size, hatch
    // glyph, image index, fill style, alignments, image constraint, colours, user
    // background. An image set by the program is not stored.
    void Serialize(KArchive& archive) override;

private:
    // The size of the mark beside the text; empty when there is none.
    CSize markSize() const;
    void drawMark(KGraphics& graphics, CRect rect);
    CSize textSize() const;

    KString text_;
    KImage* image_ = nullptr;
    bool ownsImage_ = false;
    bool border_ = true;
    std::int32_t glyph_ = NO_GLYPH;
    std::int16_t imageIndex_ = 0;
    std::int16_t fillStyle_ = FILL_NONE;
    std::int32_t glyphSize_;
    std::int32_t horizontalAlignment_ = CENTER;
    std::int32_t imageConstraint_ = IMAGE_LEFT;
    std::int32_t verticalAlignment_ = CENTER;
    COLORREF labelBackground_ = 0xFFFFFF;
    COLORREF imageColor_ = 0;
    COLORREF textColor_ = 0;
    bool hatchGlyph_ = false;
    bool userBackground_ = true;
};
