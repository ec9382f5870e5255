#include <kalvo/platform/CEmfDC.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

#include <kalvo/foundation/KFile.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/RasterOp.h>

namespace {

// Record types of the format.
enum : std::uint32_t {
    EMR_HEADER = 1,
    EMR_POLYGON = 3,
    EMR_POLYLINE = 4,
    EMR_SETWINDOWEXTEX = 9,
    EMR_SETWINDOWORGEX = 10,
    EMR_SETVIEWPORTEXTEX = 11,
    EMR_SETVIEWPORTORGEX = 12,
    EMR_SETBRUSHORGEX = 13,
    EMR_EOF = 14,
    EMR_SETPIXELV = 15,
    EMR_SETMAPMODE = 17,
    EMR_SETBKMODE = 18,
    EMR_SETPOLYFILLMODE = 19,
    EMR_SETROP2 = 20,
    EMR_SETTEXTALIGN = 22,
    EMR_SETTEXTCOLOR = 24,
    EMR_SETBKCOLOR = 25,
    EMR_MOVETOEX = 27,
    EMR_INTERSECTCLIPRECT = 30,
    EMR_SAVEDC = 33,
    EMR_RESTOREDC = 34,
    EMR_SELECTOBJECT = 37,
    EMR_CREATEPEN = 38,
    EMR_CREATEBRUSHINDIRECT = 39,
    EMR_DELETEOBJECT = 40,
    EMR_ELLIPSE = 42,
    EMR_RECTANGLE = 43,
    EMR_ARC = 45,
    EMR_CHORD = 46,
    EMR_PIE = 47,
    EMR_LINETO = 54,
    EMR_BITBLT = 76,
    EMR_STRETCHDIBITS = 81,
    EMR_EXTCREATEFONTINDIRECTW = 82,
    EMR_EXTTEXTOUTW = 84,
    EMR_CREATEDIBPATTERNBRUSHPT = 94,
};

constexpr std::uint32_t STOCK = 0x80000000;  // stock object handles: STOCK | index
constexpr std::uint32_t ETO_CLIPPED = 4;
constexpr std::uint32_t GM_COMPATIBLE = 1;
// Beyond this many live objects the least recently used one that no state refers to is
// deleted, so that long drawings keep the player's handle table small.
constexpr std::size_t MAX_OBJECTS = 256;

// Reference device of the header: a 1920 x 1080 screen at 96 pixels per inch.
constexpr int REF_WIDTH = 1920;
constexpr int REF_HEIGHT = 1080;

int hundredthsOfMm(int pixels) {
    return static_cast<int>(std::lround(pixels * 2540.0 / 96.0));
}

// UTF-8 to UTF-16 code units; a malformed byte stands for itself (Latin-1), so that bytes
// of older single-byte texts still show.
std::u16string toUtf16(const std::string& s, std::vector<std::size_t>* starts) {
    std::u16string out;
    std::size_t i = 0;
    while (i < s.size()) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        std::uint32_t cp = c;
        std::size_t n = 1;
        if (c >= 0xC0) {
            n = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
            if (i + n > s.size()) n = 1;
            for (std::size_t k = 1; k < n; ++k) {
                if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) n = 1;
            }
            if (n > 1) {
                cp = c & (0x7F >> n);
                for (std::size_t k = 1; k < n; ++k) cp = cp << 6 | (s[i + k] & 0x3F);
            }
        }
        if (starts != nullptr) starts->push_back(i);
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
            if (starts != nullptr) starts->push_back(std::string::npos);  // second half
        } else {
            out += static_cast<char16_t>(cp);
        }
        i += n;
    }
    if (starts != nullptr) starts->push_back(s.size());
    return out;
}

// Turns a recording into EMF records. Each drawing call carries the state it ran under;
// the encoder writes only what differs from the state already written.
class EmfEncoder {
public:
    explicit EmfEncoder(CSize size) : size_(size), measurer_(CCairoDC::CreateImage(1, 1)) {}

