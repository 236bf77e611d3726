#include "foundation/MD5Sum.h"
#include <QCryptographicHash>
#include <QFile>
#include <cstring>

MD5Sum::~MD5Sum() = default;

const char *MD5Sum::digest()
{
    if (!m_final) {
        const QByteArray hex =
            QCryptographicHash::hash(QByteArrayView(m_data, m_length), QCryptographicHash::Md5)
                .toHex();
        std::memcpy(m_digest, hex.constData(), 32);
        m_digest[32] = '\0';
        m_final = true;
    }
    return m_digest;
}

QString MD5Sum::md5OfBytes(const char *data, qsizetype length)
{
    MD5Sum sum(data, length);
    return QString::fromLatin1(sum.digest());
}

QString MD5Sum::md5OfFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    const QByteArray bytes = file.readAll();
    return md5OfBytes(bytes.constData(), bytes.size());
}

QString MD5Sum::md5OfString(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    return md5OfBytes(bytes.constData(), bytes.size());
}
