#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/toolkit/KFrame.h>

class KGraphFrame;
class KHost;
class KPlayControl;
class KPlotCurve;
class KPlotPanel;
class KRecord;
class KRecordProducer;

// A plot beside the time graph of the same record: the time graph frame ("frame") on the
// left, the plot panel on the right, a title over both and the play control under them
// ("footer.play"). The plot shows the stretch of time that the time graph marks: from marker
// X to marker O while the markers show, else the time in view, which the axis's slider
// ("Slider1", whose ends widen and narrow it) sets. The plot follows every move of either.
//
// Playing steps the aperture's end through the record at the play speed (milliseconds of the
// record per second), keeping its width, so that the plot draws the trail behind it: it moves
// the markers (panning the time graph where they would leave it) or, without markers, the
// time in view. Play stops at the end of the record; playing again from there starts over.
//
// Keys: Space plays and pauses, Home goes back to the start, [ and ] halve and double the
// speed, M shows and hides the markers.
class KPlotFrame : public KFrame {
    K_DECLARE_CLASS(KPlotFrame);

public:
    // The time between play steps.
    static constexpr unsigned PLAY_INTERVAL_MS = 40;

    KPlotFrame();
    ~KPlotFrame() override;

    // Builds the parts, with the plot given (which the frame takes) or a KPlotPanel.
    void create(KPlotPanel* plot = nullptr);
    // Raise "Unable to find graph frame." and "Unable to find plot panel." when missing.
    KGraphFrame* getGraphFrame() const;
    KPlotPanel* getPlotPanel() const;
    KPlayControl* getPlayControl() const;
    KString getTitle() const;
    void setTitle(const char* title);

    // The record's channels in the time graph (the traces listed, or all).
    void addRecord(KRecord* record, const std::vector<int>& traces = {});
    // A pair of the producer's traces in the plot.
    KPlotCurve* addPair(KRecordProducer* producer, int xTrace, int yTrace,
                        const char* caption = nullptr);

    // The aperture the time graph marks (from X to O, or the time in view); NaN without one.
    void getAperture(double& lo, double& hi) const;
    // Whether the aperture comes from the markers (else from the time in view).
    bool isMarkerAperture() const;
    // Gives the plot the aperture and refreshes the read-out.
    void updateAperture();

    void play(bool on);
    bool isPlaying() const { return timer_ != 0; }
    // Milliseconds of the record per second, pulled into the control's limits.
    void setPlaySpeed(double msPerSecond);
    double getPlaySpeed() const;
    // Moves the aperture's end on by what the play speed makes of the elapsed time; at the
    // record's end it stops there and play stops. False when the aperture did not move.
    bool stepPlay(unsigned elapsedMs);
    // The aperture back to the start of the record, keeping its width.
    void rewind();

    void processKeyEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;
    void actionPerformed(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the frame part (which holds the time graph and the plot): version 1; the play
    // speed.
    void Serialize(KArchive& archive) override;

private:
    // Listens to the time graph and the play control.
    void connect();
    // The aperture moved to lo..hi: by the markers, or as the time in view.
    void moveAperture(double lo, double hi);

    double speed_ = 40.0;
    unsigned timer_ = 0;
    KHost* timerHost_ = nullptr;
};
