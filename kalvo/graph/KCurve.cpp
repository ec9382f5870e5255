#include <kalvo/graph/KCurve.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstdio>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KAssertion.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/graph/KWaveformPainter.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/record/KRecordProducer.h>
#include <kalvo/record/KTransform.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KGraphics.h>

K_IMPLEMENT_CLASS(KCurve, KLabel, 7)

namespace {
constexpr std::int32_t STORED_VERSION = 7;
}

const COLORREF KCurve::cColors1[6] = {RGB(0, 0, 128),   RGB(0, 128, 0),   RGB(128, 0, 0),
                                      RGB(0, 128, 128), RGB(128, 0, 128), RGB(128, 128, 0)};
const COLORREF KCurve::cColors2[6] = {RGB(0, 0, 255),   RGB(0, 255, 0),   RGB(255, 0, 0),
                                      RGB(0, 255, 255), RGB(255, 0, 255), RGB(255, 255, 0)};
const char* const KCurve::cColorNames[6] = {"Blue", "Green", "Red", "Teal", "Violet", "Olive"};
const char* const KCurve::cOperatorNames[6] = {"Unity", "Negate", "Invert",
                                               "Square", "Root", "Abs"};
const char* const KCurve::cRenderStyleNames[4] = {"Line", "Point", "Area", "Line-Point"};

int KCurve::nextId_ = 1;

KCurve::KCurve(const char* name) : KLabel(name), id_(nextId_++) {
    curveFlags_.set(CHECKED);
    curveFlags_.set(ICON);
    curveFlags_.set(ANALOG);
    setInsets(CRect(1, 1, 1, 1));
    // A legend entry shows on its legend's background.
    setOpaque(false);
    setFillStyle(FILL_NONE);
    if (name == nullptr || *name == '\0') setName("KCurve");
    setMenu("KCurve");
    getLegendFont();
}

KCurve::~KCurve() {
    if (source_ != nullptr) source_->removeObserver(this);
    source_ = nullptr;
}

const CFont& KCurve::getLegendFont() {
    static const CFont font = [] {
        CFont f;
        f.CreateFont(getUnitSize() * 2 / 3, 0, 0, 0, 400, 0, 0, 0, 0, 0, 0, 0, 0, "Tahoma");
        return f;
    }();
    return font;
}

// Settings.

void KCurve::setThreshold(double threshold) {
    if (KDouble::isFinite(threshold)) threshold_ = threshold;
}

void KCurve::setScale(double scale) {
    if (!KDouble::isFinite(scale)) return;
    scale_ = scale;
    recordUpdate();
    postAction("update.scale");
}

void KCurve::setXOffset(double offset) {
    if (!KDouble::isFinite(offset)) return;
    xOffset_ = offset;
    recordUpdate();
    postAction("update.offset");
}

void KCurve::setYOffset(double offset) {
    if (!KDouble::isFinite(offset)) return;
    yOffset_ = offset;
    recordUpdate();
    postAction("update.offset");
}

void KCurve::setOperator(int op) {
    if (op >= 0 && op <= 5) operator_ = op;
}

void KCurve::setLineColor(COLORREF color, bool notify) {
    lineColor_ = color;
    if (notify) postAction("color.change");
}

void KCurve::setLineColorIndex(int i) {
    colorIndex_ = i % 6;
    lineColor_ = cColors1[colorIndex_ < 0 ? colorIndex_ + 6 : colorIndex_];
}

void KCurve::setLineWidth(int width) { lineWidth_ = std::clamp(width, 0, 10); }

void KCurve::setRenderStyle(int style) {
    if (style >= LINE && style <= LINE_POINT) renderStyle_ = style;
}

const KString& KCurve::getStateString(double value) const {
    return value >= threshold_ ? above_ : below_;
}

// Data.