    std::string encode(const std::vector<CRecordingDC::Entry>& entries) {
        header();
        for (const CRecordingDC::Entry& e : entries) draw(e);
        end(EMR_EOF);
        u32(0);   // palette entries
        u32(16);  // their offset
        u32(20);  // this record's size, repeated
        close();
        finishHeader();
        return std::move(out_);
    }

private:
    // What the player's device context holds: the drawing state and the selected handles.
    struct Written {
        CDC::State state;
        std::uint32_t pen = STOCK | BLACK_PEN;
        std::uint32_t brush = STOCK | WHITE_BRUSH;
        std::uint32_t font = 0;  // the device's own until a font is selected
    };

    struct Object {
        std::string key;
        unsigned long lastUse = 0;
    };

    // Bytes.
    void u32(std::uint32_t v) {
        for (int i = 0; i < 4; ++i) out_ += static_cast<char>(v >> (8 * i) & 0xFF);
    }
    void i32(int v) { u32(static_cast<std::uint32_t>(v)); }
    void u16(std::uint16_t v) {
        out_ += static_cast<char>(v & 0xFF);
        out_ += static_cast<char>(v >> 8);
    }
    void u8(std::uint8_t v) { out_ += static_cast<char>(v); }
    void f32(float f) {
        std::uint32_t v;
        std::memcpy(&v, &f, 4);
        u32(v);
    }
    void point(CPoint p) {
        i32(p.x);
        i32(p.y);
    }
    void rect(const CRect& r) {
        i32(r.left);
        i32(r.top);
        i32(r.right);
        i32(r.bottom);
    }
    void patch(std::size_t at, std::uint32_t v) {
        for (int i = 0; i < 4; ++i) out_[at + i] = static_cast<char>(v >> (8 * i) & 0xFF);
    }

    // A record starts with its type and a size patched in by close(); records are padded
    // to whole 32-bit words.
    void end(std::uint32_t type) {
        close();
        start_ = out_.size();
        u32(type);
        u32(0);
        ++records_;
    }
    void close() {
        if (start_ == std::string::npos) return;
        while (out_.size() % 4 != 0) out_ += '\0';
        patch(start_ + 4, static_cast<std::uint32_t>(out_.size() - start_));
        start_ = std::string::npos;
    }
    void simple(std::uint32_t type, std::uint32_t value) {
        end(type);
        u32(value);
    }
    void pointRecord(std::uint32_t type, CPoint p) {
        end(type);
        point(p);
    }

    void header() {
        start_ = 0;
        u32(EMR_HEADER);
        u32(0);
        ++records_;
        rect(CRect());  // bounds, patched at the end
        rect(CRect(0, 0, hundredthsOfMm(size_.cx) - 1, hundredthsOfMm(size_.cy) - 1));
        u32(0x464D4520);  // " EMF"
        u32(0x00010000);
        u32(0);  // bytes, patched
        u32(0);  // records, patched
        u16(0);  // handles, patched
        u16(0);
        u32(0);  // no description
        u32(0);
        u32(0);  // no palette
        i32(REF_WIDTH);
        i32(REF_HEIGHT);
        i32(static_cast<int>(std::lround(REF_WIDTH * 25.4 / 96)));
        i32(static_cast<int>(std::lround(REF_HEIGHT * 25.4 / 96)));
        u32(0);  // no pixel format
        u32(0);
        u32(0);  // no OpenGL
        i32(static_cast<int>(std::lround(REF_WIDTH * 25400.0 / 96)));
        i32(static_cast<int>(std::lround(REF_HEIGHT * 25400.0 / 96)));
    }

