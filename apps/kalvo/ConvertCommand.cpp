#include "ConvertCommand.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeReader.h>
#include <kalvo/io/KComtradeRecordWriter.h>
#include <kalvo/io/KComtradeWriter.h>

#include "DisplayText.h"
#include "OutputFile.h"
#include "RecordSource.h"

const char* const ConvertCommand::HELP =
    "usage: kalvo convert [IN] -o OUT.cfg|OUT.cff [--format ascii|binary|binary32|float32]\n"
    "                     [--revision 1991|1999|2013] [--primary] [--encoding NAME] [--quiet]\n"
    "\n"
    "Rewrites a record (IN.cfg, IN.dat or IN.cff; the embedded sample without IN) as a\n"
    "configuration and data file (OUT.cfg and OUT.dat, with OUT.hdr and OUT.inf when the\n"
    "record has such texts) or as one combined file (OUT.cff). The new files are read back\n"
    "and compared with the record before they are put in place: every channel must come back\n"
    "within the resolution of the new data file type (exactly for ASCII and for integer\n"
    "samples that fit, to a float's precision for FLOAT32, to half a step of the new scale\n"
    "when the values had to be spread over the range of a 16- or 32-bit integer).\n"
    "\n"
    "  -o OUT           the file to write: .cfg (with its .dat) or .cff\n"
    "  --format F       data file type: ascii, binary, binary32 or float32 (that of IN by\n"
    "                   default)\n"
    "  --revision Y     1991, 1999 or 2013 (that of IN by default; binary32 and float32 need\n"
    "                   2013)\n"
    "  --primary        values on the primary side of the instrument transformers\n"
    "  --encoding NAME  character set of IN's texts: auto (default), utf-8, latin1, cp1251, gbk\n"
    "  --quiet          no progress line while a large file is read\n"
    "\n"
    "Exit status: 0 done, 1 a file that cannot be read or written or makes no sense (or the\n"
    "new files do not read back the same; nothing is then left), 2 a usage error.\n";

namespace {

// The largest difference between the channels of the record and of its copy read back,
// raised as an error when one is beyond the resolution of the copy's file type.
double compare(const KRecord& record, const KRecord& back, KComtradeConfig::FileType type,
               const std::string& path) {
    auto fail = [&](const char* what, const char* fmt, double a, double b) {
        KString text;
        text.format(fmt, a, b);
        KException::raise("Convert", "%s read back differs: %s %s", path.c_str(), what,
                          text.c_str());
    };
    if (back.getTraceCount() != record.getTraceCount())
        fail("channel count", "%g instead of %g", back.getTraceCount(), record.getTraceCount());
    if (back.getSampleCount() != record.getSampleCount())
        fail("sample count", "%g instead of %g", back.getSampleCount(), record.getSampleCount());
    const int n = record.getSampleCount();
    for (int i = 0; i < n; ++i) {
        const double a = record.getXData()[i], b = back.getXData()[i];
        if (!(std::fabs(a - b) <= 1e-6 + 1e-9 * std::fabs(a)))
            fail("time of a sample", "%.9g s instead of %.9g s", b, a);
    }
    double largest = 0.0;
    for (int k = 0; k < record.getTraceCount(); ++k) {
        const KRecord::Trace& t = *record.getTrace(k);
        const KRecord::Trace& u = *back.getTrace(k);
        if (strcmp(t.getName().c_str(), u.getName().c_str()) != 0)
            KException::raise("Convert", "%s read back differs: channel %d is named '%s', not '%s'",
                              path.c_str(), k + 1, DisplayText::escape(u.getName().c_str()).c_str(),
                              DisplayText::escape(t.getName().c_str()).c_str());
        const bool integer =
            type == KComtradeConfig::BINARY || type == KComtradeConfig::BINARY32;
        for (int i = 0; i < n; ++i) {
            const double a = t.getData()[i], b = u.getData()[i];
            if (std::isnan(a) && std::isnan(b)) continue;
            double tolerance = 1e-12 * std::fabs(a);
            if (integer) tolerance += 0.5 * std::fabs(u.getScale()) * (1 + 1e-9);
            if (type == KComtradeConfig::FLOAT32) tolerance += std::fabs(a) * 0x1p-23;
            const double difference = std::fabs(a - b);
            if (!(difference <= tolerance)) {
                KString what;
                what.format("channel %s, sample %d:", DisplayText::escape(t.getName().c_str()).c_str(),
                            i + 1);
                fail(what.c_str(), "%.17g instead of %.17g", b, a);
            }
            largest = std::max(largest, difference);
        }
    }
    return largest;
}

}  // namespace

