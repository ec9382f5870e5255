#pragma once

#include <kalvo/platform/CBitmap.h>
#include <kalvo/platform/CDC.h>
#include <kalvo/platform/CRect.h>

// An off-screen bitmap with its own memory device context, set up so that drawing into it
// with the source context's logical coordinates lands in the bitmap: its window origin is
// the extents' top-left, its mapping that of the source, its clip the extents.
class KImageContext : public CBitmap {
public:
    KImageContext(CDC* source, CRect extents);
    KImageContext(const KImageContext&) = delete;
    KImageContext& operator=(const KImageContext&) = delete;
    ~KImageContext() override;

    // The memory device context that draws into the image.
    CDC* getDC() const { return memory_; }
    CRect getExtents() const { return extents_; }
    // The bitmap's width and height.
    CSize getSize() const;

    // Copies the pixels of `from` at (x, y) into the image.
    void copyBits(CDC* from, int x, int y);
    // Copies the image to (x, y) of `to`, or stretched into the destination.
    void drawBits(CDC* to, int x, int y);
    void drawBits(CDC* to, CRect destination);

private:
    CDC* memory_;
    CRect extents_;
    CBitmap previous_;
};
