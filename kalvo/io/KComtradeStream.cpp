#include <kalvo/io/KComtradeStream.h>

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KFile.h>
#include <kalvo/io/KComtradeConfigParser.h>

namespace {

[[noreturn]] void raiseSystemError(const std::string& path, int error) {
    KException::raise("COMTRADE Error", "%s: %s", path.c_str(), std::strerror(error));
}

// Raises unless path names something that can be read as a file.
void checkReadable(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) raiseSystemError(path, errno);
    if (S_ISDIR(info.st_mode)) raiseSystemError(path, EISDIR);
}

// A section's text without the line end that separates it from the next marker.
std::string_view sectionText(std::string_view bytes, size_t begin, size_t end) {
    std::string_view text = bytes.substr(begin, end - begin);
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    return text;
}

std::string baseName(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

}  // namespace

// Where the data bytes come from: memory, or a file read a piece at a time.
class KComtradeStream::Source {
public:
    explicit Source(std::string_view bytes) : view_(bytes), total_(bytes.size()) {}
    Source(int fd, uint64_t length, std::string path)
        : fd_(fd), left_(length), total_(length), path_(std::move(path)) {}
    ~Source() {
        if (fd_ >= 0) ::close(fd_);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    // The bytes not used yet: at least want of them, unless the data end first (last).
    std::string_view get(size_t want, bool& last) {
        if (fd_ < 0) {
            const size_t n = std::min(want, view_.size() - pos_);
            last = pos_ + n == view_.size();
            return view_.substr(pos_, n);
        }
        if (end_ - begin_ < want && left_ > 0) {
            const size_t kept = end_ - begin_;
            if (capacity_ < want) {
                std::unique_ptr<char[]> bigger(new char[want]);
                if (kept > 0) std::memcpy(bigger.get(), buffer_.get() + begin_, kept);
                buffer_ = std::move(bigger);
                capacity_ = want;
            } else if (kept > 0) {
                std::memmove(buffer_.get(), buffer_.get() + begin_, kept);
            }
            end_ -= begin_;
            begin_ = 0;
            while (end_ < want && left_ > 0) {
                const size_t n = static_cast<size_t>(std::min<uint64_t>(want - end_, left_));
                const ssize_t got = ::read(fd_, buffer_.get() + end_, n);
                if (got < 0) {
                    if (errno == EINTR) continue;
                    raiseSystemError(path_, errno);
                }
                if (got == 0) {
                    left_ = 0;  // the file is shorter than it was
                    break;
                }
                end_ += static_cast<size_t>(got);
                left_ -= static_cast<uint64_t>(got);
            }
        }
        last = left_ == 0;
        return std::string_view(buffer_.get() + begin_, end_ - begin_);
    }
    void use(size_t n) {
        (fd_ < 0 ? pos_ : begin_) += n;
        done_ += n;
    }
    uint64_t getDone() const { return done_; }
    uint64_t getTotal() const { return total_; }

private:
    std::string_view view_;
    size_t pos_ = 0;
    int fd_ = -1;
    std::unique_ptr<char[]> buffer_;
    size_t capacity_ = 0, begin_ = 0, end_ = 0;
    uint64_t left_ = 0;
    uint64_t total_ = 0, done_ = 0;
    std::string path_;
};

struct KComtradeStream::Section {
    std::string type;    // CFG, INF, HDR, DAT
    std::string format;  // the data file type named in a DAT marker
    long long byteCount = -1;
    size_t begin = 0, end = 0;
    int firstLine = 0;
};

KComtradeStream::KComtradeStream() = default;
KComtradeStream::~KComtradeStream() = default;

std::string KComtradeStream::getExtension(const std::string& path) {
    std::string ext = std::filesystem::path(path).extension().string();
    for (char& c : ext) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::string KComtradeStream::load(const std::string& path) {
    checkReadable(path);
    std::string bytes;
    if (KFile::read(path.c_str(), bytes) != KFile::OK) raiseSystemError(path, errno);
    return bytes;
}

std::string KComtradeStream::findCompanion(const std::string& path, const char* extension) {
    namespace fs = std::filesystem;
    const fs::path p(path);
    const std::string stem = p.stem().string();
    const fs::path dir = p.has_parent_path() ? p.parent_path() : fs::path(".");
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir, ec)) {
        const fs::path& q = entry.path();
        const std::string ext = q.extension().string();
        if (q.stem().string() == stem && ext.size() > 1 &&
            strcasecmp(ext.c_str() + 1, extension) == 0) {
            return p.has_parent_path() ? q.string() : q.filename().string();
        }
    }
    return std::string();
}

