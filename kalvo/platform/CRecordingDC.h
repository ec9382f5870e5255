#pragma once

#include <memory>
#include <string>
#include <vector>

#include <kalvo/platform/CCairoDC.h>
#include <kalvo/platform/CDC.h>

// A device context that draws nothing and remembers every call, in order, with the state it
// ran under: the library's metafile. It replays onto any other device context, and is
// saved as SVG or PDF through the cairo backend. Text is measured as the cairo backend
// measures it. Blits keep a copy of the pixels they copied.
class CRecordingDC : public CDC {
public:
    struct Entry {
        Call call;
        State state;                 // for a state change, the state after it
        std::vector<CPoint> points;  // LineTo: from, to; shapes: their points; Arc, Pie,
                                     // Chord: start, end; SetPixel, TextOut: the point
        CRect rect;                  // shapes, FillRect, DrawText, blit destinations
        std::string text;            // TextOut, DrawText
        unsigned format = 0;         // DrawText flags
        std::vector<TextLine> lines; // DrawText: the lines as laid out
        COLORREF color = 0;          // SetPixel
        CBrush brush;                // FillRect
        CBitmap bitmap;              // blits: the copied pixels
        std::uint32_t rop = 0;       // blits
    };

    // A picture of the given size: its frame when saved, and the device size.
    explicit CRecordingDC(CSize size);
    ~CRecordingDC() override;

    const std::vector<Entry>& GetEntries() const { return entries_; }
    // How many calls of the kind were recorded.
    int Count(Call call) const;
    void Clear() { entries_.clear(); }

    // Draws the recording onto the target, with the recording's logical origin at the
    // target's current logical origin and inside the target's current clip. The target's
    // state is the same afterwards.
    void Play(CDC* target) const;
    // False when the file cannot be written.
    bool SaveSVG(const char* path) const;
    bool SavePDF(const char* path) const;
    std::string ToSVG() const;

    CSize GetDeviceSize() const override { return size_; }
    // A memory device context of the cairo backend.
    CDC* CreateCompatibleDC() override;
    COLORREF GetPixel(int x, int y) const override;
    CBitmap GetPixelSource() const override { return CBitmap(); }

protected:
    void stateChanged(Call call) override;
    void doLine(CPoint from, CPoint to) override;
    void doPolyline(const std::vector<CPoint>& points) override;
    void doPolygon(const std::vector<CPoint>& points) override;
    void doRectangle(const CRect& r) override;
    void doEllipse(const CRect& r) override;
    void doArc(Call kind, const CRect& r, CPoint start, CPoint end) override;
    void doFillRect(const CRect& r, const CBrush& brush) override;
    void doSetPixel(int x, int y, COLORREF color) override;
    void doTextOut(int x, int y, const char* text, int count) override;
    void doDrawText(const char* text, int count, const CRect& rect, unsigned format,
                    const std::vector<TextLine>& lines) override;
    CSize doTextExtent(const char* text, int count) const override;
    void doTextMetrics(TEXTMETRIC* metrics) const override;
    void doBlit(const CRect& destination, const CBitmap& source, const CRect& from,
                std::uint32_t rop) override;

private:
    Entry& add(Call call);
    CCairoDC& measurer() const;

    CSize size_;
    std::vector<Entry> entries_;
    mutable std::unique_ptr<CCairoDC> measurer_;
};

// The metafile device context is the recording one.
using CMetaFileDC = CRecordingDC;
