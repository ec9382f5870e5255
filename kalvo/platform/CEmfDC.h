#pragma once

#include <string>

#include <kalvo/platform/CRecordingDC.h>

// A device context whose picture is saved as an Enhanced Metafile, the vector picture format
// that office programs paste and open. It records like CRecordingDC (and measures text the
// same way); saving turns the recording into EMF records: a header with the picture's
// bounds and frame, the objects each drawing call runs with (pens, brushes and fonts are
// created once and selected again by handle), the modes, window and viewport mapping, the
// clip (a saved DC state narrowed by IntersectClipRect, restored when it has to widen), the
// drawing itself and the end-of-file record. Text is written as UTF-16 with its advances.
//
// The frame assumes 96 pixels per inch. Monochrome pattern brushes are written with the text
// and background colours in force where they are used; a transparent background does not
// carry over into their pattern.
class CEmfDC : public CRecordingDC {
public:
    // A picture of the given size in pixels.
    explicit CEmfDC(CSize size);
    ~CEmfDC() override;

    // Writes the picture drawn so far; false when the file cannot be written.
    bool Save(const char* path) const;
    // The bytes of the file.
    std::string ToEMF() const;

    bool IsMetaFile() const override { return true; }
};
