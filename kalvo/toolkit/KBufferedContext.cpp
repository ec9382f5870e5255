#include <kalvo/toolkit/KBufferedContext.h>

KBufferedContext::KBufferedContext(CDC* target, bool copyBackground) : target_(target) {
    if (target_ == nullptr || target_->IsPrinting()) return;
    target_->GetClipBox(&clipBox_);
    image_ = new KImageContext(target_, clipBox_);
    if (copyBackground) image_->copyBits(target_, clipBox_.left, clipBox_.top);
}

KBufferedContext::KBufferedContext(CDC* target, bool copyBackground,
                                   std::unique_ptr<KImageContext>& kept)
    : target_(target) {
    if (target_ == nullptr || target_->IsPrinting()) return;
    target_->GetClipBox(&clipBox_);
    CRect device(clipBox_);
    target_->LPtoDP(&device);
    // A kept image serves while it covers the same pixels at the same scale.
    if (kept == nullptr || kept->getExtents() != clipBox_ ||
        kept->getSize() != CSize(device.Width(), device.Height())) {
        kept = std::make_unique<KImageContext>(target_, clipBox_);
    }
    image_ = kept.get();
    owned_ = false;
    if (copyBackground) image_->copyBits(target_, clipBox_.left, clipBox_.top);
}

KBufferedContext& KBufferedContext::operator=(KBufferedContext&& other) noexcept {
    if (this != &other) {
        flush();
        image_ = other.image_;
        owned_ = other.owned_;
        target_ = other.target_;
        clipBox_ = other.clipBox_;
        other.image_ = nullptr;
    }
    return *this;
}

KBufferedContext::~KBufferedContext() {
    flush();
}

void KBufferedContext::flush() {
    if (image_ == nullptr) return;
    image_->drawBits(target_, clipBox_.left, clipBox_.top);
    if (owned_) delete image_;
    image_ = nullptr;
}

CDC* KBufferedContext::getGraphics() const {
    return image_ != nullptr ? image_->getDC() : target_;
}
