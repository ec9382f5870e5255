#include <kalvo/toolkit/widgets/KLabel.h>

#include <algorithm>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/SysColor.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/KImage.h>

K_IMPLEMENT_CLASS(KLabel, KComponent, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;
constexpr int PADDING = 2;   // between the border and the content
constexpr int MARK_GAP = 4;  // between the mark and the text

}  // namespace

KLabel::KLabel(const char* name) : KComponent(name), glyphSize_(getUnitSize() * 3 / 2) {
    setSize(getUnitSize() * 6, getUnitSize() * 2);
    KComponent::setForeground(0xFFFFFF);
    fillStyle_ = FILL_SOLID;
    setStretch(2);
    getLabelFont();
}

KLabel::~KLabel() {
    if (ownsImage_) delete image_;
}

const char* KLabel::getGlyphName(int index) {
    static const char* const names[GLYPH_COUNT] = {"Circle",       "Square",       "Triangle",
                                                   "Solid Circle", "Solid Square", "Solid Triangle",
                                                   "Crossing"};
    return index >= 0 && index < GLYPH_COUNT ? names[index] : nullptr;
}

const CFont& KLabel::getLabelFont() {
    static const CFont font = [] {
        CFont f;
        f.CreateFont(getUnitSize() * 4 / 5, 0, 0, 0, 400, 0, 0, 0, 0, 0, 0, 0, 0, "Arial");
        return f;
    }();
    return font;
}

void KLabel::setImageIndex(int index) {
    if (index >= 0 && index <= INT16_MAX) imageIndex_ = static_cast<std::int16_t>(index);
}

void KLabel::setImage(KImage* image, bool owned) {
    if (image == image_) {
        ownsImage_ = owned;
        return;
    }
    if (ownsImage_) delete image_;
    image_ = image;
    ownsImage_ = image != nullptr && owned;
}

void KLabel::setFillStyle(int style) {
    if (style >= FILL_NONE && style <= FILL_SHADED) fillStyle_ = static_cast<std::int16_t>(style);
}

void KLabel::setImageConstraint(int constraint) {
    if (constraint >= IMAGE_CENTER && constraint <= IMAGE_RIGHT) imageConstraint_ = constraint;
}

void KLabel::setHorizontalAlignment(int align) {
    if (align >= LEFT && align <= RIGHT) horizontalAlignment_ = align;
}

void KLabel::setVerticalAlignment(int align) {
    if (align >= TOP && align <= BOTTOM) verticalAlignment_ = align;
}

KString KLabel::paramString() const {
    KString s;
    s.format("%s, Text=\"%s\"", KComponent::paramString().c_str(), text_.c_str());
    return s;
}

CRect KLabel::getClientRect() const {
    CRect r = KComponent::getClientRect();
    if (border_) r.DeflateRect(1, 1);
    return r;
}

CSize KLabel::markSize() const {
    if (glyph_ >= 0 && glyph_ < GLYPH_COUNT) return CSize(glyphSize_, glyphSize_);
    if (image_ != nullptr) return image_->getSize();
    if (imageIndex_ > 0) return CSize(16, 16);
    return CSize(0, 0);
}

CSize KLabel::textSize() const {
    if (text_.isEmpty()) return CSize(0, 0);
    return KGraphics::measureText(getLabelFont(), text_.c_str());
}

CSize KLabel::getMinimumSize() const {
    const CSize mark = markSize();
    const CSize text = textSize();
    const int frame = 2 * (PADDING + (border_ ? 1 : 0));
    const CRect insets = getInsets();
    int width = text.cx;
    if (imageConstraint_ == IMAGE_CENTER) {
        width = std::max(width, mark.cx);
    } else if (mark.cx > 0) {
        width += mark.cx + (text.cx > 0 ? MARK_GAP : 0);
    }
    const CSize least = KComponent::getMinimumSize();
    return CSize(
        std::max(least.cx, width + frame + insets.left + insets.right),
        std::max(least.cy, std::max(text.cy, mark.cy) + frame + insets.top + insets.bottom));
}

void KLabel::paint(KGraphics& graphics) {
    drawBackground(graphics);
    drawForeground(graphics);
}

