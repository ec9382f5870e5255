#pragma once

#include <cstdio>

// The process's peak resident memory, for benchmarks that report memory beside time.

// Resets the peak, so that the next reading of it is the peak since.
inline void resetPeakMemory() {
    if (FILE* f = fopen("/proc/self/clear_refs", "w")) {
        fputs("5", f);
        fclose(f);
    }
}

// Peak resident memory since the last reset, in bytes (VmHWM).
inline double peakMemory() {
    double kilobytes = 0;
    if (FILE* f = fopen("/proc/self/status", "r")) {
        char line[256];
        while (fgets(line, sizeof line, f))
            if (sscanf(line, "VmHWM: %lf", &kilobytes) == 1) break;
        fclose(f);
    }
    return kilobytes * 1024;
}