    void finishHeader() {
        // Bounds are inclusive device pixels; a picture with nothing drawn has an empty one.
        if (bounds_.IsRectEmpty()) {
            patch(8, 0);
            patch(12, 0);
            patch(16, static_cast<std::uint32_t>(-1));
            patch(20, static_cast<std::uint32_t>(-1));
        } else {
            patch(8, bounds_.left);
            patch(12, bounds_.top);
            patch(16, bounds_.right - 1);
            patch(20, bounds_.bottom - 1);
        }
        patch(48, static_cast<std::uint32_t>(out_.size()));
        patch(52, records_);
        const std::uint32_t handles = static_cast<std::uint32_t>(objects_.size()) + 1;
        out_[56] = static_cast<char>(handles & 0xFF);
        out_[57] = static_cast<char>(handles >> 8 & 0xFF);
    }

    // Coordinates under a state.
    static double toDevX(const CDC::State& s, double x) {
        return (x - s.windowOrg.x) * s.viewportExt.cx / s.windowExt.cx + s.viewportOrg.x;
    }
    static double toDevY(const CDC::State& s, double y) {
        return (y - s.windowOrg.y) * s.viewportExt.cy / s.windowExt.cy + s.viewportOrg.y;
    }
    static int toLogX(const CDC::State& s, int x) {
        return static_cast<int>(std::lround(static_cast<double>(x - s.viewportOrg.x) *
                                                s.windowExt.cx / s.viewportExt.cx +
                                            s.windowOrg.x));
    }
    static int toLogY(const CDC::State& s, int y) {
        return static_cast<int>(std::lround(static_cast<double>(y - s.viewportOrg.y) *
                                                s.windowExt.cy / s.viewportExt.cy +
                                            s.windowOrg.y));
    }

    // Adds a logical rectangle, grown by the margin in device pixels, to the picture's
    // bounds, inside the clip and the picture.
    void touch(const CDC::State& s, CRect r, int margin) {
        r.NormalizeRect();
        CRect d(static_cast<int>(std::floor(toDevX(s, r.left))) - margin,
                static_cast<int>(std::floor(toDevY(s, r.top))) - margin,
                static_cast<int>(std::ceil(toDevX(s, r.right))) + margin,
                static_cast<int>(std::ceil(toDevY(s, r.bottom))) + margin);
        d.NormalizeRect();
        CRect visible;
        if (!visible.IntersectRect(d, CRect(0, 0, size_.cx, size_.cy))) return;
        if (s.clipped && !visible.IntersectRect(visible, s.clip)) return;
        if (bounds_.IsRectEmpty()) {
            bounds_ = visible;
        } else {
            bounds_.UnionRect(bounds_, visible);
        }
    }
    int penMargin(const CDC::State& s) const {
        if (s.pen.GetStyle() == PS_NULL) return 0;
        return static_cast<int>(std::ceil(s.pen.GetWidth() * std::fabs(s.viewportExt.cx) /
                                          std::fabs(s.windowExt.cx) / 2)) +
               1;
    }

    // Objects: created once per distinct value, selected by handle.
    std::uint32_t object(const std::string& key, bool& created) {
        ++clock_;
        created = false;
        auto found = handles_.find(key);
        if (found != handles_.end()) {
            objects_[found->second - 1].lastUse = clock_;
            return found->second;
        }
        std::uint32_t handle = 0;
        if (objects_.size() < MAX_OBJECTS) {
            objects_.push_back(Object{key, clock_});
            handle = static_cast<std::uint32_t>(objects_.size());
        } else {
            handle = evict();
            objects_[handle - 1] = Object{key, clock_};
        }
        handles_[key] = handle;
        created = true;
        return handle;
    }
    bool inUse(std::uint32_t h) const {
        return h == written_.pen || h == written_.brush || h == written_.font ||
               (saved_ && (h == saved_->pen || h == saved_->brush || h == saved_->font));
    }
    std::uint32_t evict() {
        std::uint32_t victim = 0;
        for (std::uint32_t h = 1; h <= objects_.size(); ++h) {
            if (inUse(h)) continue;
            if (victim == 0 || objects_[h - 1].lastUse < objects_[victim - 1].lastUse) victim = h;
        }
        handles_.erase(objects_[victim - 1].key);
        simple(EMR_DELETEOBJECT, victim);
        return victim;
    }