void KLabel::drawBackground(KGraphics& graphics) {
    KComponent::paint(graphics);
    const CRect extents = getExtents();
    const COLORREF fill = userBackground_ ? labelBackground_ : KComponent::getBackground();
    if (fillStyle_ == FILL_SOLID) {
        graphics.setColor(fill);
        graphics.fillRect(extents);
    } else if (fillStyle_ == FILL_SHADED) {
        graphics.fillShadedRect(extents, fill);
    }
    if (border_) {
        graphics.setColor(GetSysColor(COLOR_BTNSHADOW));
        graphics.drawRect(extents);
    }
}

void KLabel::drawForeground(KGraphics& graphics) {
    CRect content = getClientRect();
    content.DeflateRect(PADDING, PADDING);
    const CSize mark = markSize();
    const CSize text = textSize();
    const bool beside = imageConstraint_ != IMAGE_CENTER && mark.cx > 0;
    const int gap = beside && text.cx > 0 ? MARK_GAP : 0;
    const int total = std::min(text.cx + (beside ? mark.cx + gap : 0), content.Width());

    // The block of mark and text, aligned as a whole; the mark alone when centred.
    int left = content.left;
    if (horizontalAlignment_ == CENTER) left += (content.Width() - total) / 2;
    if (horizontalAlignment_ == RIGHT) left = content.right - total;
    auto top = [&](int height) {
        if (verticalAlignment_ == TOP) return content.top;
        if (verticalAlignment_ == BOTTOM) return content.bottom - height;
        return content.top + (content.Height() - height) / 2;
    };

    CRect textRect(left, content.top, left + total, content.bottom);
    if (mark.cx > 0) {
        CRect markRect;
        if (!beside) {
            const int x = content.left + (content.Width() - mark.cx) / 2;
            markRect = CRect(CPoint(x, top(mark.cy)), CSize(mark.cx, mark.cy));
            textRect = content;
        } else if (imageConstraint_ == IMAGE_LEFT) {
            markRect = CRect(CPoint(left, top(mark.cy)), CSize(mark.cx, mark.cy));
            textRect.left = left + mark.cx + gap;
        } else {
            markRect = CRect(CPoint(left + total - mark.cx, top(mark.cy)), CSize(mark.cx, mark.cy));
            textRect.right = markRect.left - gap;
        }
        drawMark(graphics, markRect);
    }
    if (text_.isEmpty() || textRect.IsRectEmpty()) return;

    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&getLabelFont()));
    const int mode = dc->SetBkMode(TRANSPARENT);
    const COLORREF color = dc->SetTextColor(textColor_);
    unsigned format = DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS;
    if (!beside) {
        format |= horizontalAlignment_ == CENTER  ? DT_CENTER
                  : horizontalAlignment_ == RIGHT ? DT_RIGHT
                                                  : DT_LEFT;
    }
    format |= verticalAlignment_ == TOP      ? DT_TOP
              : verticalAlignment_ == BOTTOM ? DT_BOTTOM
                                             : DT_VCENTER;
    dc->DrawText(text_.c_str(), &textRect, format);
    dc->SetTextColor(color);
    dc->SetBkMode(mode);
}

void KLabel::drawMark(KGraphics& graphics, CRect rect) {
    if (glyph_ >= 0 && glyph_ < GLYPH_COUNT) {
        if (hatchGlyph_) {
            drawHatchGlyph(graphics, rect, imageColor_);
        } else {
            drawGlyph(graphics, rect, imageColor_);
        }
    } else if (image_ != nullptr) {
        image_->draw(graphics, rect.TopLeft());
    } else if (imageIndex_ > 0) {
        CBitmap icons;
        if (!icons.LoadBitmap("LABEL_ICONS")) return;
        const CRect cell((imageIndex_ - 1) * 16, 0, imageIndex_ * 16, 16);
        if (cell.right <= icons.GetWidth()) graphics.drawImage(&icons, &cell, rect.TopLeft());
    }
}

