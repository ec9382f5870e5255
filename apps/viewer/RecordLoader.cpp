#include "RecordLoader.h"

#include <new>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeReader.h>

RecordLoader::RecordLoader(std::string path) : path_(std::move(path)) {
    thread_ = std::thread([this] { run(); });
}

RecordLoader::~RecordLoader() {
    cancel();
    if (thread_.joinable()) thread_.join();
}

void RecordLoader::run() {
    auto record = std::make_shared<KRecord>();
    try {
        KComtradeReader reader;
        reader.setProgress([this](double share) {
            progress_.store(share);
            if (cancelled_.load()) KException::raise("Cancelled", "cancelled");
        });
        reader.read(path_.c_str(), *record);
        warnings_ = reader.getWarnings();
        record_ = std::move(record);
    } catch (const KException& e) {
        if (!cancelled_.load()) error_ = e.getText().c_str();
    } catch (const std::bad_alloc&) {
        error_ = "not enough memory for the record";
    } catch (const std::exception& e) {
        error_ = e.what();
    }
    progress_.store(1.0);
    finished_.store(true);
}

std::shared_ptr<KRecord> RecordLoader::takeRecord() {
    if (!finished_.load()) return nullptr;
    if (thread_.joinable()) thread_.join();
    return std::move(record_);
}
