#include "foundation/CheckedFile.h"
#include <QDir>
#include <QFileInfo>
#include <cstdio>

namespace QTx {

namespace {

class ConsentingQuestions final : public CheckedFileQuestionsInterface {
public:
    bool ask(const QString &, const QString &) override { return true; }
    void tell(const QString &, const QString &message) override
    {
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
    }
};

CheckedFileQuestionsInterface *installedQuestions = nullptr;

QString warningTitle()
{
    return QStringLiteral("Warning");
}

} // namespace

QCheckedFile::QCheckedFile(const QString &name, int confirmationFlags)
    : QFile(name), m_confirmationFlags(confirmationFlags)
{
}

void QCheckedFile::setQuestions(CheckedFileQuestionsInterface *questions)
{
    installedQuestions = questions;
}

CheckedFileQuestionsInterface &QCheckedFile::questions()
{
    static ConsentingQuestions consenting;
    return installedQuestions ? *installedQuestions : consenting;
}

// Only writing can need a directory; reading opens as it stands.
bool QCheckedFile::open(QIODevice::OpenMode mode)
{
    CheckedFileQuestionsInterface &user = questions();
    if ((m_confirmationFlags & ConfirmReplace) && exists()) {
        const QString question = QStringLiteral("The file '") + fileName() +
                                 QStringLiteral("' already exists.\n\n") +
                                 QStringLiteral("Do you want to replace it?");
        if (!user.ask(warningTitle(), question))
            return false;
    }
    if (mode & QIODevice::WriteOnly) {
        const QString directory = QFileInfo(fileName()).absolutePath();
        if (!QFileInfo::exists(directory)) {
            const QString question = QStringLiteral("The directory '") + directory +
                                     QStringLiteral("' does not exist.\n\nDo you want to create it?");
            if (!user.ask(warningTitle(), question))
                return false;
            if (!QDir().mkpath(directory)) {
                user.tell(warningTitle(), QStringLiteral("Cannot create directory '") + directory +
                                            QStringLiteral("'."));
                return false;
            }
        }
    }
    return QFile::open(mode);
}

} // namespace QTx
