#pragma once

#include <string>
#include <vector>

#include <kalvo/platform/CDC.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/platform/HWND.h>
#include <kalvo/toolkit/KPainter.h>

// The library's transport to and from the system clipboard. Text goes out under every
// format of the class's list: the standard text format and the library's own registered
// format, which the library's panels recognise as their own data.
class KComponent;

class KClipboard {
public:
    KClipboard() = delete;

    // The name under which the library's own text format is registered.
    static constexpr const char* FORMAT_NAME = "Kalvo Text";
    // The formats of pictures: bitmaps as PNG, metafiles as SVG.
    static constexpr const char* BITMAP_FORMAT_NAME = "image/png";
    static constexpr const char* METAFILE_FORMAT_NAME = "image/svg+xml";

    // Replaces the clipboard's contents by text (with its terminating zero) under every
    // format of the list, showing the wait cursor meanwhile. 1, or 0 when the clipboard
    // cannot be opened or takes no data.
    static int setData(const char* text, HWND owner);
    // Sets length to the byte size of the data under format: 1, or 0 when there is none.
    // A format of the list that the clipboard lacks is read from another of the list.
    static int getDataLength(unsigned format, unsigned long* length, HWND owner);
    // Copies up to size bytes of the data under format into buffer (no terminator is
    // added): the number of bytes copied, 0 when there is none.
    static int getData(unsigned format, char* buffer, int size, HWND owner);

    // Replaces the clipboard's contents by the painter's drawing of the area (logical
    // coordinates of dc, which the image copies; null for a plain screen-like context)
    // as a bitmap: a PNG image under BITMAP_FORMAT_NAME. 1, or 0 when there is no painter
    // or the clipboard cannot be opened.
    static int setBitmap(CRect area, CDC* dc, KPainter* painter, HWND owner);
    // The same drawing recorded as a metafile: an SVG picture of the area's size under
    // METAFILE_FORMAT_NAME.
    static int setMetaFile(CRect area, CDC* dc, KPainter* painter, HWND owner);
    // A component drawn whole, for its host's window: as a bitmap, else as a metafile.
    static int setComponentPicture(KComponent* component, bool bitmap);

private:
    // The format list, and filling it from the clipboard in use.
    static std::vector<unsigned>& formats();
    static void registerFormats();
    static int getFormatCount();
    static bool isFormat(int format);
    // The position of format in the list, or -1.
    static int getFormatIndex(int format);
    // The format to read for format: itself when the clipboard has it, else for a format
    // of the list the first of the list that the clipboard has. After registerFormats.
    static unsigned resolveFormat(unsigned format);
    // Replaces the clipboard's contents by the bytes under the format of that name.
    static int setPicture(const char* formatName, const std::string& bytes, HWND owner);
};
