#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include <kalvo/platform/KPlatformClipboard.h>

// A clipboard that lives in this process only: for programs without a window system and
// for tests. It keeps the desktop clipboard's rules (open before use, one opener at a time).
class KLocalClipboard : public KPlatformClipboard {
public:
    bool open(HWND owner) override;
    void close() override;
    bool isOpen() const override { return open_; }
    bool empty() override;

    bool setData(unsigned format, const void* data, size_t size) override;
    bool isFormatAvailable(unsigned format) const override;
    bool getDataSize(unsigned format, size_t& size) const override;
    size_t getData(unsigned format, void* buffer, size_t size) const override;

    // The window that opened it last.
    HWND getOwner() const { return owner_; }

private:
    bool open_ = false;
    HWND owner_ = nullptr;
    std::map<unsigned, std::vector<std::uint8_t>> data_;
};