    void selectPen(const CPen& pen) {
        std::uint32_t h;
        if (pen.GetStyle() == PS_NULL) {
            h = STOCK | NULL_PEN;
        } else {
            char key[64];
            std::snprintf(key, sizeof key, "P%d,%d,%u", pen.GetStyle(), pen.GetWidth(),
                          pen.GetColor());
            bool created;
            h = object(key, created);
            if (created) {
                end(EMR_CREATEPEN);
                u32(h);
                u32(static_cast<std::uint32_t>(pen.GetStyle()));
                point(CPoint(pen.GetWidth(), 0));
                u32(pen.GetColor());
            }
        }
        if (h != written_.pen) simple(EMR_SELECTOBJECT, h);
        written_.pen = h;
        written_.state.pen = pen;
    }

    // A pattern brush is written as a 32-bit 8x8 picture; a monochrome one takes the text
    // colour for its 0 bits and the background colour for its 1 bits.
    void selectBrush(const CBrush& brush, const CDC::State& s) {
        std::uint32_t h;
        if (brush.GetKind() == CBrush::HOLLOW || brush.GetKind() == CBrush::NONE) {
            h = STOCK | NULL_BRUSH;
        } else {
            char key[96];
            std::vector<std::uint32_t> pixels;
            if (brush.GetKind() == CBrush::PATTERN) {
                const CBitmap& p = brush.GetPattern();
                const bool mono = p.IsMonochrome();
                std::string k = "B#";
                for (int y = 7; y >= 0; --y) {  // bottom-up rows
                    for (int x = 0; x < 8; ++x) {
                        COLORREF c = p.GetPixel(x, y);
                        if (c == CLR_INVALID) c = 0xFFFFFF;
                        if (mono) c = c == 0 ? s.textColor : s.bkColor;
                        const std::uint32_t bgr =
                            (GetRValue(c) << 16) | (GetGValue(c) << 8) | GetBValue(c);
                        pixels.push_back(bgr);
                        std::snprintf(key, sizeof key, "%x,", bgr);
                        k += key;
                    }
                }
                bool created;
                h = object(k, created);
                if (created) patternBrush(h, pixels);
            } else {
                const bool hatch = brush.GetKind() == CBrush::HATCH;
                std::snprintf(key, sizeof key, "B%d,%u,%d", hatch ? 2 : 0, brush.GetColor(),
                              hatch ? brush.GetHatchStyle() : 0);
                bool created;
                h = object(key, created);
                if (created) {
                    end(EMR_CREATEBRUSHINDIRECT);
                    u32(h);
                    u32(hatch ? 2 : 0);  // BS_HATCHED or BS_SOLID
                    u32(brush.GetColor());
                    u32(hatch ? static_cast<std::uint32_t>(brush.GetHatchStyle()) : 0);
                }
            }
        }
        if (h != written_.brush) simple(EMR_SELECTOBJECT, h);
        written_.brush = h;
        written_.state.brush = brush;
    }

    void bitmapInfo(int width, int height) {
        u32(40);
        i32(width);
        i32(height);  // positive: rows bottom-up
        u16(1);
        u16(32);
        u32(0);  // BI_RGB
        u32(static_cast<std::uint32_t>(width * height * 4));
        u32(0);
        u32(0);
        u32(0);
        u32(0);
    }

    void patternBrush(std::uint32_t h, const std::vector<std::uint32_t>& pixels) {
        end(EMR_CREATEDIBPATTERNBRUSHPT);
        u32(h);
        u32(0);   // DIB_RGB_COLORS
        u32(32);  // bitmap info right after the fixed part
        u32(40);
        u32(72);  // bits after it
        u32(static_cast<std::uint32_t>(pixels.size() * 4));
        bitmapInfo(8, 8);
        for (std::uint32_t p : pixels) u32(p);
    }

