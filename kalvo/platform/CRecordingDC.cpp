#include <kalvo/platform/CRecordingDC.h>

#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>

CRecordingDC::CRecordingDC(CSize size) : size_(size) {}

CRecordingDC::~CRecordingDC() = default;

CRecordingDC::Entry& CRecordingDC::add(Call call) {
    entries_.push_back(Entry{call, state_, {}, {}, {}, 0, {}, 0, {}, {}, 0});
    return entries_.back();
}

int CRecordingDC::Count(Call call) const {
    int n = 0;
    for (const Entry& e : entries_) n += e.call == call;
    return n;
}

CDC* CRecordingDC::CreateCompatibleDC() {
    return measurer().CreateCompatibleDC();
}

COLORREF CRecordingDC::GetPixel(int, int) const {
    return CLR_INVALID;
}

void CRecordingDC::stateChanged(Call call) {
    add(call);
}

void CRecordingDC::doLine(CPoint from, CPoint to) {
    add(Call::LineTo).points = {from, to};
}

void CRecordingDC::doPolyline(const std::vector<CPoint>& points) {
    add(Call::Polyline).points = points;
}

void CRecordingDC::doPolygon(const std::vector<CPoint>& points) {
    add(Call::Polygon).points = points;
}

void CRecordingDC::doRectangle(const CRect& r) {
    add(Call::Rectangle).rect = r;
}

void CRecordingDC::doEllipse(const CRect& r) {
    add(Call::Ellipse).rect = r;
}

void CRecordingDC::doArc(Call kind, const CRect& r, CPoint start, CPoint end) {
    Entry& e = add(kind);
    e.rect = r;
    e.points = {start, end};
}

void CRecordingDC::doFillRect(const CRect& r, const CBrush& brush) {
    Entry& e = add(Call::FillRect);
    e.rect = r;
    e.brush = brush;
}

void CRecordingDC::doSetPixel(int x, int y, COLORREF color) {
    Entry& e = add(Call::SetPixel);
    e.points = {CPoint(x, y)};
    e.color = color;
}

void CRecordingDC::doTextOut(int x, int y, const char* text, int count) {
    Entry& e = add(Call::TextOut);
    e.points = {CPoint(x, y)};
    e.text.assign(text, count);
}

void CRecordingDC::doDrawText(const char* text, int count, const CRect& rect, unsigned format,
                              const std::vector<TextLine>& lines) {
    Entry& e = add(Call::DrawText);
    e.text.assign(text, count);
    e.rect = rect;
    e.format = format & ~DT_MODIFYSTRING;
    e.lines = lines;
}

void CRecordingDC::doBlit(const CRect& destination, const CBitmap& source, const CRect& from,
                          std::uint32_t rop) {
    Entry& e = add(Call::StretchBlt);
    e.rect = destination;
    if (source.GetSafeHandle() != nullptr) e.bitmap = source.Copy(from);
    e.rop = rop;
}

CCairoDC& CRecordingDC::measurer() const {
    if (!measurer_) measurer_.reset(CCairoDC::CreateImage(1, 1));
    CCairoDC& m = *measurer_;
    if (!(m.GetCurrentFont() == state_.font)) m.SelectObject(state_.font);
    if (m.GetMapMode() != state_.mapMode) m.SetMapMode(state_.mapMode);
    if (m.GetWindowExt() != state_.windowExt) {
        m.SetWindowExt(state_.windowExt.cx, state_.windowExt.cy);
    }
    if (m.GetViewportExt() != state_.viewportExt) {
        m.SetViewportExt(state_.viewportExt.cx, state_.viewportExt.cy);
    }
    return m;
}

CSize CRecordingDC::doTextExtent(const char* text, int count) const {
    return measurer().GetTextExtent(text, count);
}

void CRecordingDC::doTextMetrics(TEXTMETRIC* metrics) const {
    measurer().GetTextMetrics(metrics);
}

void CRecordingDC::Play(CDC* target) const {
    if (target == nullptr) return;
    const State base = target->GetState();
    const CPoint shift = base.viewportOrg - base.windowOrg;
    const int saved = target->SaveDC();
    for (const Entry& e : entries_) {
        if (e.call < Call::LineTo) continue;  // state changes: each drawing call carries its state
        State s = e.state;
        s.windowOrg = e.state.windowOrg + base.windowOrg;
        s.viewportOrg = e.state.viewportOrg + base.viewportOrg;
        if (e.state.clipped) {
            CRect clip = e.state.clip + shift;
            if (base.clipped && !clip.IntersectRect(clip, base.clip)) clip.SetRectEmpty();
            s.clip = clip;
        } else {
            s.clipped = base.clipped;
            s.clip = base.clip;
        }
        if (e.call == Call::LineTo) s.position = e.points[0];
        target->SetState(s);
        switch (e.call) {
            case Call::LineTo:
                target->LineTo(e.points[1]);
                break;
            case Call::Polyline:
                target->Polyline(e.points.data(), static_cast<int>(e.points.size()));
                break;
            case Call::Polygon:
                target->Polygon(e.points.data(), static_cast<int>(e.points.size()));
                break;
            case Call::Rectangle:
                target->Rectangle(e.rect);
                break;
            case Call::Ellipse:
                target->Ellipse(e.rect);
                break;
            case Call::Arc:
                target->Arc(e.rect, e.points[0], e.points[1]);
                break;
            case Call::Pie:
                target->Pie(e.rect, e.points[0], e.points[1]);
                break;
            case Call::Chord:
                target->Chord(e.rect, e.points[0], e.points[1]);
                break;
            case Call::FillRect:
                target->FillRect(e.rect, &e.brush);
                break;
            case Call::SetPixel:
                target->SetPixelV(e.points[0].x, e.points[0].y, e.color);
                break;
            case Call::TextOut:
                target->TextOut(e.points[0].x, e.points[0].y, e.text.data(),
                                static_cast<int>(e.text.size()));
                break;
            case Call::DrawText: {
                CRect r = e.rect;
                target->DrawText(e.text.c_str(), &r, e.format);
                break;
            }
            case Call::BitBlt:
            case Call::StretchBlt: {
                std::unique_ptr<CDC> memory(target->CreateCompatibleDC());
                if (e.bitmap.GetSafeHandle() != nullptr) memory->SelectObject(e.bitmap);
                target->StretchBlt(e.rect.left, e.rect.top, e.rect.Width(), e.rect.Height(),
                                   memory.get(), 0, 0, e.bitmap.GetWidth(), e.bitmap.GetHeight(),
                                   e.rop);
                break;
            }
            default:
                break;
        }
    }
    target->RestoreDC(saved);
}

bool CRecordingDC::SaveSVG(const char* path) const {
    std::unique_ptr<CCairoDC> dc(CCairoDC::CreateSVG(path, size_.cx, size_.cy));
    if (!dc) return false;
    Play(dc.get());
    dc->Finish();
    return cairo_surface_status(dc->GetSurface()) == CAIRO_STATUS_SUCCESS;
}

bool CRecordingDC::SavePDF(const char* path) const {
    std::unique_ptr<CCairoDC> dc(CCairoDC::CreatePDF(path, size_.cx, size_.cy));
    if (!dc) return false;
    Play(dc.get());
    dc->Finish();
    return cairo_surface_status(dc->GetSurface()) == CAIRO_STATUS_SUCCESS;
}

std::string CRecordingDC::ToSVG() const {
    std::string out;
    {
        std::unique_ptr<CCairoDC> dc(CCairoDC::CreateSVG(&out, size_.cx, size_.cy));
        Play(dc.get());
        dc->Finish();
    }
    return out;
}