void KComtradeStream::reset(const Options& options) {
    options_ = options;
    config_ = KComtradeConfig();
    header_ = information_ = configPath_ = dataPath_ = KString();
    warnings_ = KStringArray();
    encoding_ = KTextEncoding::UTF8;
    rates_.clear();
    source_.reset();
    decoder_.reset();
    timing_.reset();
    count_ = 0;
    triggerTime_ = 0.0;
    triggerKnown_ = done_ = false;
}

void KComtradeStream::open(const char* path, const Options& options) {
    reset(options);
    const std::string p(path);
    checkReadable(p);
    const std::string ext = getExtension(p);
    if (ext == ".cff") {
        configPath_ = dataPath_ = path;
        // The text sections first, read until the data marker; the data follow it.
        const std::string name = baseName(p);
        const int fd = ::open(path, O_RDONLY);
        if (fd < 0) raiseSystemError(p, errno);
        struct stat info;
        fstat(fd, &info);
        const uint64_t size = static_cast<uint64_t>(info.st_size);
        Source head(fd, size, p);
        uint64_t offset = 0;
        long long byteCount = -1;
        for (size_t want = 1 << 16;; want *= 2) {
            bool last = false;
            const std::string_view bytes = head.get(want, last);
            if (splitCombined(bytes, name.c_str(), last, offset, byteCount) || last) break;
        }
        uint64_t length = size - std::min(offset, size);
        if (byteCount >= 0) {
            if (static_cast<uint64_t>(byteCount) < length) {
                length = static_cast<uint64_t>(byteCount);
            } else if (static_cast<uint64_t>(byteCount) > length) {
                KString w;
                w.format("the data section announces %lld bytes but holds %llu", byteCount,
                         static_cast<unsigned long long>(length));
                warnings_.add(w.c_str());
            }
        }
        openDataFile(p, offset, length, name.c_str());
        return;
    }
    std::string cfg = p, dat = p;
    if (ext == ".dat") {
        cfg = findCompanion(p, "cfg");
        if (cfg.empty())
            KException::raise("COMTRADE Error", "%s: no configuration file (.cfg) beside it", path);
    } else if (ext == ".cfg") {
        dat = findCompanion(p, "dat");
        if (dat.empty())
            KException::raise("COMTRADE Error", "%s: no data file (.dat) beside it", path);
    } else {
        KException::raise("COMTRADE Error",
                          "%s: not a record file (expected a .cfg, .dat or .cff file)", path);
    }
    open(cfg.c_str(), dat.c_str(), options);
}

void KComtradeStream::open(const char* path) { open(path, Options()); }

void KComtradeStream::open(const char* configFile, const char* dataFile, const Options& options) {
    reset(options);
    const std::string cfg(configFile), dat(dataFile);
    configPath_ = configFile;
    dataPath_ = dataFile;
    readConfigText(load(cfg), baseName(cfg).c_str(), 1);
    for (const char* extra : {"hdr", "inf"}) {
        const std::string companion = findCompanion(cfg, extra);
        if (companion.empty()) continue;
        const std::string raw = load(companion);
        const std::string text = KTextEncoding::toUtf8(
            raw, options_.encoding == KTextEncoding::AUTO ? KTextEncoding::guess(raw)
                                                          : options_.encoding);
        (extra[0] == 'h' ? header_ : information_) = text.c_str();
    }
    checkReadable(dat);
    openDataFile(dat, 0, std::numeric_limits<uint64_t>::max(), baseName(dat).c_str());
}

