#include <kalvo/host/gtk/KGtkClipboard.h>

#include <cctype>
#include <cstring>
#include <string>

#include <gio/gio.h>

#include <kalvo/host/gtk/KGtkModalLoop.h>

namespace {

constexpr const char* UTF8_TEXT = "text/plain;charset=utf-8";

// A read under way. The waiting side gives it up on timeout; the callback that comes later
// then frees it.
struct Transfer {
    KGtkModalLoop loop;
    GCancellable* cancellable = g_cancellable_new();
    bool abandoned = false;
    bool ok = false;
    std::vector<std::uint8_t> bytes;

    ~Transfer() { g_object_unref(cancellable); }

    // Called with the result; false when the waiting side is gone (and this is freed).
    bool deliver() {
        if (abandoned) {
            delete this;
            return false;
        }
        loop.quit();
        return true;
    }

    // Waits for the result; the transfer is freed here unless it was given up.
    static bool wait(Transfer* transfer, std::vector<std::uint8_t>& out) {
        if (!transfer->loop.run(KGtkClipboard::READ_TIMEOUT_MS)) {
            transfer->abandoned = true;
            g_cancellable_cancel(transfer->cancellable);
            return false;
        }
        const bool ok = transfer->ok;
        if (ok) out = std::move(transfer->bytes);
        delete transfer;
        return ok;
    }
};

void onText(GObject* source, GAsyncResult* result, gpointer data) {
    auto* transfer = static_cast<Transfer*>(data);
    char* text = gdk_clipboard_read_text_finish(GDK_CLIPBOARD(source), result, nullptr);
    if (text != nullptr && !transfer->abandoned) {
        transfer->bytes.assign(text, text + std::strlen(text) + 1);
        transfer->ok = true;
    }
    g_free(text);
    transfer->deliver();
}

void onSpliced(GObject* source, GAsyncResult* result, gpointer data) {
    auto* transfer = static_cast<Transfer*>(data);
    auto* memory = G_MEMORY_OUTPUT_STREAM(source);
    if (g_output_stream_splice_finish(G_OUTPUT_STREAM(memory), result, nullptr) >= 0 &&
        !transfer->abandoned) {
        const auto* start =
            static_cast<const std::uint8_t*>(g_memory_output_stream_get_data(memory));
        transfer->bytes.assign(start, start + g_memory_output_stream_get_data_size(memory));
        transfer->ok = true;
    }
    g_object_unref(memory);
    transfer->deliver();
}

void onStream(GObject* source, GAsyncResult* result, gpointer data) {
    auto* transfer = static_cast<Transfer*>(data);
    GInputStream* stream =
        gdk_clipboard_read_finish(GDK_CLIPBOARD(source), result, nullptr, nullptr);
    if (stream == nullptr || transfer->abandoned) {
        if (stream != nullptr) g_object_unref(stream);
        transfer->deliver();
        return;
    }
    GOutputStream* memory = g_memory_output_stream_new_resizable();
    g_output_stream_splice_async(
        memory, stream,
        static_cast<GOutputStreamSpliceFlags>(G_OUTPUT_STREAM_SPLICE_CLOSE_SOURCE |
                                              G_OUTPUT_STREAM_SPLICE_CLOSE_TARGET),
        G_PRIORITY_DEFAULT, transfer->cancellable, onSpliced, transfer);
    g_object_unref(stream);
}

}  // namespace

KGtkClipboard::KGtkClipboard(GdkClipboard* clipboard)
    : clipboard_(GDK_CLIPBOARD(g_object_ref(clipboard))) {}

KGtkClipboard::~KGtkClipboard() {
    g_object_unref(clipboard_);
}

bool KGtkClipboard::open(HWND) {
    if (open_) return false;
    open_ = true;
    changed_ = false;
    placed_.clear();
    read_.clear();
    missing_.clear();
    return true;
}

void KGtkClipboard::close() {
    if (!open_) return;
    open_ = false;
    if (changed_) publish();
    placed_.clear();
    read_.clear();
    missing_.clear();
}

bool KGtkClipboard::empty() {
    if (!open_) return false;
    placed_.clear();
    changed_ = true;
    return true;
}

