// fuzz_TARGET FILE...: runs the target once with each file of its corpus, as libFuzzer does, too.
#include "support/Fuzzing.h"

#include <QFile>

#include <cstdio>

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        std::fprintf(stderr, "%s\n", argv[i]); // the last one has failed
        QFile file(QFile::decodeName(argv[i]));
        require(file.open(QIODevice::ReadOnly), "the file can be read");
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                               static_cast<std::size_t>(bytes.size()));
    }
    return argc > 1 ? 0 : 1;
}
