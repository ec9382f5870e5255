#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <kalvo/foundation/KBitSet.h>
#include <kalvo/graph/KWaveformPainter.h>
#include <kalvo/platform/CFont.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/record/KRecordObserver.h>
#include <kalvo/record/KTraceSummary.h>
#include <kalvo/toolkit/widgets/KLabel.h>

class KRecordProducer;

// One displayed trace of a record and, at the same time, its entry in a graph's legend. The
// curve names a channel of a record producer, holds that channel's display settings
// (colours, width, render style, scale and offsets, the digital threshold and the words for
// its two states, the units) and keeps the data the graphs draw: the channel's samples after
// its linear transform, with a min/max summary beside them so that drawing costs no more
// than the pixels drawn.
//
// A curve whose transform is the identity (scale 1, offsets 0) keeps no copy: it shows the
// producer's own samples, and copies them only once its transform changes.
class KCurve : public KLabel, public KRecordObserver {
    K_DECLARE_CLASS(KCurve);

public:
    // Flag bits.
    static constexpr int CHECKED = 0;  // the active curve of its legend
    static constexpr int ICON = 1;     // the legend shows the colour mark
    static constexpr int GLYPH = 2;    // the mark is the curve's glyph
    static constexpr int ANALOG = 3;   // a sampled quantity, not a status

    // Render styles.
    enum { LINE = 0, POINT = 1, AREA = 2, LINE_POINT = 3 };

    // The automatic colours and, beside them, their bright forms; names in the same order.
    static const COLORREF cColors1[6];
    static const COLORREF cColors2[6];
    static const char* const cColorNames[6];
    // "Unity", "Negate", "Invert", "Square", "Root", "Abs".
    static const char* const cOperatorNames[6];
    // "Line", "Point", "Area", "Line-Point".
    static const char* const cRenderStyleNames[4];

    explicit KCurve(const char* name = nullptr);
    ~KCurve() override;

    // The shared legend font.
    static const CFont& getLegendFont();

    // Settings.
    int getChannel() const { return channel_; }
    double getThreshold() const { return threshold_; }
    void setThreshold(double threshold);
    double getScale() const { return scale_; }
    double getXOffset() const { return xOffset_; }
    double getYOffset() const { return yOffset_; }
    // Non-finite values are ignored; a valid one rebuilds the data and posts
    // "update.scale" (scale) or "update.offset" (offsets).
    void setScale(double scale);
    void setXOffset(double offset);
    void setYOffset(double offset);
    int getOperator() const { return operator_; }
    // 0 to 5; others are ignored.
    void setOperator(int op);
    int getColor() const { return colorIndex_; }
    COLORREF getLineColor() const { return lineColor_; }
    // With notify, posts "color.change".
    void setLineColor(COLORREF color, bool notify = false);
    // Colour index := i mod 6, line colour from cColors1. No event.
    void setLineColorIndex(int i);
    int getLineWidth() const { return lineWidth_; }
    // Clamped to 0..10.
    void setLineWidth(int width);
    int getRenderStyle() const { return renderStyle_; }
    // 0 to 3; others are ignored.
    void setRenderStyle(int style);
    bool isWaveformGlyph() const { return waveformGlyph_; }
    void setWaveformGlyph(bool on) { waveformGlyph_ = on; }
    const KString& getUnits() const { return units_; }
    void setUnits(const char* units) { units_ = units; }
    const KString& getAboveThresholdString() const { return above_; }
    void setAboveThresholdString(const KString& text) { above_ = text; }
    const KString& getBelowThresholdString() const { return below_; }
    void setBelowThresholdString(const KString& text) { below_ = text; }
    // The state word of a digital value: above the threshold or below it.
    const KString& getStateString(double value) const;
    bool isChecked() const { return curveFlags_.get(CHECKED); }
    void setChecked(bool on) { curveFlags_.set(CHECKED, on); }
    bool isIconVisible() const { return curveFlags_.get(ICON); }
    void setIconVisible(bool on) { curveFlags_.set(ICON, on); }
    bool isGlyphVisible() const { return curveFlags_.get(GLYPH); }
    void setGlyphVisible(bool on) { curveFlags_.set(GLYPH, on); }
    bool isAnalog() const { return curveFlags_.get(ANALOG); }
    void setAnalogState(bool on) { curveFlags_.set(ANALOG, on); }
    int getPrevIndex() const { return prevIndex_; }
    void setPrevIndex(int index) { prevIndex_ = index; }
    // The curve's identity among the observers of its producer.
    int getId() const { return id_; }
    int getObserverId() const override { return id_; }

