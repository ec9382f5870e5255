#pragma once

#include <cstddef>
#include <vector>

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/HWND.h>

// The window system's clipboard as the library sees it: blocks of bytes, each under a
// format number. Standard formats have fixed numbers; others are registered by name at run
// time. As on the classic desktop clipboard, one owner opens it, empties it, places data
// and closes it again; reading data also happens while it is open.
class KPlatformClipboard {
public:
    static constexpr unsigned CF_TEXT = 1;  // text ending with a zero byte
    static constexpr unsigned FIRST_REGISTERED_FORMAT = 0xC000;

    virtual ~KPlatformClipboard() = default;

    // False while it is open already (by anyone).
    virtual bool open(HWND owner) = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
    // Drops every format; false when not open.
    virtual bool empty() = 0;

    // The number of the format of that name (case ignored), the same for every call with
    // that name; 0 for a null or empty name. Numbers are given out from
    // FIRST_REGISTERED_FORMAT in the order the names are first met.
    virtual unsigned registerFormat(const char* name);
    // The name of a registered or standard format; empty for an unknown number.
    virtual KString getFormatName(unsigned format) const;

    // Places a copy of size bytes under format, replacing what was there; false when not
    // open or for format 0.
    virtual bool setData(unsigned format, const void* data, size_t size) = 0;
    virtual bool isFormatAvailable(unsigned format) const = 0;
    // The byte size of the data under format; false when not open or there is none.
    virtual bool getDataSize(unsigned format, size_t& size) const = 0;
    // Copies up to size bytes of the data under format; the number copied (0 when not open
    // or there is none).
    virtual size_t getData(unsigned format, void* buffer, size_t size) const = 0;

    // The clipboard the library uses: the one the host installed, else a process-local one.
    static KPlatformClipboard& get();
    // Null goes back to the process-local clipboard. The installed one is not owned.
    static void install(KPlatformClipboard* clipboard);

private:
    std::vector<KString> names_;  // of the formats numbered from FIRST_REGISTERED_FORMAT
};
