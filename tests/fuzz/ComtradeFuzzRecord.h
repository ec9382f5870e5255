#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeReader.h>
#include <kalvo/io/KComtradeRecordWriter.h>
#include <kalvo/io/KComtradeWriter.h>

// Decodes fuzz input as the data file of a small record whose shape (channel counts, sampling
// rates, revision) comes from the input's first three bytes.
inline void fuzzComtradeData(const uint8_t* bytes, size_t size, const char* fileType) {
    if (size < 3) return;
    const int analogs = bytes[0] % 9;
    const int digitals = bytes[1] % 40;
    const int shape = bytes[2];
    std::string cfg = std::string("S,D,") + ((shape & 1) ? "2013" : ((shape & 2) ? "1999" : "")) +
                      "\n" + std::to_string(analogs + digitals) + "," + std::to_string(analogs) +
                      "A," + std::to_string(digitals) + "D\n";
    const bool oldest = !(shape & 3);
    for (int i = 1; i <= analogs; ++i)
        cfg += std::to_string(i) + ",A" + std::to_string(i) +
               (oldest ? ",,,V,0.1,2,0,-32767,32767\n" : ",,,V,0.1,2,0,-32767,32767,10,1,P\n");
    for (int i = 1; i <= digitals; ++i)
        cfg += std::to_string(i) + ",D" + std::to_string(i) + (oldest ? ",0\n" : ",,,0\n");
    cfg += "50\n";
    switch ((shape >> 2) % 4) {
        case 0:
            cfg += "0\n0,5\n";
            break;  // time from stamps
        case 1:
            cfg += "1\n1000,5\n";
            break;
        case 2:
            cfg += "2\n4000,3\n50,8\n";
            break;  // fast then slow
        default:
            cfg += "3\n1000,2\n1000,2\n20,2000000000\n";
            break;  // an empty run, a long one
    }
    cfg += "01/02/2020,10:00:00.000000\n01/02/2020,10:00:00.001000\n";
    cfg += std::string(fileType) + "\n" + ((shape & 16) ? "0.5" : "1") + "\n";
    const std::string_view data(reinterpret_cast<const char*>(bytes + 3), size - 3);
    try {
        KComtradeFile f;
        f.readConfig(cfg, "fuzz.cfg", KComtradeFile::Options());
        f.readData(data, "fuzz.dat", KComtradeFile::Options());
        // Whatever reads must also become a record and be written back.
        KRecord record;
        KComtradeReader().build(f, record);
        const KComtradeFile back =
            KComtradeRecordWriter::toFile(record, f.config.revision, f.config.fileType);
        KComtradeWriter::writeData(back.config, back.data);
    } catch (const KException&) {
        // A clear error is a fine answer to junk.
    }
}