KString KGtkClipboard::getMimeType(unsigned format) const {
    if (format == CF_TEXT) return UTF8_TEXT;
    const KString name = getFormatName(format);
    if (name.isEmpty() || std::strchr(name.c_str(), '/') != nullptr) return name;
    std::string mime = "application/x-";
    for (const char* p = name.c_str(); *p != '\0'; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        mime += std::isalnum(c) ? static_cast<char>(std::tolower(c)) : '-';
    }
    return KString(mime.c_str());
}

bool KGtkClipboard::setData(unsigned format, const void* data, size_t size) {
    if (!open_ || format == 0 || (data == nullptr && size > 0)) return false;
    if (getMimeType(format).isEmpty()) return false;
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    placed_[format].assign(bytes, bytes + size);
    changed_ = true;
    return true;
}

void KGtkClipboard::publish() {
    published_ = placed_;
    std::vector<GdkContentProvider*> providers;
    for (const auto& [format, bytes] : published_) {
        if (format == CF_TEXT) {
            // Text ends at its zero byte and goes out as valid UTF-8 under every text type.
            const char* start = reinterpret_cast<const char*>(bytes.data());
            const size_t length = strnlen(start, bytes.size());
            char* text = g_utf8_make_valid(start, static_cast<gssize>(length));
            providers.push_back(gdk_content_provider_new_typed(G_TYPE_STRING, text));
            g_free(text);
            continue;
        }
        GBytes* data = g_bytes_new(bytes.data(), bytes.size());
        providers.push_back(gdk_content_provider_new_for_bytes(getMimeType(format).c_str(), data));
        g_bytes_unref(data);
    }
    if (providers.empty()) {
        gdk_clipboard_set_content(clipboard_, nullptr);
        return;
    }
    GdkContentProvider* all = gdk_content_provider_new_union(providers.data(), providers.size());
    gdk_clipboard_set_content(clipboard_, all);
    g_object_unref(all);
}

bool KGtkClipboard::isFormatAvailable(unsigned format) const {
    if (gdk_clipboard_is_local(clipboard_)) return published_.count(format) != 0;
    GdkContentFormats* formats = gdk_clipboard_get_formats(clipboard_);
    if (format == CF_TEXT) {
        return gdk_content_formats_contain_gtype(formats, G_TYPE_STRING) ||
               gdk_content_formats_contain_mime_type(formats, UTF8_TEXT) ||
               gdk_content_formats_contain_mime_type(formats, "text/plain");
    }
    const KString mime = getMimeType(format);
    return !mime.isEmpty() && gdk_content_formats_contain_mime_type(formats, mime.c_str());
}

const KGtkClipboard::Bytes* KGtkClipboard::fetch(unsigned format) const {
    if (!open_) return nullptr;
    if (gdk_clipboard_is_local(clipboard_)) {
        const auto it = published_.find(format);
        return it != published_.end() ? &it->second : nullptr;
    }
    if (const auto it = read_.find(format); it != read_.end()) return &it->second;
    if (missing_.count(format) != 0 || !isFormatAvailable(format)) return nullptr;
    Bytes bytes;
    const bool ok =
        format == CF_TEXT ? readText(bytes) : readBytes(getMimeType(format).c_str(), bytes);
    if (!ok) {
        missing_[format] = true;
        return nullptr;
    }
    return &(read_[format] = std::move(bytes));
}

bool KGtkClipboard::readText(Bytes& out) const {
    auto* transfer = new Transfer;
    gdk_clipboard_read_text_async(clipboard_, transfer->cancellable, onText, transfer);
    return Transfer::wait(transfer, out);
}

bool KGtkClipboard::readBytes(const char* mimeType, Bytes& out) const {
    auto* transfer = new Transfer;
    const char* types[] = {mimeType, nullptr};
    gdk_clipboard_read_async(clipboard_, types, G_PRIORITY_DEFAULT, transfer->cancellable, onStream,
                             transfer);
    return Transfer::wait(transfer, out);
}

bool KGtkClipboard::getDataSize(unsigned format, size_t& size) const {
    const Bytes* bytes = fetch(format);
    if (bytes == nullptr) return false;
    size = bytes->size();
    return true;
}

size_t KGtkClipboard::getData(unsigned format, void* buffer, size_t size) const {
    const Bytes* bytes = fetch(format);
    if (bytes == nullptr || buffer == nullptr) return 0;
    const size_t n = size < bytes->size() ? size : bytes->size();
    if (n > 0) std::memcpy(buffer, bytes->data(), n);
    return n;
}
