#pragma once

// What every harness needs: the input as Qt bytes, a crash for a broken property, a quiet Qt,
// the offscreen application decoders need, and a scratch directory of the process's own.

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QList>
#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace valimbra::fuzz {

// A property the program promises does not hold: crash, so libFuzzer keeps the input.
inline void require(bool holds) {
    if (!holds)
        __builtin_trap();
}

inline QByteArray bytes(const uint8_t* data, size_t size) {
    return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));
}

// The input cut at each `separator`, into at most `parts` pieces (the last keeps the rest).
inline QList<QByteArray> split(const QByteArray& input, char separator, qsizetype parts) {
    QList<QByteArray> out;
    qsizetype from = 0;
    while (out.size() + 1 < parts) {
        const qsizetype at = input.indexOf(separator, from);
        if (at < 0)
            break;
        out.append(input.mid(from, at - from));
        from = at + 1;
    }
    out.append(input.mid(from));
    while (out.size() < parts)
        out.append(QByteArray());
    return out;
}

// Malformed input makes Qt warn on every run, which would bury libFuzzer's own lines; critical
// and fatal messages still show (and fatal ones still abort). VALIMBRA_FUZZ_VERBOSE shows all.
inline void quietQt() {
    if (qEnvironmentVariableIsSet("VALIMBRA_FUZZ_VERBOSE"))
        return;
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type == QtCriticalMsg || type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
}

// The application image decoding needs (fonts, image plugins), on the offscreen platform as in
// the tests. Made once and never destroyed: libFuzzer exits from inside its loop.
inline void startGuiApplication() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "valimbra-fuzz";
    static char* argv[] = {name, nullptr};
    static auto* app = new QGuiApplication(argc, argv);
    Q_UNUSED(app);
    // The font database loads at the first text drawn; once here, not inside a timed input.
    (void)QFontDatabase::families();
}

// A directory of this process's own under $TMPDIR, removed when the process exits normally.
inline QString scratchDir() {
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/valimbra-fuzz-XXXXXX"));
    return dir.path();
}

// Writes a file whose modification time no earlier write in this process used, so caches that
// trust size and time (QSettings keeps parsed files by path) always read it again.
inline bool writeFile(const QString& path, const QByteArray& content) {
    static qint64 stamp = 1'000'000'000;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const bool written = file.write(content) == content.size() && file.flush();
    file.setFileTime(QDateTime::fromSecsSinceEpoch(++stamp, Qt::UTC),
                     QFileDevice::FileModificationTime);
    return written;
}

} // namespace valimbra::fuzz
