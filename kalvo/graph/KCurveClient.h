#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/toolkit/KPanel.h>

class KCurve;

// The legend of a graph panel: the container that holds the panel's curves as its entries,
// keeps one of them active and limits how many it holds. Its layout is a form layout (the
// entries pair up in rows) and its name "client".
class KCurveClient : public KPanel {
    K_DECLARE_CLASS(KCurveClient);

public:
    // Command numbers sent on to the panel, with the curve as the source: copy the visible
    // range of the curve, copy all of it.
    static constexpr unsigned COPY_VISIBLE = 810;
    static constexpr unsigned COPY_ALL = 805;

    KCurveClient();

    // Names the panel "client" and gives it a form layout.
    void create();
    // True only for a curve, while fewer than the maximum are held.
    virtual bool canContain(const KComponent* component) const;
    // A curve held becomes the active one (checked); others are ignored.
    void setActiveCurve(KCurve* curve);
    // The curve at the active index; null when none is held.
    KCurve* getActiveCurve() const;
    int getActiveIndex() const { return activeIndex_; }
    // The curves held, in order.
    void getCurveList(std::vector<KCurve*>& list) const;
    int getCurveCount() const;
    int getMaximumCurves() const { return maximum_; }
    // 1 to 32; others are ignored.
    void setMaximumCurves(int maximum);
    int getMinimumCurves() const { return minimum_; }
    // 0 to the maximum; others are ignored.
    void setMinimumCurves(int minimum);
    // What new entries take: the colour mark shown, a border.
    void setIconVisibleDefault(bool on) { iconVisible_ = on; }
    bool isIconVisibleDefault() const { return iconVisible_; }
    void setBorderDefault(bool on) { border_ = on; }
    bool isBorderDefault() const { return border_; }

    CSize getMinimumSize() const override;
    CSize getPreferredSize() const override;
    // "activate", "CLIP.RANGE" and "CLIP.ALL" from a curve held.
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the panel part: version 1, active index, maximum, minimum and the three
    // switches.
    void Serialize(KArchive& archive) override;

protected:
    void componentAdded(KComponent* component) override;
    void componentRemoved(KComponent* component) override;

private:
    std::int32_t activeIndex_ = 0;
    std::int32_t maximum_ = 1;
    std::int32_t minimum_ = 0;
    bool flag_ = true;
    bool iconVisible_ = true;
    bool border_ = false;
};
