#pragma once
#include <QFile>
#include <QString>

namespace QTx {

// How a checked file reaches the user. The environment shows message boxes; the tool, which has
// no screen, keeps the default that consents to everything and prints what it is told.
class CheckedFileQuestionsInterface {
public:
    virtual ~CheckedFileQuestionsInterface() = default;
    // True for consent.
    virtual bool ask(const QString &title, const QString &question) = 0;
    virtual void tell(const QString &title, const QString &message) = 0;
};

// A file that asks before replacing an existing file (when asked to) and before creating a
// missing directory for writing.
class QCheckedFile : public QFile {
    Q_OBJECT
public:
    enum ConfirmationFlag { ConfirmReplace = 2 };

    explicit QCheckedFile(const QString &name, int confirmationFlags = 0);

    bool open(QIODevice::OpenMode mode) override;

    // Process-wide hook; null restores the default. Set at start-up, before other threads run.
    static void setQuestions(CheckedFileQuestionsInterface *questions);
    static CheckedFileQuestionsInterface &questions();

private:
    int m_confirmationFlags;
};

} // namespace QTx
