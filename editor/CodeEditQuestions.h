#pragma once
#include <QString>
#include <QStringList>

// How a document reaches the user. The environment shows message boxes; `tess edit` prints the
// messages and answers the questions from its options.
class CodeEditQuestionsInterface {
public:
    virtual ~CodeEditQuestionsInterface() = default;
    // A message box with one button: `caption` names who speaks ("Code Editor"), `title` heads it.
    virtual void tell(const QString &caption, const QString &title, const QString &message) = 0;
    // A question with the given answers; returns the index of the one taken, or -1 when the
    // question is left unanswered (the box was closed).
    virtual int ask(const QString &title, const QString &question, const QStringList &answers) = 0;
};
