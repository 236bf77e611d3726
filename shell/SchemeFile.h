#pragma once
#include "foundation/XMLPP2.h"
#include <QString>
#include <QStringList>
#include <memory>

// A file of the shell's own XML (message and key schemes, window descriptions) read through the
// preprocessor with the macros VARNEL_NAME and OWNER set, so one file can serve several
// products. Preprocessor messages are kept and go to the warning channel.
class SchemeFile : public XMLPP2 {
public:
    // Bigger files are not ours; the limit keeps a stray file from taking the memory.
    static constexpr qint64 maxFileSize = qint64(64) << 20;

    SchemeFile() = default;
    void error(const QString &message) override;

    // Reads `path` (a file, or a ":/" resource for the built-in copies) and resolves its
    // directives. Null, with the reason appended to `messages`, when it cannot be read, has no
    // root, or its root is not `rootName` (any root when rootName is null).
    [[nodiscard]] static std::unique_ptr<SchemeFile> read(const QString &path, const char *rootName,
                                                          QStringList *messages);
    [[nodiscard]] QString path() const { return m_path; }

private:
    QString m_path;
};

// "%1: %2" with the path shown as the user wrote it.
[[nodiscard]] QString fileMessage(const QString &path, const QString &text);

// An attribute's value as text; empty when the attribute is absent.
[[nodiscard]] QString attributeString(const XMLElement *element, const char *name);
