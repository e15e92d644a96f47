// valimbra-search [--time] NAMES_FILE QUERY...
//
// Indexes the names of NAMES_FILE (one a line, optionally "name<TAB>activationCount"; the
// 1-based line number is the bundle identifier) once, then for each query prints its ranked
// results as "score<TAB>name" lines and a summary line "#<TAB>query<TAB>count", followed with
// --time by "<TAB>microseconds" spent in that query's search.

#include "catalogue/SearchIndex.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

using namespace valimbra;

namespace {

constexpr const char* kUsage = "[Valimbra] usage: valimbra-search [--time] NAMES_FILE QUERY...\n";

int usageError(const char* problem = nullptr, const QString& detail = {}) {
    if (problem)
        std::fprintf(stderr, "[Valimbra] valimbra-search: %s%s\n", problem,
                     detail.toLocal8Bit().constData());
    std::fputs(kUsage, stderr);
    return 2;
}

// One entry per non-empty line; a trailing "<TAB>integer" is the activation count.
QList<AppEntry> readEntries(const QByteArray& contents) {
    QList<AppEntry> entries;
    qint32 lineNumber = 0;
    qsizetype start = 0;
    while (start < contents.size()) {
        qsizetype end = contents.indexOf('\n', start);
        if (end < 0)
            end = contents.size();
        ++lineNumber;
        QByteArray line = contents.mid(start, end - start);
        start = end + 1;
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty())
            continue;
        qint64 activationCount = 0;
        if (const qsizetype tab = line.lastIndexOf('\t'); tab >= 0) {
            bool ok = false;
            const qint64 count = line.mid(tab + 1).trimmed().toLongLong(&ok);
            if (ok) {
                activationCount = count;
                line.truncate(tab);
            }
        }
        AppEntry e;
        e.id = lineNumber;
        e.bundleID = QString::number(lineNumber);
        e.name = QString::fromUtf8(line);
        e.nameLower = AppEntry::lowercased(e.name);
        e.activationCount = activationCount;
        entries.append(std::move(e));
    }
    return entries;
}

} // namespace

int main(int argc, char** argv) {
    bool timed = false;
    int i = 1;
    for (; i < argc && argv[i][0] == '-' && argv[i][1] == '-'; ++i) {
        if (std::strcmp(argv[i], "--") == 0) {
            ++i;
            break;
        }
        if (std::strcmp(argv[i], "--help") == 0) {
            std::fputs(kUsage + std::strlen("[Valimbra] "), stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "--time") != 0)
            return usageError("unknown option ", QString::fromLocal8Bit(argv[i]));
        timed = true;
    }
    if (argc - i < 2)
        return usageError();

    const QString path = QString::fromLocal8Bit(argv[i++]);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return usageError("cannot read ", path + u": "_qs + file.errorString());
    const QList<AppEntry> entries = readEntries(file.readAll());
    file.close();

    SearchIndex index;
    index.rebuild(entries);
    index.waitForPendingWrites();

    std::string out;
    for (; i < argc; ++i) {
        const QString query = QString::fromLocal8Bit(argv[i]);
        const auto started = std::chrono::steady_clock::now();
        const QList<AppEntry> results = index.search(query);
        const std::chrono::duration<double, std::micro> took =
            std::chrono::steady_clock::now() - started;

        out.clear();
        for (const AppEntry& e : results) {
            out += QString::number(e.searchScore, 'f', 2).toStdString();
            out += '\t';
            out += e.name.toStdString();
            out += '\n';
        }
        out += "#\t";
        out += query.toStdString();
        out += '\t';
        out += std::to_string(results.size());
        if (timed) {
            out += '\t';
            out += QString::number(took.count(), 'f', 1).toStdString();
        }
        out += '\n';
        std::fwrite(out.data(), 1, out.size(), stdout);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
