#pragma once

#include <memory>

#include <kalvo/platform/CDC.h>
#include <kalvo/toolkit/KImageContext.h>

// Double buffering of one paint: drawing goes into an image the size of the target's clip
// box, copied to the target when this object is destroyed. A printing target is drawn on
// directly.
class KBufferedContext {
public:
    // With copyBackground, the image starts with the target's current pixels.
    KBufferedContext(CDC* target, bool copyBackground);
    // The same through an image kept by the caller between paints: it is used when it
    // still fits the target's clip box, and replaced by a new one when not.
    KBufferedContext(CDC* target, bool copyBackground, std::unique_ptr<KImageContext>& kept);
    KBufferedContext(const KBufferedContext&) = delete;
    // Takes over the other's image, target and clip box (the other gives them up); an image
    // this one held is copied to its target first.
    KBufferedContext& operator=(KBufferedContext&& other) noexcept;
    ~KBufferedContext();

    // Where to draw: the image's memory device context while buffering, else the target.
    CDC* getGraphics() const;
    operator CDC*() const { return getGraphics(); }

private:
    void flush();

    KImageContext* image_ = nullptr;
    bool owned_ = true;
    CDC* target_;
    CRect clipBox_;
};