void KCurve::setProducer(KRecordProducer* producer) {
    if (producer == source_) return;
    if (source_ != nullptr) source_->removeObserver(this);
    source_ = producer;
    // A producer kept alive for this curve goes when another is taken.
    std::shared_ptr<KRecordProducer> released;
    if (keeper_.get() != producer) released.swap(keeper_);
    if (source_ == nullptr) {
        data_.destroy();
        summary_.clear();
        columns_.clear();
        return;
    }
    source_->addObserver(this);
    channel_ = source_->getTraceIndex();
    recordUpdate();
}

void KCurve::setSharedProducer(std::shared_ptr<KRecordProducer> producer) {
    setProducer(producer.get());
    keeper_ = std::move(producer);
}

void KCurve::resolve(KRecordProducer* producer) {
    const int channel = channel_;
    if (producer != nullptr) producer->selectTrace(channel);
    if (producer == source_) {
        recordUpdate();
        return;
    }
    setProducer(producer);
}

KRecord* KCurve::getRecord() {
    if (!data_.isEmpty()) return &data_;
    auto* record = k_dynamic_cast<KRecord>(source_);
    if (record != nullptr) record->selectTrace(channel_);
    return record;
}

KString KCurve::getDevice() const {
    const auto* record = k_dynamic_cast<KRecord>(source_);
    if (record == nullptr) return "(unknown)";
    return record->getDevice();
}

int KCurve::getSampleCount() {
    KRecord* r = getRecord();
    return r != nullptr ? r->getSampleCount() : 0;
}

const double* KCurve::getXData() {
    KRecord* r = getRecord();
    return r != nullptr ? r->getXData() : nullptr;
}

const double* KCurve::getYData() {
    KRecord* r = getRecord();
    return r != nullptr ? r->getYData() : nullptr;
}

int KCurve::findIndex(double x) {
    KRecord* r = getRecord();
    return r != nullptr ? r->findIndex(x) : -1;
}

double KCurve::getValueAt(double x) {
    KRecord* r = getRecord();
    if (r == nullptr) return KDouble::NaN;
    const double* xs = r->getXData();
    const int n = r->getSampleCount();
    const int i = r->findIndex(x);
    if (i < 0 || xs == nullptr || x < xs[0] || x > xs[n - 1]) return KDouble::NaN;
    // The nearer of the two samples around x.
    const int at = i + 1 < n && xs[i + 1] - x < x - xs[i] ? i + 1 : i;
    prevIndex_ = at;
    return r->getValueAt(at);
}

void KCurve::getXExtents(double& lo, double& hi) {
    lo = hi = KDouble::NaN;
    if (KRecord* r = getRecord()) r->getLimits(lo, hi);
}

void KCurve::getYExtents(double& lo, double& hi) {
    lo = hi = KDouble::NaN;
    const double* y = getYData();
    if (y == nullptr) return;
    const auto e = summary_.find(y, 0, summary_.getCount());
    if (e.min <= e.max) {
        lo = e.min;
        hi = e.max;
    }
}

bool KCurve::copyData(double x0, double x1) {
    KRecord* r = getRecord();
    if (r == nullptr) return false;
    const double* x = r->getXData();
    const double* y = r->getYData();
    if (x == nullptr || y == nullptr) return false;
    int i0 = r->findIndex(x0), i1 = r->findIndex(x1);
    if (i0 > i1) std::swap(i0, i1);
    if (i0 < 0) return false;
    KString::setMaxSize(-1);
    KString::setIncrement(4096);
    KString text;
    text.ensureCapacity(32u * static_cast<unsigned>(i1 - i0 + 2));
    char row[1024];
    std::snprintf(row, sizeof row, "%s,%s\n", "Domain", getText().c_str());
    text.append(row);
    for (int i = i0; i <= i1; ++i) {
        std::snprintf(row, sizeof row, "%f,%f\n", x[i], y[i]);
        text.append(row);
    }
    KHost* host = getCanvas();
    const bool placed = KClipboard::setData(text.c_str(), host != nullptr ? host->getWindow() : 0) != 0;
    KString::setMaxSize(65535);
    KString::setIncrement(0);
    return placed;
}