    void selectFont(const CFont& requested) {
        const CFont font = requested.IsCreated() ? requested : CFont::Stock(ANSI_VAR_FONT);
        char key[160];
        std::snprintf(key, sizeof key, "F%s,%d,%d,%d,%d,%d,%d", font.GetFaceName().c_str(),
                      font.GetHeight(), font.GetWeight(), font.IsItalic(), font.IsUnderline(),
                      font.IsStrikeOut(), font.GetEscapement());
        bool created;
        const std::uint32_t h = object(key, created);
        if (created) {
            end(EMR_EXTCREATEFONTINDIRECTW);
            u32(h);
            i32(font.GetHeight());
            i32(0);  // width
            i32(font.GetEscapement());
            i32(font.GetEscapement());  // orientation
            i32(font.GetWeight());
            u8(font.IsItalic());
            u8(font.IsUnderline());
            u8(font.IsStrikeOut());
            u8(1);  // DEFAULT_CHARSET
            u8(0);
            u8(0);
            u8(0);
            u8(0);
            std::u16string face = toUtf16(font.GetFaceName().c_str(), nullptr);
            face.resize(32, u'\0');
            face[31] = u'\0';
            for (char16_t c : face) u16(c);
        }
        if (h != written_.font) simple(EMR_SELECTOBJECT, h);
        written_.font = h;
        written_.state.font = requested;
    }

    // Brings the player's state to the one a call ran under. The clip can only narrow in
    // the format; to widen it, the state saved before the clip was set comes back.
    void sync(const CDC::State& s, const CPen& pen, const CBrush& brush, unsigned textAlign) {
        CDC::State& w = written_.state;
        bool restored = false;
        if (w.clipped) {
            const bool narrower =
                s.clipped && (s.clip.IsRectEmpty() ||
                              (s.clip.left >= w.clip.left && s.clip.top >= w.clip.top &&
                               s.clip.right <= w.clip.right && s.clip.bottom <= w.clip.bottom));
            if (!narrower) {
                simple(EMR_RESTOREDC, static_cast<std::uint32_t>(-1));
                written_ = *saved_;
                saved_.reset();
                restored = true;
            }
        }
        // Players disagree on whether the current position follows a change of coordinates
        // (or comes back with a restored state), so after one the next line moves there
        // explicitly.
        if (restored || w.mapMode != s.mapMode || w.windowOrg != s.windowOrg ||
            w.viewportOrg != s.viewportOrg || w.windowExt != s.windowExt ||
            w.viewportExt != s.viewportExt) {
            w.position = CPoint(INT_MIN, INT_MIN);
        }
        if (w.mapMode != s.mapMode) {
            simple(EMR_SETMAPMODE, static_cast<std::uint32_t>(s.mapMode));
            w.mapMode = s.mapMode;
            if (s.mapMode == MM_TEXT) w.windowExt = w.viewportExt = CSize(1, 1);
        }
        if (w.windowExt != s.windowExt) {
            pointRecord(EMR_SETWINDOWEXTEX, CPoint(s.windowExt.cx, s.windowExt.cy));
            w.windowExt = s.windowExt;
        }
        if (w.viewportExt != s.viewportExt) {
            pointRecord(EMR_SETVIEWPORTEXTEX, CPoint(s.viewportExt.cx, s.viewportExt.cy));
            w.viewportExt = s.viewportExt;
        }
        if (w.windowOrg != s.windowOrg) {
            pointRecord(EMR_SETWINDOWORGEX, s.windowOrg);
            w.windowOrg = s.windowOrg;
        }
        if (w.viewportOrg != s.viewportOrg) {
            pointRecord(EMR_SETVIEWPORTORGEX, s.viewportOrg);
            w.viewportOrg = s.viewportOrg;
        }
        if (w.bkMode != s.bkMode) simple(EMR_SETBKMODE, static_cast<std::uint32_t>(s.bkMode));
        if (w.bkColor != s.bkColor) simple(EMR_SETBKCOLOR, s.bkColor);
        if (w.textColor != s.textColor) simple(EMR_SETTEXTCOLOR, s.textColor);
        if (w.textAlign != textAlign) simple(EMR_SETTEXTALIGN, textAlign);
        if (w.rop2 != s.rop2) simple(EMR_SETROP2, static_cast<std::uint32_t>(s.rop2));
        if (w.polyFillMode != s.polyFillMode) {
            simple(EMR_SETPOLYFILLMODE, static_cast<std::uint32_t>(s.polyFillMode));
        }
        if (w.brushOrg != s.brushOrg) pointRecord(EMR_SETBRUSHORGEX, s.brushOrg);
        w.bkMode = s.bkMode;
        w.bkColor = s.bkColor;
        w.textColor = s.textColor;
        w.textAlign = textAlign;
        w.rop2 = s.rop2;
        w.polyFillMode = s.polyFillMode;
        w.brushOrg = s.brushOrg;
        if (!(w.pen == pen)) selectPen(pen);
        if (!(w.brush == brush) || brush.GetKind() == CBrush::PATTERN) selectBrush(brush, s);

        if (s.clipped && !(w.clipped && w.clip == s.clip)) {
            if (!w.clipped) {
                end(EMR_SAVEDC);
                saved_ = std::make_unique<Written>(written_);
            }
            end(EMR_INTERSECTCLIPRECT);
            if (s.clip.IsRectEmpty()) {
                rect(CRect());
            } else {
                rect(CRect(toLogX(w, s.clip.left), toLogY(w, s.clip.top), toLogX(w, s.clip.right),
                           toLogY(w, s.clip.bottom)));
            }
            w.clipped = true;
            w.clip = s.clip;
        }
    }
    void sync(const CDC::State& s) { sync(s, s.pen, s.brush, s.textAlign); }

