#include "compare/runidentities.h"

#include "compare/resultfileidentities.h"
#include "compare/sarifidentities.h"
#include "import/importcache.h"
#include "import/resultimport.h"

#include <QHashFunctions>

quint64 RunIdentities::keyDigest(QByteArrayView key)
{
    constexpr size_t KeySeed = 0x6b6579; // keys apart from paths of names
    return quint64(qHashBits(key.data(), size_t(key.size()), KeySeed));
}

bool readRunIdentities(const QString& path, RunIdentities* run, QString* error)
{
    run->path = path;
    switch (importFormatOf(path)) {
    case ImportFormat::Sarif:
        run->format = RunIdentities::Format::Sarif;
        return readSarifIdentities(path, run, error);
    case ImportFormat::JUnit: {
        ImportError failure;
        const QString converted = ImportCache::resultFileFor(path, &failure);
        if (converted.isNull()) {
            *error = failure.text();
            return false;
        }
        const bool read = readResultFileIdentities(converted, run, error);
        if (!read)
            *error = ImportCache::originalsIn(*error);
        return read;
    }
    case ImportFormat::None:
        break;
    }
    return readResultFileIdentities(path, run, error);
}