void KCurve::drawWaveform(KGraphics& graphics, CRect rect, int first, int last) {
    const double* x = getXData();
    const double* y = getYData();
    const int n = getSampleCount();
    if (x == nullptr || y == nullptr || n <= 0) return;
    if (last < 0 || last >= n) last = n - 1;
    if (first < 0) first = 0;
    if (first > last) return;
    double x0 = x[first], x1 = x[last];
    if (!(x1 > x0)) {
        x0 -= 0.5;
        x1 += 0.5;
    }
    const auto e = summary_.find(y, first, last + 1);
    double y0 = e.min, y1 = e.max;
    if (!(y0 <= y1)) return;
    if (y1 == y0) {
        y0 -= 0.5;
        y1 += 0.5;
    }
    // Values on the rectangle's last row and column stay inside it.
    CRect plot = rect;
    plot.right -= 1;
    plot.bottom -= 1;
    KWaveformPainter painter(plot, x0, x1, y0, y1);
    CDC* dc = graphics.getDC();
    const int saved = dc->SaveDC();
    dc->IntersectClipRect(rect);
    painter.draw(dc, x, y, n, &summary_, renderStyle_, lineColor_, 1, 0.0, first, last + 1);
    dc->RestoreDC(saved);
}

// Rebuilding the data.

void KCurve::recordUpdate() {
    if (source_ == nullptr) {
        postAction("update");
        return;
    }
    source_->selectTrace(channel_);
    auto* record = k_dynamic_cast<KRecord>(source_);
    KString traceName;
    if (record != nullptr) {
        traceName = record->getTraceName();
        setText(traceName.c_str());
        KString tip;
        tip.format("Format: %s\nRecord: %s\nCurve : %s\nMin: %g\nMax: %g", record->getFormat().c_str(),
                   record->getName().c_str(), traceName.c_str(), source_->getMinValue(0, 0),
                   source_->getMaxValue(0, 0));
        setTooltipText(tip.c_str());
    }
    {
        const KAssertion check("Processing linear transform");
        const double* x = source_->getXData();
        const double* y = source_->getYData();
        const int n = source_->getSampleCount();
        const bool identity = xOffset_ == 0.0 && scale_ == 1.0 && yOffset_ == 0.0;
        if (identity && record != nullptr) {
            // The source's own samples are shown; nothing is copied.
            data_.destroy();
        } else {
            KVector<double> in, xs, ys;
            int count = n;
            const double* shownX = x;
            if (xOffset_ != 0.0 && x != nullptr) {
                in.add(const_cast<double*>(x));
                KTransform::Linear shift(1.0, xOffset_);
                check.check(shift.transform(in, xs, count));
                shownX = xs[0];
                in.removeAll();
            }
            KVector<double> columns;
            if (y != nullptr) {
                if (scale_ == 1.0 && yOffset_ == 0.0) {
                    columns.add(const_cast<double*>(y));
                } else {
                    in.add(const_cast<double*>(y));
                    count = n;
                    KTransform::Linear linear(scale_, yOffset_);
                    check.check(linear.transform(in, ys, count));
                    columns.add(ys[0]);
                }
            }
            data_.setData(shownX, columns, n);
            if (KRecord::Trace* t = data_.getTrace(0)) {
                t->setName(traceName.c_str());
                t->setUnits(units_.c_str());
            }
            data_.selectTrace(0);
            KDataTransform::deleteColumns(xs);
            KDataTransform::deleteColumns(ys);
        }
    }
    summary_.build(getXData(), getYData(), getSampleCount());
    columns_.clear();
    postAction("update");
}

void KCurve::recordRefresh() { repaint(); }

void KCurve::recordReset() {
    prevIndex_ = 0;
    recordUpdate();
}

void KCurve::recordDestroyed(KRecordProducer* producer) {
    if (producer != source_) return;
    source_ = nullptr;
    data_.destroy();
    summary_.clear();
    columns_.clear();
    postAction("update");
}

// Legend entry.

CSize KCurve::getMinimumSize() const {
    const int u = getUnitSize();
    return CSize(2 * u, u);
}

