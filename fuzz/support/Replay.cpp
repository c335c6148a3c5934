// fuzz_TARGET FOLDER: runs the target once with each file of its corpus.
#include "support/Fuzzing.h"

#include <QDir>
#include <QFile>

#include <cstdio>

int main(int argc, char** argv)
{
    const QDir corpus(argc == 2 ? QFile::decodeName(argv[1]) : QString());
    const QStringList names = corpus.entryList(QDir::Files, QDir::Name);
    for (const QString& name : names) {
        std::fprintf(stderr, "%s\n", qPrintable(name)); // the last one has failed
        QFile file(corpus.filePath(name));
        require(file.open(QIODevice::ReadOnly), "the file can be read");
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                               static_cast<std::size_t>(bytes.size()));
    }
    return names.isEmpty() ? 1 : 0;
}
