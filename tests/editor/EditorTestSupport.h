#pragma once
#include "editor/CodeEdit.h"
#include "editor/CodeEditQuestions.h"
#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <vector>

// Keeps what a document told and asked, and answers its questions from a queue (-1 when empty).
class RecordingQuestions : public CodeEditQuestionsInterface {
public:
    void tell(const QString &caption, const QString &title, const QString &message) override
    {
        told.push_back((caption + u'|' + title + u'|' + message).toStdString());
    }
    int ask(const QString &title, const QString &question, const QStringList &answers) override
    {
        asked.push_back((title + u'|' + question + u'|' + answers.join(u',')).toStdString());
        if (replies.empty())
            return -1;
        const int reply = replies.front();
        replies.erase(replies.begin());
        return reply;
    }

    std::vector<std::string> told;
    std::vector<std::string> asked;
    std::vector<int> replies;
};

// A document with questions recorded, its text set as if read from a UTF-8 file and nothing to
// undo. Without `text`, a document that has read nothing, so that a load detects the encoding.
struct Document {
    explicit Document(std::optional<QString> text = std::nullopt, int undoMode = 1)
    {
        CodeEditSettings settings;
        settings.undoMode = undoMode;
        edit.setSettings(settings);
        edit.setQuestions(&questions);
        if (text)
            edit.loadBytes(text->toUtf8());
    }
    std::string text() const { return edit.buffer().toText().toStdString(); }
    // The undo list as "LABEL: DESC | DESC" lines, most recent first.
    std::vector<std::string> undoSteps() const
    {
        std::vector<std::string> steps;
        for (int i = 0; i < edit.undoCount(); ++i) {
            const CodeEditTransaction *transaction = edit.undoTransaction(i);
            QStringList descriptions;
            for (const auto &action : transaction->actions)
                descriptions.append(action->description());
            steps.push_back((transaction->label() + QStringLiteral(": ") + descriptions.join(QStringLiteral(" | "))).toStdString());
        }
        return steps;
    }
    void type(const QString &text)
    {
        for (const QChar c : text) {
            if (c == u'\n')
                edit.insertLineBreak();
            else
                edit.typeCharacter(QString(c));
        }
    }

    RecordingQuestions questions;
    CodeEdit edit;
};