CSize KCurve::getPreferredSize() const {
    const int u = getUnitSize();
    const CSize text = KGraphics::measureText(getLegendFont(), getText().c_str());
    const CRect insets = getInsets();
    const int icon = isIconVisible() ? 2 * u / 3 : 0;
    const int frame = isBorder() ? 2 : 0;
    return CSize(text.cx + icon + insets.left + insets.right + frame + 4,
                 std::max(u, static_cast<int>(text.cy) + insets.top + insets.bottom + frame));
}

void KCurve::drawForeground(KGraphics& graphics) {
    const int u = getUnitSize();
    CRect content = getClientRect();
    CRect textRect = content;
    if (isIconVisible()) textRect.left += 2 * u / 3;
    if (waveformGlyph_) {
        graphics.setColor(0xFFFFFF);
        graphics.fillRect(content);
        drawWaveform(graphics, content, 0, -1);
        return;
    }
    CDC* dc = graphics.getDC();
    graphics.setFont(const_cast<CFont*>(&getLegendFont()));
    graphics.setColor(0);
    const int mode = dc->SetBkMode(TRANSPARENT);
    const KString& text = getText();
    std::string shown(text.c_str());
    shown.append(4, '\0');
    dc->DrawText(shown.data(), static_cast<int>(text.length()), &textRect,
                 DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS |
                     DT_MODIFYSTRING);
    dc->SetBkMode(mode);
    // The extent of what was drawn, centred as the text was.
    const CSize extent = dc->GetTextExtent(shown.c_str());
    const int textTop = textRect.top + (textRect.Height() - extent.cy) / 2;
    const int width = std::min<int>(extent.cx, textRect.Width());
    if (isIconVisible()) {
        const int side = u / 2;
        CRect mark(content.left, textTop + (extent.cy - side) / 2, content.left + side,
                   textTop + (extent.cy - side) / 2 + side);
        if (isGlyphVisible()) {
            if (isHatchGlyph()) {
                drawHatchGlyph(graphics, mark, lineColor_);
            } else {
                drawGlyph(graphics, mark, lineColor_);
            }
        } else {
            mark.DeflateRect(1, 2);
            graphics.setColor(lineColor_);
            graphics.fillRect(mark);
            graphics.drawRect(mark);
        }
    }
    if (isChecked()) {
        graphics.setColor(0);
        const int y = textTop + extent.cy;
        graphics.drawLine(textRect.left, y, textRect.left + width, y);
    }
}

void KCurve::focusChanged(bool gained) {
    KLabel::focusChanged(gained);
    if (gained) postAction("activate");
}

void KCurve::mousePressed(KEvent& event) {
    if (!isEnabled()) return;
    event.consume();
    setFocus(this);
    setCapture(this);
    pressPoint_ = event.getPoint();
    dragging_ = false;
}

void KCurve::mouseDragged(KEvent& event) {
    if (!isCaptured(this)) return;
    event.consume();
    const CPoint d = event.getPoint() - pressPoint_;
    // A few pixels of wobble are still a click.
    if (!dragging_ && std::abs(d.x) + std::abs(d.y) < getUnitSize() / 3) return;
    dragging_ = true;
    if (KHost* host = getCanvas()) host->setCursor("HAND_CLOSE");
}

void KCurve::mouseReleased(KEvent& event) {
    if (!isCaptured(this)) return;
    event.consume();
    releaseCapture(this);
    if (!dragging_) return;
    dragging_ = false;
    if (KHost* host = getCanvas()) host->setCursor(nullptr);
    dropPoint_ = event.getPoint() + getLocationOnCanvas();
    postAction("drag");
}

void KCurve::onCommand(KEvent& event) {
    if ((event.isNamed("CLIP.RANGE") || event.isNamed("CLIP.ALL")) && getParent() != nullptr) {
        event.setSource(this);
        getParent()->onCommand(event);
        return;
    }
    KLabel::onCommand(event);
}

// Object services.

