#include <kalvo/io/KComtradeFile.h>

void KComtradeFile::read(const char* path, const Options& options) {
    *this = KComtradeFile();
    KComtradeStream stream;
    stream.open(path, options);
    take(stream);
    encoding = stream.getEncoding();
}

void KComtradeFile::read(const char* configFile, const char* dataFile, const Options& options) {
    *this = KComtradeFile();
    KComtradeStream stream;
    stream.open(configFile, dataFile, options);
    take(stream);
    encoding = stream.getEncoding();
}

void KComtradeFile::readConfig(std::string_view text, const char* name, const Options& options,
                               int firstLine) {
    KComtradeStream stream;
    stream.openConfig(text, name, options, firstLine);
    config = stream.getConfig();
    encoding = stream.getEncoding();
    for (int i = 0; i < stream.getWarnings().getCount(); ++i)
        warnings.add(stream.getWarnings().get(i));
}

void KComtradeFile::readData(std::string_view bytes, const char* name, const Options& options) {
    KComtradeStream stream;
    stream.useConfig(config, options);
    stream.openData(bytes, name);
    take(stream);
}

void KComtradeFile::readCombined(std::string_view bytes, const char* name,
                                 const Options& options) {
    *this = KComtradeFile();
    KComtradeStream stream;
    stream.openCombined(bytes, name, options);
    take(stream);
    encoding = stream.getEncoding();
}

void KComtradeFile::take(KComtradeStream& stream) {
    data = KComtradeData();
    times.clear();
    const KComtradeConfig& c = stream.getConfig();
    data.resize(0, static_cast<int>(c.analogs.size()), static_cast<int>(c.digitals.size()));
    KComtradeStream::Block block;
    while (stream.next(block)) {
        data.append(block.data);
        times.insert(times.end(), block.times.begin(), block.times.end());
    }
    config = c;
    config.rates = stream.getRates();
    header = stream.getHeader();
    information = stream.getInformation();
    for (int i = 0; i < stream.getWarnings().getCount(); ++i)
        warnings.add(stream.getWarnings().get(i));
    configPath = stream.getConfigPath();
    dataPath = stream.getDataPath();
    triggerTime = stream.getTriggerTime();
}