int ConvertCommand::run(const CommandLine& options, FILE* out) {
    if (options.output.empty()) KException::raise("Usage", "convert needs -o OUT.cfg or -o OUT.cff");
    const std::string ext = KComtradeStream::getExtension(options.output);
    if (ext != ".cfg" && ext != ".cff")
        KException::raise("Usage", "-o %s: the new record is a .cfg (with its .dat) or a .cff",
                          options.output.c_str());
    RecordSource source(options);
    KRecord record;
    source.read(record);
    const KComtradeConfig& in = source.getReader().getConfig();
    const KComtradeConfig::FileType type = options.hasFormat ? options.format : in.fileType;
    const bool needs2013 = type == KComtradeConfig::BINARY32 || type == KComtradeConfig::FLOAT32;
    KComtradeConfig::Revision revision = options.hasRevision ? options.revision : in.revision;
    if (needs2013 && revision != KComtradeConfig::REV_2013) {
        if (options.hasRevision)
            KException::raise("Usage", "the %s data file type belongs to the 2013 revision, not %d",
                              KComtradeConfig::getFileTypeName(type), static_cast<int>(revision));
        revision = KComtradeConfig::REV_2013;
    }

    const KComtradeFile file = KComtradeRecordWriter::toFile(record, revision, type);
    // Every file under a temporary name first; read back; then all put in place.
    std::vector<std::unique_ptr<OutputFile>> files;
    auto write = [&](const std::string& path, const std::string& bytes) {
        files.push_back(std::make_unique<OutputFile>(path));
        if (fwrite(bytes.data(), 1, bytes.size(), files.back()->get()) != bytes.size() ||
            fflush(files.back()->get()) != 0)
            KException::raise("Convert", "%s: %s", path.c_str(), strerror(errno));
    };
    const std::filesystem::path target(options.output);
    if (ext == ".cff") {
        write(options.output, KComtradeWriter::writeCombined(file));
    } else {
        std::filesystem::path p = target;
        write(options.output, KComtradeWriter::writeConfig(file.config));
        write(p.replace_extension(".dat").string(), KComtradeWriter::writeData(file.config, file.data));
        if (!file.header.isEmpty()) write(p.replace_extension(".hdr").string(), file.header.c_str());
        if (!file.information.isEmpty())
            write(p.replace_extension(".inf").string(), file.information.c_str());
    }
    KComtradeReader reader;
    reader.setPrimaryValues(options.primary);
    KRecord back;
    reader.read(files.front()->getTemporaryPath().c_str(), back);
    const double largest = compare(record, back, type, options.output);
    for (auto& f : files) f->commit();

    std::string written;
    for (size_t i = 0; i < files.size(); ++i)
        written += (i == 0 ? "" : i + 1 == files.size() ? " and " : ", ") + files[i]->getPath();
    fprintf(out, "Wrote %s: %d %s, %s, %s\n", DisplayText::escape(written).c_str(),
            static_cast<int>(revision), KComtradeConfig::getFileTypeName(type),
            RecordSource::count(record.getTraceCount(), "channel").c_str(),
            RecordSource::count(record.getSampleCount(), "sample").c_str());
    fprintf(out, "Read back the same%s (largest difference %.6g)\n",
            largest == 0.0 ? ", exactly" : " within the resolution of the new file type", largest);
    return 0;
}
