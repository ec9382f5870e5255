#include <kalvo/io/KComtradeFile.h>

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KFile.h>
#include <kalvo/io/KComtradeConfigParser.h>
#include <kalvo/io/KComtradeTiming.h>

namespace {

// A section's text without the line end that separates it from the next marker.
std::string_view sectionText(std::string_view bytes, size_t begin, size_t end) {
    std::string_view text = bytes.substr(begin, end - begin);
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    return text;
}

std::string baseName(const char* path) {
    return std::filesystem::path(path).filename().string();
}

}  // namespace

std::string KComtradeFile::getExtension(const std::string& path) {
    std::string ext = std::filesystem::path(path).extension().string();
    for (char& c : ext) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::string KComtradeFile::load(const std::string& path) {
    std::string bytes;
    const KFile::Result result = KFile::read(path.c_str(), bytes);
    if (result == KFile::CANNOT_OPEN)
        KException::raise("COMTRADE Error", "%s: cannot open the file", path.c_str());
    if (result == KFile::CANNOT_TRANSFER)
        KException::raise("COMTRADE Error", "%s: cannot read the file", path.c_str());
    return bytes;
}

std::string KComtradeFile::findCompanion(const std::string& path, const char* extension) {
    namespace fs = std::filesystem;
    const fs::path p(path);
    const std::string stem = p.stem().string();
    const fs::path dir = p.has_parent_path() ? p.parent_path() : fs::path(".");
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir, ec)) {
        const fs::path& q = entry.path();
        const std::string ext = q.extension().string();
        if (q.stem().string() == stem && ext.size() > 1 &&
            strcasecmp(ext.c_str() + 1, extension) == 0 && entry.is_regular_file(ec)) {
            return p.has_parent_path() ? q.string() : q.filename().string();
        }
    }
    return std::string();
}

std::string KComtradeFile::toUtf8(std::string_view text, const Options& options) {
    return KTextEncoding::toUtf8(text, options.encoding == KTextEncoding::AUTO
                                           ? KTextEncoding::guess(text)
                                           : options.encoding);
}

void KComtradeFile::read(const char* path, const Options& options) {
    *this = KComtradeFile();
    const std::string p(path);
    const std::string ext = getExtension(p);
    if (ext == ".cff") {
        configPath = dataPath = path;
        readCombined(load(p), baseName(path).c_str(), options);
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
    read(cfg.c_str(), dat.c_str(), options);
}

void KComtradeFile::read(const char* configFile, const char* dataFile, const Options& options) {
    *this = KComtradeFile();
    const std::string cfg(configFile), dat(dataFile);
    configPath = configFile;
    dataPath = dataFile;
    readConfig(load(cfg), baseName(configFile).c_str(), options);
    for (const char* extra : {"hdr", "inf"}) {
        const std::string companion = findCompanion(cfg, extra);
        if (companion.empty()) continue;
        const std::string text = toUtf8(load(companion), options);
        (extra[0] == 'h' ? header : information) = text.c_str();
    }
    readData(load(dat), baseName(dat.c_str()).c_str(), options);
}

void KComtradeFile::readConfig(std::string_view text, const char* name, const Options& options,
                               int firstLine) {
    std::string_view body = text;
    if (body.size() >= 3 && body.substr(0, 3) == "\xEF\xBB\xBF") body.remove_prefix(3);
    encoding =
        options.encoding == KTextEncoding::AUTO ? KTextEncoding::guess(body) : options.encoding;
    const std::string utf8 = KTextEncoding::toUtf8(body, encoding);
    config = KComtradeConfigParser(name, firstLine).parse(utf8, warnings);
    if (encoding != KTextEncoding::UTF8) {
        KString w;
        w.format("%s: texts read as %s%s", name, KTextEncoding::getName(encoding),
                 options.encoding == KTextEncoding::AUTO ? " (guessed)" : "");
        warnings.add(w.c_str());
    }
}

void KComtradeFile::readData(std::string_view bytes, const char* name, const Options& options) {
    auto decoder = KComtradeDecoder::create(config.fileType);
    decoder->setFileName(name);
    decoder->setProgress(options.progress);
    decoder->decode(bytes.data(), bytes.size(), config, data, warnings);
    finish();
}

void KComtradeFile::readCombined(std::string_view bytes, const char* name, const Options& options) {
    // Sections begin at marker lines such as "--- file type: DAT BINARY: 4214 ---".
    struct Section {
        std::string type;    // CFG, INF, HDR, DAT
        std::string format;  // the data file type named in a DAT marker
        long long byteCount = -1;
        size_t begin = 0, end = 0;
        int firstLine = 0;
    };
    std::vector<Section> sections;
    bool oddMarkers = false;
    size_t pos = 0;
    int line = 1;
    while (pos < bytes.size()) {
        const size_t eol = bytes.find('\n', pos);
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
            if (s.type == "DAT") break;  // what follows may be binary
        }
        pos = next;
        ++line;
    }
    if (!sections.empty() && sections.back().type != "DAT") sections.back().end = bytes.size();
    const Section* cfg = nullptr;
    const Section* dat = nullptr;
    for (const Section& s : sections) {
        if (s.type == "CFG" && !cfg) cfg = &s;
        if (s.type == "DAT" && !dat) dat = &s;
        if (s.type == "HDR") header = toUtf8(sectionText(bytes, s.begin, s.end), options).c_str();
        if (s.type == "INF")
            information = toUtf8(sectionText(bytes, s.begin, s.end), options).c_str();
    }
    if (!cfg)
        KException::raise("COMTRADE Error",
                          "%s, line 1: expected the marker line '--- file type: CFG ---'", name);
    if (!dat)
        KException::raise("COMTRADE Error",
                          "%s, line %d: expected the marker line '--- file type: DAT ...'", name,
                          line);
    if (oddMarkers) warnings.add("section marker lines differ from '--- file type: ... ---'");
    readConfig(bytes.substr(cfg->begin, cfg->end - cfg->begin), name, options, cfg->firstLine);
    KComtradeConfig::FileType type;
    if (!dat->format.empty() && KComtradeConfig::parseFileType(dat->format.c_str(), type) &&
        type != config.fileType) {
        KString w;
        w.format("the data section is marked %s but the configuration says %s; read as %s",
                 dat->format.c_str(), KComtradeConfig::getFileTypeName(config.fileType),
                 KComtradeConfig::getFileTypeName(config.fileType));
        warnings.add(w.c_str());
    }
    std::string_view data = bytes.substr(std::min(dat->begin, bytes.size()));
    if (dat->byteCount >= 0) {
        if (static_cast<size_t>(dat->byteCount) < data.size()) {
            data = data.substr(0, static_cast<size_t>(dat->byteCount));
        } else if (static_cast<size_t>(dat->byteCount) > data.size()) {
            KString w;
            w.format("the data section announces %lld bytes but holds %zu", dat->byteCount,
                     data.size());
            warnings.add(w.c_str());
        }
    }
    readData(data, name, options);
}

