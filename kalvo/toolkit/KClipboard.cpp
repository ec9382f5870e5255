#include <kalvo/toolkit/KClipboard.h>

#include <cstring>

#include <memory>

#include <kalvo/platform/CCairoDC.h>
#include <kalvo/platform/CRecordingDC.h>
#include <kalvo/platform/KWaitCursor.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/KPlatformClipboard.h>
#include <kalvo/platform/RasterOp.h>
#include <kalvo/toolkit/KComponent.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/KImageContext.h>

namespace {

// Shows the wait cursor for as long as it lives.
// Closes the clipboard, when it was opened, on every way out.
class OpenClipboard {
public:
    explicit OpenClipboard(HWND owner) : clipboard_(KPlatformClipboard::get()) {
        open_ = clipboard_.open(owner);
    }
    ~OpenClipboard() {
        if (open_) clipboard_.close();
    }
    OpenClipboard(const OpenClipboard&) = delete;
    OpenClipboard& operator=(const OpenClipboard&) = delete;

    bool isOpen() const { return open_; }
    KPlatformClipboard* operator->() const { return &clipboard_; }

private:
    KPlatformClipboard& clipboard_;
    bool open_;
};

}  // namespace

std::vector<unsigned>& KClipboard::formats() {
    static std::vector<unsigned> list;
    return list;
}

void KClipboard::registerFormats() {
    // Again on every use: a host may install its own clipboard after the first one, and
    // registering a name again only looks it up.
    formats() = {KPlatformClipboard::CF_TEXT,
                 KPlatformClipboard::get().registerFormat(FORMAT_NAME)};
}

int KClipboard::getFormatCount() {
    return static_cast<int>(formats().size());
}

bool KClipboard::isFormat(int format) {
    return getFormatIndex(format) >= 0;
}

int KClipboard::getFormatIndex(int format) {
    for (int i = 0; i < getFormatCount(); ++i) {
        if (formats()[static_cast<size_t>(i)] == static_cast<unsigned>(format)) return i;
    }
    return -1;
}

unsigned KClipboard::resolveFormat(unsigned format) {
    const KPlatformClipboard& clipboard = KPlatformClipboard::get();
    if (clipboard.isFormatAvailable(format) || !isFormat(static_cast<int>(format))) return format;
    for (int i = 0; i < getFormatCount(); ++i) {
        const unsigned candidate = formats()[static_cast<size_t>(i)];
        if (clipboard.isFormatAvailable(candidate)) return candidate;
    }
    return format;
}

int KClipboard::setData(const char* text, HWND owner) {
    if (text == nullptr) return 0;
    KWaitCursor wait;
    registerFormats();
    OpenClipboard clipboard(owner);
    if (!clipboard.isOpen() || !clipboard->empty()) return 0;
    const size_t size = std::strlen(text) + 1;
    for (int i = 0; i < getFormatCount(); ++i) {
        if (!clipboard->setData(formats()[static_cast<size_t>(i)], text, size)) return 0;
    }
    return 1;
}

int KClipboard::getDataLength(unsigned format, unsigned long* length, HWND owner) {
    if (length == nullptr) return 0;
    registerFormats();
    OpenClipboard clipboard(owner);
    size_t size = 0;
    if (!clipboard.isOpen() || !clipboard->getDataSize(resolveFormat(format), size)) return 0;
    *length = size;
    return 1;
}

int KClipboard::getData(unsigned format, char* buffer, int size, HWND owner) {
    if (buffer == nullptr || size <= 0) return 0;
    registerFormats();
    OpenClipboard clipboard(owner);
    if (!clipboard.isOpen()) return 0;
    return static_cast<int>(
        clipboard->getData(resolveFormat(format), buffer, static_cast<size_t>(size)));
}

int KClipboard::setPicture(const char* formatName, const std::string& bytes, HWND owner) {
    const unsigned format = KPlatformClipboard::get().registerFormat(formatName);
    bool placed;
    {
        OpenClipboard clipboard(owner);
        if (!clipboard.isOpen() || !clipboard->empty()) return 0;
        placed = clipboard->setData(format, bytes.data(), bytes.size());
    }
    // The owner is repainted once the clipboard is closed: the rendering may have used it.
    if (KHost* host = KHost::fromWindow(owner)) host->invalidateRect(host->getClientRect(), false);
    return placed ? 1 : 0;
}

int KClipboard::setBitmap(CRect area, CDC* dc, KPainter* painter, HWND owner) {
    if (painter == nullptr) return 0;
    KWaitCursor wait;
    area.NormalizeRect();
    std::unique_ptr<CDC> screen;
    if (dc == nullptr) {
        screen.reset(CCairoDC::CreateImage(1, 1));
        dc = screen.get();
    }
    // Painted off-screen in the context's own coordinates, then copied into a bitmap of the
    // context's kind.
    KImageContext image(dc, area);
    {
        KGraphics graphics(image.getDC());
        painter->paint(graphics);
    }
    const CSize size = image.getSize();
    CBitmap bitmap;
    bitmap.CreateCompatibleBitmap(dc, size.cx, size.cy);
    std::unique_ptr<CDC> memory(dc->CreateCompatibleDC());
    const CBitmap previous = memory->SelectObject(bitmap);
    memory->StretchBlt(0, 0, size.cx, size.cy, image.getDC(), image.getExtents().left,
                       image.getExtents().top, image.getExtents().Width(),
                       image.getExtents().Height(), SRCCOPY);
    memory->SelectObject(previous);
    return setPicture(BITMAP_FORMAT_NAME, bitmap.ToPNG(), owner);
}

int KClipboard::setMetaFile(CRect area, CDC*, KPainter* painter, HWND owner) {
    if (painter == nullptr) return 0;
    KWaitCursor wait;
    area.NormalizeRect();
    CRecordingDC metafile(area.Size());
    metafile.SetWindowOrg(area.left, area.top);
    {
        KGraphics graphics(&metafile);
        painter->paint(graphics);
    }
    return setPicture(METAFILE_FORMAT_NAME, metafile.ToSVG(), owner);
}

int KClipboard::setComponentPicture(KComponent* component, bool bitmap) {
    if (component == nullptr) return 0;
    const KHost* host = component->getCanvas();
    const HWND owner = host != nullptr ? host->getWindow() : 0;
    const CRect area(CPoint(0, 0), component->getSize());
    return bitmap ? setBitmap(area, nullptr, component, owner) : setMetaFile(area, nullptr, component, owner);
}