void KCurve::storeRecords(KArchive& ar, const std::vector<KCurve*>& curves) {
    std::vector<KRecordProducer*> table;
    std::vector<std::int32_t> places;
    for (KCurve* c : curves) {
        KRecordProducer* p = c->getSourceRecord();
        if (k_dynamic_cast<KRecord>(p) == nullptr) {
            places.push_back(-1);
            continue;
        }
        auto it = std::find(table.begin(), table.end(), p);
        if (it == table.end()) it = table.insert(table.end(), p);
        places.push_back(static_cast<std::int32_t>(it - table.begin()));
    }
    ar.writeCount(static_cast<std::uint32_t>(table.size()));
    for (KRecordProducer* p : table) ar.writeObject(p);
    ar.writeCount(static_cast<std::uint32_t>(places.size()));
    for (std::int32_t place : places) ar << place;
}

void KCurve::loadRecords(KArchive& ar, const std::vector<KCurve*>& curves, const char* owner) {
    std::vector<std::shared_ptr<KRecordProducer>> records;
    const std::uint32_t count = ar.readCount();
    for (std::uint32_t i = 0; i < count; ++i) {
        records.push_back(std::static_pointer_cast<KRecord>(ar.readSharedObject(K_CLASS(KRecord))));
    }
    const std::uint32_t placed = ar.readCount();
    if (placed != curves.size()) {
        KException::raise("Archive Error", "%s holds %d curves, but places %u", owner,
                          static_cast<int>(curves.size()), placed);
    }
    for (KCurve* c : curves) {
        std::int32_t place;
        ar >> place;
        if (place < -1 || place >= static_cast<std::int32_t>(records.size()) ||
            (place >= 0 && records[place] == nullptr)) {
            KException::raise("Archive Error", "Curve record %d out of range", place);
        }
        if (place >= 0) {
            records[place]->selectTrace(c->getChannel());
            c->setSharedProducer(records[place]);
        }
    }
}

void KCurve::copy(const KObject& other) {
    KLabel::copy(other);
    const KCurve* c = k_dynamic_cast<KCurve>(const_cast<KObject*>(&other));
    if (c == nullptr) return;
    threshold_ = c->threshold_;
    renderStyle_ = c->renderStyle_;
    waveformGlyph_ = c->waveformGlyph_;
    scale_ = c->scale_;
    xOffset_ = c->xOffset_;
    yOffset_ = c->yOffset_;
    colorIndex_ = c->colorIndex_;
    lineColor_ = c->lineColor_;
    lineWidth_ = c->lineWidth_;
    operator_ = c->operator_;
    curveFlags_ = c->curveFlags_;
    units_ = c->units_;
    above_ = c->above_;
    below_ = c->below_;
    prevIndex_ = c->prevIndex_;
    channel_ = c->channel_;
    // The copy shows the same data, and keeps it alive as the original does.
    resolve(c->source_);
    if (c->keeper_.get() == c->source_) keeper_ = c->keeper_;
}

void KCurve::Serialize(KArchive& ar) {
    KLabel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION;
        ar << channel_ << scale_;
        units_.writeObject(ar);
        ar << static_cast<std::uint32_t>(lineColor_);
        curveFlags_.writeObject(ar);
        ar.writeString(above_);
        ar.writeString(below_);
        ar << threshold_;
        ar << xOffset_ << yOffset_;
        units_.writeObject(ar);
        ar << renderStyle_;
        ar << lineWidth_;
        return;
    }
    std::int32_t version = 0;
    ar >> version;
    if (version < 0) KException::raise("Archive Error", "Invalid curve version %d", version);
    if (version >= 1) {
        std::uint32_t color;
        ar >> channel_ >> scale_;
        units_.readObject(ar);
        ar >> color;
        lineColor_ = color;
        curveFlags_.readObject(ar);
        above_ = ar.readString();
        below_ = ar.readString();
    }
    if (version >= 2) ar >> threshold_;
    if (version >= 4) ar >> xOffset_ >> yOffset_;
    // The units a second time; this copy wins.
    if (version >= 5) units_.readObject(ar);
    if (version >= 6) {
        std::int32_t style;
        ar >> style;
        setRenderStyle(style);
    }
    if (version >= 7) {
        std::int32_t width;
        ar >> width;
        setLineWidth(width);
    }
}