void KComtradeFile::finish() {
    const int64_t count = data.getSampleCount();
    const int64_t announced = config.getSampleCount();
    KString w;
    if (count < announced) {
        w.format(
            "the data hold %lld of the %lld samples the configuration announces "
            "(%lld missing); the complete samples kept",
            static_cast<long long>(count), static_cast<long long>(announced),
            static_cast<long long>(announced - count));
        warnings.add(w.c_str());
    } else if (count > announced) {
        w.format("the data hold %lld samples, %lld more than the configuration announces; all kept",
                 static_cast<long long>(count), static_cast<long long>(count - announced));
        warnings.add(w.c_str());
    }
    // The sampling table now describes the samples there are.
    if (count != announced) {
        auto& rates = config.rates;
        while (rates.size() > 1 && rates[rates.size() - 2].endSample >= count) rates.pop_back();
        rates.back().endSample = count;
    }
    // Values outside the declared range, reported once for all channels.
    KString outside;
    int outsideChannels = 0;
    for (size_t c = 0; c < config.analogs.size(); ++c) {
        const auto& a = config.analogs[c];
        if (!(a.min < a.max)) continue;
        int64_t n = 0;
        data.visitAnalogs(static_cast<int>(c), [&](const auto* raw) {
            for (int64_t i = 0; i < count; ++i) {
                const double v = KComtradeData::toDouble(raw[i]);
                n += (v < a.min) | (v > a.max);
            }
        });
        if (n == 0) continue;
        if (++outsideChannels <= 4) {
            KString one;
            one.format("%s%s (%lld samples)", outsideChannels > 1 ? ", " : "", a.id.c_str(),
                       static_cast<long long>(n));
            outside << one;
        }
    }
    if (outsideChannels > 0) {
        w.format("values outside the declared minimum and maximum in %d channels: %s%s; kept",
                 outsideChannels, outside.c_str(), outsideChannels > 4 ? ", ..." : "");
        warnings.add(w.c_str());
    }
    times = KComtradeTiming::compute(config, data, warnings);
    // The trigger, unless it lies far outside the record (a placeholder date).
    triggerTime = config.start.secondsTo(config.trigger);
    const double duration = times.empty() ? 0.0 : times.back();
    if (!std::isfinite(triggerTime) || triggerTime < -duration - 60.0 ||
        triggerTime > 2.0 * duration + 60.0) {
        w.format(
            "the trigger time %s lies far outside the record; the first sample taken as "
            "the trigger",
            config.trigger.toDisplayString().c_str());
        warnings.add(w.c_str());
        triggerTime = 0.0;
    }
}