void KComtradeStream::openConfig(std::string_view text, const char* name, const Options& options,
                                 int firstLine) {
    reset(options);
    readConfigText(text, name, firstLine);
}

void KComtradeStream::useConfig(const KComtradeConfig& config, const Options& options) {
    reset(options);
    config_ = config;
    rates_ = config.rates;
}

void KComtradeStream::openData(std::string_view bytes, const char* name) {
    source_ = std::make_unique<Source>(bytes);
    startData(name);
}

void KComtradeStream::openCombined(std::string_view bytes, const char* name,
                                   const Options& options) {
    reset(options);
    uint64_t offset = 0;
    long long byteCount = -1;
    splitCombined(bytes, name, true, offset, byteCount);
    std::string_view data = bytes.substr(std::min<size_t>(offset, bytes.size()));
    if (byteCount >= 0) {
        if (static_cast<size_t>(byteCount) < data.size()) {
            data = data.substr(0, static_cast<size_t>(byteCount));
        } else if (static_cast<size_t>(byteCount) > data.size()) {
            KString w;
            w.format("the data section announces %lld bytes but holds %zu", byteCount,
                     data.size());
            warnings_.add(w.c_str());
        }
    }
    openData(data, name);
}

void KComtradeStream::readConfigText(std::string_view text, const char* name, int firstLine) {
    std::string_view body = text;
    if (body.size() >= 3 && body.substr(0, 3) == "\xEF\xBB\xBF") body.remove_prefix(3);
    encoding_ =
        options_.encoding == KTextEncoding::AUTO ? KTextEncoding::guess(body) : options_.encoding;
    const std::string utf8 = KTextEncoding::toUtf8(body, encoding_);
    config_ = KComtradeConfigParser(name, firstLine).parse(utf8, warnings_);
    rates_ = config_.rates;
    if (encoding_ != KTextEncoding::UTF8) {
        KString w;
        w.format("%s: texts read as %s%s", name, KTextEncoding::getName(encoding_),
                 options_.encoding == KTextEncoding::AUTO ? " (guessed)" : "");
        warnings_.add(w.c_str());
    }
}

void KComtradeStream::openDataFile(const std::string& path, uint64_t offset, uint64_t length,
                                   const char* name) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    if (fd < 0) raiseSystemError(path, errno);
    struct stat info;
    if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        const int error = S_ISDIR(info.st_mode) ? EISDIR : errno;
        ::close(fd);
        raiseSystemError(path, error);
    }
    const uint64_t size = static_cast<uint64_t>(info.st_size);
    offset = std::min(offset, size);
    if (offset > 0 && lseek(fd, static_cast<off_t>(offset), SEEK_SET) < 0) {
        const int error = errno;
        ::close(fd);
        raiseSystemError(path, error);
    }
    source_ = std::make_unique<Source>(fd, std::min(length, size - offset), path);
    startData(name);
}

void KComtradeStream::startData(const char* name) {
    decoder_ = KComtradeDecoder::create(config_.fileType);
    decoder_->setFileName(name);
    decoder_->start(config_);
    timing_ = std::make_unique<KComtradeTiming>(config_);
    // FLOAT32 samples hold the declared limits only as close as a float comes to them.
    const bool floats = config_.fileType == KComtradeConfig::FLOAT32;
    lowest_.clear();
    highest_.clear();
    for (const auto& a : config_.analogs) {
        lowest_.push_back(floats ? static_cast<double>(static_cast<float>(a.min)) : a.min);
        highest_.push_back(floats ? static_cast<double>(static_cast<float>(a.max)) : a.max);
    }
    outside_.assign(config_.analogs.size(), 0);
}

