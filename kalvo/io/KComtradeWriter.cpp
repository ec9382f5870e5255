#include <kalvo/io/KComtradeWriter.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KFile.h>

namespace {

void appendNumber(std::string& out, double v) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, v);
    out.append(buffer, result.ptr);
}

void appendInteger(std::string& out, long long v) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, v);
    out.append(buffer, result.ptr);
}

std::string joined(std::initializer_list<std::string> fields) {
    std::string out;
    bool first = true;
    for (const std::string& f : fields) {
        if (!first) out += ',';
        first = false;
        out += f;
    }
    return out + "\r\n";
}

std::string num(double v) {
    std::string s;
    appendNumber(s, v);
    return s;
}

template <class T>
void put(std::string& out, T v) {
    char bytes[sizeof v];
    std::memcpy(bytes, &v, sizeof v);  // little-endian hosts write the file's byte order
    out.append(bytes, sizeof v);
}

[[noreturn]] void doesNotFit(const KComtradeConfig& config, size_t channel, size_t sample,
                             double v) {
    KException::raise("COMTRADE Error",
                      "channel %s, sample %zu: raw value %g does not fit a %s sample",
                      config.analogs[channel].id.c_str(), sample + 1, v,
                      KComtradeConfig::getFileTypeName(config.fileType));
}

void writeFile(const std::string& path, const std::string& bytes) {
    if (KFile::write(path.c_str(), bytes) != KFile::OK)
        KException::raise("COMTRADE Error", "%s: cannot write the file", path.c_str());
}

// A section text with exactly one line end after it (none when it is empty).
std::string section(const KString& text) {
    std::string s(text.c_str());
    if (!s.empty()) s += "\r\n";
    return s;
}

}  // namespace

std::string KComtradeWriter::writeConfig(const KComtradeConfig& config) {
    const bool oldest = config.revision == KComtradeConfig::REV_1991;
    std::string out;
    if (oldest)
        out += joined({config.station.c_str(), config.device.c_str()});
    else
        out += joined({config.station.c_str(), config.device.c_str(),
                       std::to_string(static_cast<int>(config.revision))});
    out += joined({std::to_string(config.analogs.size() + config.digitals.size()),
                   std::to_string(config.analogs.size()) + "A",
                   std::to_string(config.digitals.size()) + "D"});
    for (const auto& a : config.analogs) {
        std::string line =
            joined({std::to_string(a.index), a.id.c_str(), a.phase.c_str(), a.circuit.c_str(),
                    a.units.c_str(), num(a.a), num(a.b), num(a.skew), num(a.min), num(a.max)});
        if (!oldest) {
            line.resize(line.size() - 2);
            line +=
                "," + num(a.primary) + "," + num(a.secondary) + "," + std::string(1, a.ps) + "\r\n";
        }
        out += line;
    }
    for (const auto& d : config.digitals) {
        if (oldest)
            out += joined({std::to_string(d.index), d.id.c_str(), std::to_string(d.normal)});
        else
            out += joined({std::to_string(d.index), d.id.c_str(), d.phase.c_str(),
                           d.circuit.c_str(), std::to_string(d.normal)});
    }
    out += num(config.lineFrequency) + "\r\n";
    const bool noRate = !config.hasSamplingRate();
    out += std::to_string(noRate ? 0 : config.rates.size()) + "\r\n";
    for (const auto& r : config.rates) {
        out += joined({num(r.rate), std::to_string(r.endSample)});
        if (noRate) break;
    }
    for (KComtradeStamp stamp : {config.start, config.trigger}) {
        stamp.setMonthFirst(oldest, oldest && stamp.isTwoDigitYear());
        out += std::string(stamp.toString().c_str()) + "\r\n";
    }
    out += std::string(KComtradeConfig::getFileTypeName(config.fileType)) + "\r\n";
    if (!oldest) out += num(config.timeMultiplier) + "\r\n";
    if (config.revision == KComtradeConfig::REV_2013) {
        out += joined({config.timeCode.c_str(), config.localCode.c_str()});
        out += joined({config.timeQuality.c_str(), config.leapSecond.c_str()});
    }
    return out;
}