void KLabel::drawFocus(KGraphics& graphics) {
    CRect r = getClientRect();
    r.DeflateRect(1, 1);
    if (r.IsRectEmpty()) return;
    graphics.setColor(0, 1, 2);
    graphics.drawRect(r);
}

void KLabel::drawGlyph(KGraphics& graphics, CRect rect, COLORREF color) {
    rect.DeflateRect(1, 1);
    graphics.setColor(color, 1, 0);
    const int L = rect.left, T = rect.top, R = rect.right, B = rect.bottom;
    const CPoint apex((L + R) / 2, (T + B) / 2 - (B - T) / 2);
    switch (glyph_) {
        case CIRCLE:
            graphics.drawOval(L, T, R, B);
            break;
        case SQUARE:
            graphics.drawRect(L, T, R, B);
            break;
        case TRIANGLE:
            graphics.drawLine(apex, CPoint(R, B));
            graphics.drawLine(apex, CPoint(L, B));
            graphics.drawLine(L, B, R, B);
            break;
        case SOLID_CIRCLE:
            graphics.fillOval(L, T, R, B);
            break;
        case SOLID_SQUARE:
            graphics.fillRect(L, T, R, B);
            break;
        case SOLID_TRIANGLE:
            graphics.fillTriangle(apex, CPoint(R, B), CPoint(L, B));
            break;
        case CROSSING: {
            // On the screen the second stroke is lifted a pixel, so that the two strokes,
            // each without its end pixel, look alike.
            const int d = graphics.isPrinting() ? 0 : 1;
            graphics.drawLine(L, T, R, B);
            graphics.drawLine(L, B - d, R, T - d);
            break;
        }
        default:
            break;
    }
}

void KLabel::drawHatchGlyph(KGraphics& graphics, CRect rect, COLORREF color) {
    graphics.fillHatchedRect(rect, 0xFFFFFF, color, glyph_ + 3);
}

void KLabel::copy(const KObject& other) {
    KComponent::copy(other);
    const KLabel* label = k_dynamic_cast<KLabel>(const_cast<KObject*>(&other));
    if (label == nullptr) return;
    text_ = label->text_;
    border_ = label->border_;
    glyph_ = label->glyph_;
    glyphSize_ = label->glyphSize_;
    hatchGlyph_ = label->hatchGlyph_;
    imageIndex_ = label->imageIndex_;
    fillStyle_ = label->fillStyle_;
    horizontalAlignment_ = label->horizontalAlignment_;
    verticalAlignment_ = label->verticalAlignment_;
    imageConstraint_ = label->imageConstraint_;
    labelBackground_ = label->labelBackground_;
    imageColor_ = label->imageColor_;
    textColor_ = label->textColor_;
    userBackground_ = label->userBackground_;
    setImage(label->image_ != nullptr ? new KImage(*label->image_) : nullptr, true);
}

void KLabel::Serialize(KArchive& ar) {
    KComponent::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        ar.writeString(text_);
        ar << border_ << glyph_ << glyphSize_ << hatchGlyph_ << imageIndex_ << fillStyle_
           << horizontalAlignment_ << verticalAlignment_ << imageConstraint_
           << static_cast<std::uint32_t>(labelBackground_)
           << static_cast<std::uint32_t>(imageColor_) << static_cast<std::uint32_t>(textColor_)
           << userBackground_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0 || version > STORED_VERSION) {
        KException::raise("Archive Error", "Invalid label version %d", version);
    }
    if (version < 1) return;
    text_ = ar.readString();
    std::int16_t imageIndex, fillStyle;
    std::int32_t horizontal, vertical, constraint;
    std::uint32_t background, imageColor, textColor;
    ar >> border_ >> glyph_ >> glyphSize_ >> hatchGlyph_ >> imageIndex >> fillStyle >> horizontal >>
        vertical >> constraint >> background >> imageColor >> textColor >> userBackground_;
    setImageIndex(imageIndex);
    setFillStyle(fillStyle);
    setHorizontalAlignment(horizontal);
    setVerticalAlignment(vertical);
    setImageConstraint(constraint);
    labelBackground_ = background;
    imageColor_ = imageColor;
    textColor_ = textColor;
}