bool KComtradeStream::splitCombined(std::string_view bytes, const char* name, bool complete,
                                    uint64_t& dataOffset, long long& byteCount) {
    // Sections begin at marker lines such as "--- file type: DAT BINARY: 4214 ---".
    std::vector<Section> sections;
    bool oddMarkers = false;
    size_t pos = 0;
    int line = 1;
    bool dataFound = false;
    while (pos < bytes.size()) {
        const size_t eol = bytes.find('\n', pos);
        if (eol == std::string_view::npos && !complete) return false;  // a line not all there
        const size_t next = eol == std::string_view::npos ? bytes.size() : eol + 1;
        std::string_view text = bytes.substr(pos, next - pos);
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
        std::string lower(text);
        for (char& c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
        const size_t at = lower.find("file type");
        if (lower.rfind("--", 0) == 0 && at != std::string::npos) {
            if (!sections.empty()) sections.back().end = pos;
            if (lower.rfind("--- file type: ", 0) != 0) oddMarkers = true;
            std::string rest(text.substr(at + 9));
            for (char& c : rest)
                if (c == ':' || c == '-') c = ' ';
            Section s;
            char type[16] = "", format[16] = "";
            long long count = -1;
            const int got = sscanf(rest.c_str(), "%15s %15s %lld", type, format, &count);
            for (char* c = type; *c; ++c) *c = static_cast<char>(toupper(*c));
            s.type = type;
            if (got >= 2) s.format = format;
            if (got >= 3) s.byteCount = count;
            s.begin = next;
            s.firstLine = line + 1;
            sections.push_back(s);
            if (s.type == "DAT") {
                dataFound = true;
                break;  // what follows may be binary
            }
        }
        pos = next;
        ++line;
    }
    if (!dataFound && !complete) return false;
    if (!sections.empty() && sections.back().type != "DAT") sections.back().end = bytes.size();
    const Section* cfg = nullptr;
    const Section* dat = nullptr;
    auto toUtf8 = [&](std::string_view text) {
        return KTextEncoding::toUtf8(text, options_.encoding == KTextEncoding::AUTO
                                               ? KTextEncoding::guess(text)
                                               : options_.encoding);
    };
    for (const Section& s : sections) {
        if (s.type == "CFG" && !cfg) cfg = &s;
        if (s.type == "DAT" && !dat) dat = &s;
        if (s.type == "HDR") header_ = toUtf8(sectionText(bytes, s.begin, s.end)).c_str();
        if (s.type == "INF") information_ = toUtf8(sectionText(bytes, s.begin, s.end)).c_str();
    }
    if (!cfg)
        KException::raise("COMTRADE Error",
                          "%s, line 1: expected the marker line '--- file type: CFG ---'", name);
    if (!dat)
        KException::raise("COMTRADE Error",
                          "%s, line %d: expected the marker line '--- file type: DAT ...'", name,
                          line);
    if (oddMarkers) warnings_.add("section marker lines differ from '--- file type: ... ---'");
    readConfigText(bytes.substr(cfg->begin, cfg->end - cfg->begin), name, cfg->firstLine);
    KComtradeConfig::FileType type;
    if (!dat->format.empty() && KComtradeConfig::parseFileType(dat->format.c_str(), type) &&
        type != config_.fileType) {
        KString w;
        w.format("the data section is marked %s but the configuration says %s; read as %s",
                 dat->format.c_str(), KComtradeConfig::getFileTypeName(config_.fileType),
                 KComtradeConfig::getFileTypeName(config_.fileType));
        warnings_.add(w.c_str());
    }
    dataOffset = dat->begin;
    byteCount = dat->byteCount;
    return true;
}

int64_t KComtradeStream::getExpectedSampleCount() const {
    if (!isSampleCountExact() || !source_) return config_.getSampleCount();
    return static_cast<int64_t>(source_->getTotal() /
                                static_cast<uint64_t>(config_.getRecordSize()));
}

double KComtradeStream::getLastTime() const { return timing_ ? timing_->getLastTime() : 0.0; }

double KComtradeStream::getStampInterval() const {
    return timing_ ? timing_->getStampInterval() : 0.0;
}

bool KComtradeStream::next(Block& block) {
    if (!source_) KException::raise("COMTRADE Error", "no data file open");
    if (done_) return false;
    const size_t piece = std::max<size_t>(options_.pieceSize, 1);
    size_t want = piece;
    while (true) {
        bool last = false;
        const std::string_view bytes = source_->get(want, last);
        const size_t used = decoder_->decodePiece(bytes.data(), bytes.size(), last, block.data);
        source_->use(used);
        if (used == 0 && !last) {
            want *= 2;  // a line longer than a piece
            continue;
        }
        want = piece;
        const int64_t n = block.data.getSampleCount();
        block.first = count_;
        timing_->add(block.data.timeStamps.data(), static_cast<size_t>(n), block.times);
        countOutside(block.data);
        count_ += n;
        if (!triggerKnown_ && (n > 0 || last)) decideTrigger();
        if (options_.progress && source_->getTotal() > 0)
            options_.progress(static_cast<double>(source_->getDone()) /
                              static_cast<double>(source_->getTotal()));
        if (last) {
            finish();
            done_ = true;
            return n > 0;
        }
        if (n > 0) return true;
    }
}

void KComtradeStream::decideTrigger() {
    triggerKnown_ = true;
    triggerTime_ = config_.start.secondsTo(config_.trigger);
    // The record's length as far as it has been read, or as the configuration (or the size
    // of binary data) tells it: from the rates, or from the typical step of the time stamps.
    double duration = timing_->getLastTime();
    const int64_t announced = std::max(config_.getSampleCount(), getExpectedSampleCount());
    if (announced > 0)
        duration = std::max(duration, config_.hasSamplingRate()
                                          ? KComtradeTiming::rateTime(config_, announced - 1)
                                          : timing_->getStampInterval() * (announced - 1));
    if (!std::isfinite(triggerTime_) || triggerTime_ < -duration - 60.0 ||
        triggerTime_ > 2.0 * duration + 60.0) {
        KString w;
        w.format(
            "the trigger time %s lies far outside the record; the first sample taken as "
            "the trigger",
            config_.trigger.toDisplayString().c_str());
        warnings_.add(w.c_str());
        triggerTime_ = 0.0;
    }
}

void KComtradeStream::countOutside(const KComtradeData& block) {
    const int64_t n = block.getSampleCount();
    for (size_t c = 0; c < outside_.size(); ++c) {
        const double lo = lowest_[c], hi = highest_[c];
        if (!(lo < hi)) continue;
        int64_t count = 0;
        block.visitAnalogs(static_cast<int>(c), [&](const auto* raw) {
            for (int64_t i = 0; i < n; ++i) {
                const double v = KComtradeData::toDouble(raw[i]);
                count += (v < lo) | (v > hi);
            }
        });
        outside_[c] += count;
    }
}

void KComtradeStream::finish() {
    decoder_->finish(warnings_);
    const int64_t announced = config_.getSampleCount();
    KString w;
    if (count_ < announced) {
        w.format(
            "the data hold %lld of the %lld samples the configuration announces "
            "(%lld missing); the complete samples kept",
            static_cast<long long>(count_), static_cast<long long>(announced),
            static_cast<long long>(announced - count_));
        warnings_.add(w.c_str());
    } else if (count_ > announced) {
        w.format("the data hold %lld samples, %lld more than the configuration announces; all kept",
                 static_cast<long long>(count_), static_cast<long long>(count_ - announced));
        warnings_.add(w.c_str());
    }
    // The sampling table now describes the samples there are.
    rates_ = config_.rates;
    if (count_ != announced && !rates_.empty()) {
        while (rates_.size() > 1 && rates_[rates_.size() - 2].endSample >= count_) rates_.pop_back();
        rates_.back().endSample = count_;
    }
    // Values outside the declared range, reported once for all channels.
    KString outside;
    int outsideChannels = 0;
    for (size_t c = 0; c < outside_.size(); ++c) {
        if (outside_[c] == 0) continue;
        if (++outsideChannels <= 4) {
            KString one;
            one.format("%s%s (%lld samples)", outsideChannels > 1 ? ", " : "",
                       config_.analogs[c].id.c_str(), static_cast<long long>(outside_[c]));
            outside << one;
        }
    }
    if (outsideChannels > 0) {
        w.format("values outside the declared minimum and maximum in %d channels: %s%s; kept",
                 outsideChannels, outside.c_str(), outsideChannels > 4 ? ", ..." : "");
        warnings_.add(w.c_str());
    }
    timing_->finish(warnings_);
}
