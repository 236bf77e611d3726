#pragma once
#include <QString>

// The MD5 digest of a byte block that the caller keeps alive, as 32 lower-case hex digits;
// computed on the first request and kept.
class MD5Sum {
public:
    MD5Sum(const char *data, qsizetype length) : m_data(data), m_length(length) {}
    virtual ~MD5Sum();

    const char *digest();

    static QString md5OfBytes(const char *data, qsizetype length);
    // Empty for a file that cannot be opened.
    static QString md5OfFile(const QString &path);
    static QString md5OfString(const QString &text);   // of the text's UTF-8 bytes

private:
    const char *m_data;
    qsizetype m_length;
    char m_digest[33] = {};
    bool m_final = false;
};
