// SPDX-License-Identifier: MIT

// Calls fuzzOne() with the inputs of the fuzzing engine or, without it, with the files of a corpus.
#include "Fuzz.h"

#include <QtGlobal>

namespace {

void discard(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

#if defined(KESTRUN_FUZZ)

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    qInstallMessageHandler(discard);
    fuzzOne(QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    return 0;
}

#else

#include <QDirIterator>
#include <QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    qInstallMessageHandler(discard);
    int count = 0;
    QDirIterator files(QString::fromLocal8Bit(argc > 1 ? argv[1] : "."), QDir::Files);
    while (files.hasNext()) {
        QFile file(files.next());
        // Printed first, so that the last line names an input that ends the program.
        std::printf("%s\n", qPrintable(file.fileName()));
        std::fflush(stdout);
        require(file.open(QIODevice::ReadOnly));
        fuzzOne(file.readAll());
        ++count;
    }
    return count > 0 ? 0 : 1;
}

#endif