    // Data.
    KRecordProducer* getSourceRecord() const { return source_; }
    // Attaches to the producer and shows the channel it has selected; the producer held
    // already changes nothing.
    virtual void setProducer(KRecordProducer* producer);
    // Attaches to a producer that the curve keeps alive together with every other curve
    // (and copy) that was given it: records made by pasting or from plain arrays.
    void setSharedProducer(std::shared_ptr<KRecordProducer> producer);
    const std::shared_ptr<KRecordProducer>& getSharedProducer() const { return keeper_; }
    // Attaches to the producer after loading, keeping the channel stored with the curve.
    virtual void resolve(KRecordProducer* producer);
    // The data drawn: the curve's own record when it holds samples, else the source record
    // with the curve's channel selected; null without either.
    virtual KRecord* getRecord();
    // The device name of the source record's channel; "(unknown)" without a source.
    KString getDevice() const;
    int getSampleCount();
    const double* getXData();
    const double* getYData();
    const KTraceSummary& getSummary() const { return summary_; }
    // The pixel columns of the view last drawn, for the graph drawing the curve.
    KWaveformPainter::Columns& getColumns() { return columns_; }
    // The sample index of time x (the record's findIndex); -1 without data.
    int findIndex(double x);
    // The value of the sample nearest to time x; NaN outside the data's time span.
    double getValueAt(double x);
    // Both are the undefined value until filled from the data's first and last time.
    void getXExtents(double& lo, double& hi);
    // The smallest and largest finite value; both NaN without one.
    void getYExtents(double& lo, double& hi);
    // Puts the samples between the two times on the clipboard: a "Domain,<name>" line, then
    // "%f,%f" rows. False without data.
    bool copyData(double x0, double x1);
    // Draws samples first..last (last -1: to the end) scaled into the rectangle, in the
    // curve's colour.
    void drawWaveform(KGraphics& graphics, CRect rect, int first, int last);

    // The producer's notifications.
    void recordUpdate() override;
    void recordRefresh() override;
    void recordReset() override;
    void recordDestroyed(KRecordProducer* producer) override;
    KString toObserverString() const { return getLabel(); }

    // Legend entry.
    CSize getMinimumSize() const override;
    CSize getPreferredSize() const override;
    void drawForeground(KGraphics& graphics) override;
    void focusChanged(bool gained) override;
    // A legend entry dragged away and let go posts "drag"; the frame moves the curve to
    // the graph under the point where it was let go (canvas coordinates).
    void mousePressed(KEvent& event) override;
    void mouseDragged(KEvent& event) override;
    void mouseReleased(KEvent& event) override;
    CPoint getDropPoint() const { return dropPoint_; }
    // "CLIP.RANGE" and "CLIP.ALL" from the curve's menu go to the legend holding it.
    void onCommand(KEvent& event) override;

    // The records that the curves show (records only; other producers are not stored),
    // each once, and for every curve the place of its record among them (-1 for none).
    // Loading gives each curve its record back, shared with every other owner that the same
    // archive gives it to; the curves keep it alive. owner names the stored object in errors.
    static void storeRecords(KArchive& archive, const std::vector<KCurve*>& curves);
    static void loadRecords(KArchive& archive, const std::vector<KCurve*>& curves, const char* owner);

    // Every display setting, and the producer.
    void copy(const KObject& other) override;
    // After the label: version 7; channel, scale, units, line colour, flags, the two state
    // words; threshold; X and Y offsets; the units again; render style; line width.
    void Serialize(KArchive& archive) override;

private:
    static int nextId_;

    KRecordProducer* source_ = nullptr;
    std::shared_ptr<KRecordProducer> keeper_;
    KRecord data_;
    double threshold_ = 0.5;
    std::int32_t renderStyle_ = LINE;
    bool waveformGlyph_ = false;
    std::int32_t channel_ = 0;
    double scale_ = 1.0;
    double xOffset_ = 0.0;
    double yOffset_ = 0.0;
    std::int32_t colorIndex_ = 0;
    COLORREF lineColor_ = 0;
    std::int32_t lineWidth_ = 1;
    std::int32_t operator_ = 0;
    KBitSet curveFlags_;
    KString units_;
    KString above_ = "High";
    KString below_ = "Low";
    std::int32_t prevIndex_ = 0;
    int id_;
    KTraceSummary summary_;
    KWaveformPainter::Columns columns_;
    // The legend drag under way.
    CPoint pressPoint_;
    bool dragging_ = false;
    CPoint dropPoint_;
};