    CCairoDC& measurer(const CDC::State& s) {
        CCairoDC& m = *measurer_;
        CDC::State state = m.GetState();
        state.font = s.font;
        state.mapMode = s.mapMode;
        state.windowExt = s.windowExt;
        state.viewportExt = s.viewportExt;
        m.SetState(state);
        return m;
    }

    static CRect boundsOf(const std::vector<CPoint>& points) {
        CRect r(points[0].x, points[0].y, points[0].x, points[0].y);
        for (CPoint p : points) {
            r.left = std::min(r.left, p.x);
            r.top = std::min(r.top, p.y);
            r.right = std::max(r.right, p.x);
            r.bottom = std::max(r.bottom, p.y);
        }
        return r;
    }

    void poly(std::uint32_t type, const CRecordingDC::Entry& e) {
        sync(e.state);
        end(type);
        const CRect b = boundsOf(e.points);
        rect(b);
        u32(static_cast<std::uint32_t>(e.points.size()));
        for (CPoint p : e.points) point(p);
        touch(e.state, CRect(b.left, b.top, b.right + 1, b.bottom + 1), penMargin(e.state));
    }

    void text(const CDC::State& s, CPoint at, const std::string& utf8, const CRect* clip,
              unsigned align) {
        sync(s, s.pen, s.brush, align);
        if (!(written_.state.font == s.font) || written_.font == 0) selectFont(s.font);
        std::vector<std::size_t> starts;
        const std::u16string units = toUtf16(utf8, &starts);
        CCairoDC& m = measurer(s);
        // Advances in logical units: the width of each prefix ending on a character.
        std::vector<int> dx(units.size(), 0);
        int previous = 0;
        for (std::size_t i = 0; i < units.size(); ++i) {
            if (starts[i] == std::string::npos) continue;
            std::size_t next = i + 1;
            while (starts[next] == std::string::npos) ++next;
            const int w = m.GetTextExtent(utf8.data(), static_cast<int>(starts[next])).cx;
            dx[i] = w - previous;
            previous = w;
        }
        TEXTMETRIC tm;
        m.GetTextMetrics(&tm);
        CRect box(at.x, at.y, at.x + previous, at.y + tm.tmHeight);
        if ((align & TA_CENTER) == TA_CENTER) {
            box.OffsetRect(-previous / 2, 0);
        } else if (align & TA_RIGHT) {
            box.OffsetRect(-previous, 0);
        }
        if ((align & TA_BASELINE) == TA_BASELINE) {
            box.OffsetRect(0, -tm.tmAscent);
        } else if (align & TA_BOTTOM) {
            box.OffsetRect(0, -tm.tmHeight);
        }
        if (clip != nullptr && !box.IntersectRect(box, *clip)) box.SetRectEmpty();

        end(EMR_EXTTEXTOUTW);
        rect(box);  // bounds
        u32(GM_COMPATIBLE);
        f32(0);  // scales, unused in compatible mode
        f32(0);
        point(at);
        u32(static_cast<std::uint32_t>(units.size()));
        const std::uint32_t offString = 76;
        const std::uint32_t stringBytes = (units.size() * 2 + 3) / 4 * 4;
        u32(offString);
        u32(clip != nullptr ? ETO_CLIPPED : 0);
        rect(clip != nullptr ? *clip : CRect());
        u32(offString + stringBytes);
        for (char16_t c : units) u16(c);
        while ((out_.size() - start_) % 4 != 0) out_ += '\0';
        for (int d : dx) i32(d);
        if (!box.IsRectEmpty()) touch(s, box, 0);
    }

