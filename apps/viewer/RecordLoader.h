#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include <kalvo/foundation/KStringArray.h>
#include <kalvo/record/KRecord.h>

// Reads a record on a thread of its own, so that the window stays responsive while a large
// file loads. The interface thread polls it for the share done and takes the record, or the
// error that stopped the reading, once it is finished. Cancelling stops the reading at the
// next piece of the data file.
class RecordLoader {
public:
    explicit RecordLoader(std::string path);
    ~RecordLoader();
    RecordLoader(const RecordLoader&) = delete;
    RecordLoader& operator=(const RecordLoader&) = delete;

    const std::string& getPath() const { return path_; }
    // 0 to 1.
    double getProgress() const { return progress_.load(); }
    bool isFinished() const { return finished_.load(); }
    void cancel() { cancelled_.store(true); }
    bool isCancelled() const { return cancelled_.load(); }

    // Once finished: the record, or null with the error's text (empty when cancelled).
    std::shared_ptr<KRecord> takeRecord();
    const std::string& getError() const { return error_; }
    // What the files had wrong, once finished.
    const KStringArray& getWarnings() const { return warnings_; }

private:
    void run();

    std::string path_;
    std::shared_ptr<KRecord> record_;
    std::string error_;
    KStringArray warnings_;
    std::atomic<double> progress_{0.0};
    std::atomic<bool> cancelled_{false};
    std::atomic<bool> finished_{false};
    std::thread thread_;
};
