#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include <gdk/gdk.h>

#include <kalvo/platform/KPlatformClipboard.h>

// The desktop clipboard of a GDK display. What is placed while the clipboard is open goes
// out when it is closed, every format under its MIME type: text as UTF-8 text (to every
// program that takes text), "image/png" and "image/svg+xml" as themselves, other registered
// names as "application/x-" and the name in lower case with dashes. Reading asks the
// program that holds the clipboard and waits for its answer (a nested main loop, a few
// seconds at most); what was read is kept until the clipboard is closed.
class KGtkClipboard : public KPlatformClipboard {
public:
    explicit KGtkClipboard(GdkClipboard* clipboard);
    ~KGtkClipboard() override;
    KGtkClipboard(const KGtkClipboard&) = delete;
    KGtkClipboard& operator=(const KGtkClipboard&) = delete;

    bool open(HWND owner) override;
    void close() override;
    bool isOpen() const override { return open_; }
    bool empty() override;

    bool setData(unsigned format, const void* data, size_t size) override;
    bool isFormatAvailable(unsigned format) const override;
    bool getDataSize(unsigned format, size_t& size) const override;
    size_t getData(unsigned format, void* buffer, size_t size) const override;

    // The MIME type a format travels under; empty for an unknown number.
    KString getMimeType(unsigned format) const;

    // How long a read waits for the clipboard's owner.
    static constexpr unsigned READ_TIMEOUT_MS = 5000;

private:
    using Bytes = std::vector<std::uint8_t>;

    void publish();
    // The data under a format, read from the desktop once per opening; null for none.
    const Bytes* fetch(unsigned format) const;
    bool readText(Bytes& out) const;
    bool readBytes(const char* mimeType, Bytes& out) const;

    GdkClipboard* clipboard_;
    bool open_ = false;
    bool changed_ = false;
    std::map<unsigned, Bytes> placed_;     // while open, to go out on close
    std::map<unsigned, Bytes> published_;  // what this program gave the desktop last
    mutable std::map<unsigned, Bytes> read_;
    mutable std::map<unsigned, bool> missing_;
};