std::string KComtradeWriter::writeData(const KComtradeConfig& config, const KComtradeData& data) {
    const size_t n = static_cast<size_t>(data.getSampleCount());
    const size_t analogCount = config.analogs.size();
    const size_t digitalCount = config.digitals.size();
    if (static_cast<size_t>(data.getAnalogCount()) != analogCount ||
        static_cast<size_t>(data.getDigitalCount()) != digitalCount)
        KException::raise("COMTRADE Error",
                          "the samples have %d analog and %d status channels but the "
                          "configuration %zu and %zu",
                          data.getAnalogCount(), data.getDigitalCount(), analogCount, digitalCount);
    std::string out;
    if (config.fileType == KComtradeConfig::ASCII) {
        const bool oldest = config.revision == KComtradeConfig::REV_1991;
        out.reserve(n * (8 + 8 * analogCount + 2 * digitalCount));
        for (size_t i = 0; i < n; ++i) {
            appendInteger(out, static_cast<long long>(i + 1));
            out += ',';
            if (std::isfinite(data.timeStamps[i])) appendNumber(out, data.timeStamps[i]);
            for (size_t c = 0; c < analogCount; ++c) {
                out += ',';
                const double v = data.getAnalog(static_cast<int>(c), static_cast<int64_t>(i));
                if (std::isfinite(v))
                    appendNumber(out, v);
                else if (!oldest)
                    out += "99999";
            }
            for (size_t c = 0; c < digitalCount; ++c) {
                out += ',';
                out += data.getDigital(static_cast<int>(c), static_cast<int64_t>(i)) ? '1' : '0';
            }
            out += "\r\n";
        }
        return out;
    }
    out.reserve(n * static_cast<size_t>(config.getRecordSize()));
    for (size_t i = 0; i < n; ++i) {
        put<uint32_t>(out, static_cast<uint32_t>(i + 1));
        const double stamp = data.timeStamps[i];
        if (!std::isfinite(stamp)) {
            put<uint32_t>(out, 0xFFFFFFFFu);
        } else if (stamp >= 0.0 && stamp < 4294967295.0 && stamp == std::floor(stamp)) {
            put<uint32_t>(out, static_cast<uint32_t>(stamp));
        } else {
            KException::raise("COMTRADE Error",
                              "sample %zu: time stamp %g does not fit a binary time stamp", i + 1,
                              stamp);
        }
        for (size_t c = 0; c < analogCount; ++c) {
            const double v = data.getAnalog(static_cast<int>(c), static_cast<int64_t>(i));
            switch (config.fileType) {
                case KComtradeConfig::BINARY:
                    if (std::isnan(v)) {
                        put<int16_t>(out, INT16_MIN);
                    } else if (v == std::floor(v) && v > INT16_MIN && v <= INT16_MAX) {
                        put<int16_t>(out, static_cast<int16_t>(v));
                    } else {
                        doesNotFit(config, c, i, v);
                    }
                    break;
                case KComtradeConfig::BINARY32:
                    if (std::isnan(v)) {
                        put<int32_t>(out, INT32_MIN);
                    } else if (v == std::floor(v) && v > INT32_MIN && v <= INT32_MAX) {
                        put<int32_t>(out, static_cast<int32_t>(v));
                    } else {
                        doesNotFit(config, c, i, v);
                    }
                    break;
                default:
                    if (!std::isnan(v) && static_cast<double>(static_cast<float>(v)) != v)
                        doesNotFit(config, c, i, v);
                    put<float>(out, static_cast<float>(v));
                    break;
            }
        }
        for (int k = 0; k < data.getWordCount(); ++k) put<uint16_t>(out, data.getWords(k)[i]);
    }
    return out;
}

std::string KComtradeWriter::writeCombined(const KComtradeFile& file) {
    std::string out = "--- file type: CFG ---\r\n";
    out += writeConfig(file.config);
    out += "--- file type: INF ---\r\n" + section(file.information);
    out += "--- file type: HDR ---\r\n" + section(file.header);
    const std::string data = writeData(file.config, file.data);
    const char* type = KComtradeConfig::getFileTypeName(file.config.fileType);
    if (file.config.fileType == KComtradeConfig::ASCII)
        out += std::string("--- file type: DAT ") + type + " ---\r\n";
    else
        out += std::string("--- file type: DAT ") + type + ": " + std::to_string(data.size()) +
               " ---\r\n";
    return out + data;
}

void KComtradeWriter::write(const KComtradeFile& file, const char* path) {
    std::filesystem::path p(path);
    if (KComtradeStream::getExtension(path) == ".cff") {
        writeFile(path, writeCombined(file));
        return;
    }
    writeFile(p.replace_extension(".cfg").string(), writeConfig(file.config));
    writeFile(p.replace_extension(".dat").string(), writeData(file.config, file.data));
    if (!file.header.isEmpty())
        writeFile(p.replace_extension(".hdr").string(), file.header.c_str());
    if (!file.information.isEmpty())
        writeFile(p.replace_extension(".inf").string(), file.information.c_str());
}
