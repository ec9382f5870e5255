#include <kalvo/toolkit/layout/KBorderLayout.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/toolkit/KContainer.h>

K_IMPLEMENT_CLASS(KBorderLayout, KLayout, 1)

KBorderLayout::KBorderLayout(int left, int top, int right, int bottom) : KLayout(0, 0) {
    setMargins(left, top, right, bottom);
}

void KBorderLayout::setMargins(int left, int top, int right, int bottom) {
    if (left >= 0) left_ = left;
    if (top >= 0) top_ = top;
    if (right >= 0) right_ = right;
    if (bottom >= 0) bottom_ = bottom;
}

const char* KBorderLayout::regionWord(Region region) {
    static const char* const words[REGIONS] = {"North", "South", "West", "East", "Center"};
    return region >= NORTH && region < REGIONS ? words[region] : "";
}

void KBorderLayout::addLayoutComponent(KComponent* component, const char* constraint) {
    if (component == nullptr) return;
    for (int r = NORTH; r < REGIONS; ++r) {
        if (constraint != nullptr && std::strcmp(constraint, regionWord(Region(r))) == 0) {
            names_[r] = component->getName();
            return;
        }
    }
    KString title;
    title.format("'%s' Border Layout Error", component->getClassName());
    const KException error(title.c_str(), "");
    component->throwError(&error, "Adding component with invalid constraint value -> '%s'",
                          constraint != nullptr ? constraint : "");
}

CSize KBorderLayout::minimumLayoutSize(KContainer* container) {
    if (container == nullptr) return CSize(0, 0);
    const CRect insets = container->getInsets();
    return CSize(insets.left + insets.right + left_ + right_,
                 insets.top + insets.bottom + top_ + bottom_);
}

CSize KBorderLayout::preferredLayoutSize(KContainer* container) {
    if (container == nullptr) return CSize(0, 0);
    CSize size = minimumLayoutSize(container);
    if (KComponent* center = container->findComponent(names_[CENTER].c_str())) {
        const CSize c = center->getPreferredSize();
        size.cx += c.cx;
        size.cy += c.cy;
    }
    return size;
}

void KBorderLayout::layoutContainer(KContainer* container) {
    if (container == nullptr) return;
    const CRect c = container->getClientRect();
    auto region = [&](Region r) { return container->findComponent(names_[r].c_str()); };
    if (KComponent* north = region(NORTH)) {
        if (top_ >= 1) {
            north->setBounds(CRect(c.left + left_, c.top, c.right - right_, c.top + top_));
        } else {
            north->setVisible(false);
        }
    }
    if (KComponent* south = region(SOUTH)) {
        if (bottom_ >= 1) {
            south->setBounds(CRect(c.left + left_, c.bottom - bottom_, c.right - right_, c.bottom));
        } else {
            south->setVisible(false);
        }
    }
    if (KComponent* west = region(WEST)) {
        if (left_ >= 1) {
            west->setBounds(CRect(c.left, c.top + top_, c.left + left_, c.bottom - bottom_));
        } else {
            west->setVisible(false);
        }
    }
    if (KComponent* east = region(EAST)) {
        if (right_ >= 1) {
            east->setBounds(CRect(c.right - right_, c.top + top_, c.right, c.bottom - bottom_));
        } else {
            east->setVisible(false);
        }
    }
    if (KComponent* center = region(CENTER)) {
        if (c.Width() <= left_ + right_ && c.Height() <= top_ + bottom_) {
            center->setVisible(false);
        } else {
            center->setVisible(true);
            CRect r = c;
            r.DeflateRect(left_, top_, right_, bottom_);
            // Squeezed in one direction only: an empty strip rather than a reversed one.
            r.right = std::max(r.right, r.left);
            r.bottom = std::max(r.bottom, r.top);
            center->setBounds(r);
        }
    }
}

void KBorderLayout::Serialize(KArchive& archive) {
    KLayout::Serialize(archive);
    if (archive.isStoring()) {
        archive << static_cast<std::int32_t>(left_) << static_cast<std::int32_t>(top_)
                << static_cast<std::int32_t>(right_) << static_cast<std::int32_t>(bottom_);
        for (const KString& name : names_) archive.writeString(name);
    } else {
        std::int32_t l = 0, t = 0, r = 0, b = 0;
        archive >> l >> t >> r >> b;
        left_ = l;
        top_ = t;
        right_ = r;
        bottom_ = b;
        for (KString& name : names_) name = archive.readString();
    }
}

void KBorderLayout::copy(const KObject& other) {
    KLayout::copy(other);
    if (const KBorderLayout* border = k_dynamic_cast<KBorderLayout>(const_cast<KObject*>(&other))) {
        left_ = border->left_;
        top_ = border->top_;
        right_ = border->right_;
        bottom_ = border->bottom_;
        for (int r = NORTH; r < REGIONS; ++r) names_[r] = border->names_[r];
    }
}
