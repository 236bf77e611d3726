#include "foundation/AtomicWrite.h"
#include <QSaveFile>

bool writeAtomically(const QString &path, const QByteArray &bytes, QString *why)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush()
        && file.commit())
        return true;
    if (why)
        *why = file.errorString();
    file.cancelWriting();
    return false;
}