    // Pixels as bottom-up 32-bit rows; a monochrome bitmap takes the text colour for black
    // and the background colour for white, as blits colour it.
    void dibBits(const CBitmap& bitmap, const CDC::State& s) {
        for (int y = bitmap.GetHeight() - 1; y >= 0; --y) {
            for (int x = 0; x < bitmap.GetWidth(); ++x) {
                COLORREF c = bitmap.GetPixel(x, y);
                if (bitmap.IsMonochrome()) c = c == 0 ? s.textColor : s.bkColor;
                u32((GetRValue(c) << 16) | (GetGValue(c) << 8) | GetBValue(c));
            }
        }
    }

    void blit(const CRecordingDC::Entry& e) {
        sync(e.state);
        const CRect& d = e.rect;
        const CBitmap& b = e.bitmap;
        if (b.GetSafeHandle() == nullptr) {
            // An operation that reads no source (BLACKNESS, WHITENESS, DSTINVERT).
            end(EMR_BITBLT);
            rect(d);
            i32(d.left);
            i32(d.top);
            i32(d.Width());
            i32(d.Height());
            u32(e.rop);
            i32(0);
            i32(0);
            f32(1);  // identity transform of the source
            f32(0);
            f32(0);
            f32(1);
            f32(0);
            f32(0);
            u32(0);                              // source background colour
            u32(0);                              // usage
            for (int i = 0; i < 4; ++i) u32(0);  // no bitmap
        } else {
            const int w = b.GetWidth();
            const int h = b.GetHeight();
            end(EMR_STRETCHDIBITS);
            rect(d);
            i32(d.left);
            i32(d.top);
            i32(0);
            i32(0);
            i32(w);
            i32(h);
            u32(80);  // bitmap info after the fixed part
            u32(40);
            u32(120);
            u32(static_cast<std::uint32_t>(w * h * 4));
            u32(0);  // DIB_RGB_COLORS
            u32(e.rop);
            i32(d.Width());
            i32(d.Height());
            bitmapInfo(w, h);
            dibBits(b, e.state);
        }
        touch(e.state, d, 0);
    }

