// Helper process for the crash-safety test: saves ever-changing blobs into the store at argv[1]
// and writes one byte to stdout after each completed save, until it is killed.
#include "platform/QSettingsStore.h"

#include <QByteArray>
#include <QString>

#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    valimbra::QSettingsStore store(QString::fromLocal8Bit(argv[1]));
    const int size = atoi(argv[2]);
    for (int i = 0;; ++i) {
        store.setData(QStringLiteral("valimbra.blob"), QByteArray(size, char('a' + i % 26)));
        store.flush();
        if (write(STDOUT_FILENO, "!", 1) != 1)
            return 1;
    }
}
