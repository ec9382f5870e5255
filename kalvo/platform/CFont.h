#pragma once

#include <kalvo/foundation/KString.h>

// A font by face name and height. A negative height is the character (em) height, a
// positive one the cell height (ascent + descent), both in logical units; 0 picks a
// default. Escapement turns the text, in tenths of a degree counter-clockwise. Face names
// resolve through fontconfig ("Arial" finds a metric-compatible face). A value, like CPen.
class CFont {
public:
    CFont() = default;
    CFont(const char* face, int height, int weight = 400, bool italic = false);

    bool CreateFont(int height, int width, int escapement, int orientation, int weight,
                    unsigned char italic, unsigned char underline, unsigned char strikeOut,
                    unsigned char charSet, unsigned char outPrecision,
                    unsigned char clipPrecision, unsigned char quality,
                    unsigned char pitchAndFamily, const char* faceName);
    // Height in tenths of a point at 96 pixels per inch, as dialogs give sizes.
    bool CreatePointFont(int pointSize, const char* faceName);
    bool DeleteObject();
    // ANSI_VAR_FONT, DEFAULT_GUI_FONT, SYSTEM_FONT, ANSI_FIXED_FONT or OEM_FIXED_FONT.
    static CFont Stock(int index);

    bool IsCreated() const { return created_; }
    const KString& GetFaceName() const { return face_; }
    int GetHeight() const { return height_; }
    int GetWeight() const { return weight_; }
    bool IsItalic() const { return italic_; }
    bool IsUnderline() const { return underline_; }
    bool IsStrikeOut() const { return strikeOut_; }
    int GetEscapement() const { return escapement_; }

    bool operator==(const CFont& other) const;

private:
    bool created_ = false;
    KString face_;
    int height_ = 0;
    int weight_ = 400;
    bool italic_ = false;
    bool underline_ = false;
    bool strikeOut_ = false;
    int escapement_ = 0;
};