    void draw(const CRecordingDC::Entry& e) {
        using Call = CDC::Call;
        const CDC::State& s = e.state;
        switch (e.call) {
            case Call::LineTo: {
                sync(s);
                if (written_.state.position != e.points[0]) {
                    pointRecord(EMR_MOVETOEX, e.points[0]);
                }
                pointRecord(EMR_LINETO, e.points[1]);
                written_.state.position = e.points[1];
                CRect r(e.points[0], e.points[1]);
                r.NormalizeRect();
                touch(s, CRect(r.left, r.top, r.right + 1, r.bottom + 1), penMargin(s));
                break;
            }
            case Call::Polyline:
                poly(EMR_POLYLINE, e);
                break;
            case Call::Polygon:
                poly(EMR_POLYGON, e);
                break;
            case Call::Rectangle:
            case Call::Ellipse:
                sync(s);
                end(e.call == Call::Rectangle ? EMR_RECTANGLE : EMR_ELLIPSE);
                rect(e.rect);
                touch(s, e.rect, penMargin(s));
                break;
            case Call::Arc:
            case Call::Pie:
            case Call::Chord:
                sync(s);
                end(e.call == Call::Arc ? EMR_ARC : e.call == Call::Pie ? EMR_PIE : EMR_CHORD);
                rect(e.rect);
                point(e.points[0]);
                point(e.points[1]);
                touch(s, e.rect, penMargin(s));
                break;
            case Call::FillRect: {
                // A rectangle without outline covers its interior, one pixel short on the
                // right and bottom: grown by one it covers exactly the filled area.
                const CRect area(e.rect.left, e.rect.top, e.rect.right + 1, e.rect.bottom + 1);
                if (e.brush.GetKind() == CBrush::HATCH && s.bkMode == OPAQUE) {
                    // Not every player paints a hatch's opaque background, so it goes first
                    // as a solid fill and the hatch follows over it, transparent.
                    sync(s, CPen::Stock(NULL_PEN), CBrush(s.bkColor), s.textAlign);
                    end(EMR_RECTANGLE);
                    rect(area);
                    CDC::State hatch = s;
                    hatch.bkMode = TRANSPARENT;
                    sync(hatch, CPen::Stock(NULL_PEN), e.brush, s.textAlign);
                } else {
                    sync(s, CPen::Stock(NULL_PEN), e.brush, s.textAlign);
                }
                end(EMR_RECTANGLE);
                rect(area);
                touch(s, e.rect, 0);
                break;
            }
            case Call::SetPixel:
                sync(s);
                end(EMR_SETPIXELV);
                point(e.points[0]);
                u32(e.color);
                touch(s, CRect(e.points[0].x, e.points[0].y, e.points[0].x + 1, e.points[0].y + 1),
                      0);
                break;
            case Call::TextOut:
                text(s, e.points[0], e.text, nullptr, s.textAlign);
                break;
            case Call::DrawText:
                for (const CDC::TextLine& line : e.lines) {
                    text(s, line.at, line.text, (e.format & DT_NOCLIP) ? nullptr : &e.rect,
                         TA_LEFT | TA_TOP);
                }
                break;
            case Call::BitBlt:
            case Call::StretchBlt:
                blit(e);
                break;
            default:
                break;  // state changes: every drawing call carries its state
        }
    }

    CSize size_;
    std::unique_ptr<CCairoDC> measurer_;
    std::string out_;
    std::size_t start_ = std::string::npos;
    std::uint32_t records_ = 0;
    CRect bounds_;
    Written written_;
    std::unique_ptr<Written> saved_;
    std::vector<Object> objects_;
    std::map<std::string, std::uint32_t> handles_;
    unsigned long clock_ = 0;
};

}  // namespace

CEmfDC::CEmfDC(CSize size) : CRecordingDC(size) {}

CEmfDC::~CEmfDC() = default;

std::string CEmfDC::ToEMF() const {
    return EmfEncoder(GetDeviceSize()).encode(GetEntries());
}

bool CEmfDC::Save(const char* path) const {
    if (path == nullptr) return false;
    return KFile::write(path, ToEMF()) == KFile::OK;
}
