#pragma once
#include <QString>

// The one exception of the tool, load-file, archive, debug and clang layers. Thrown by value,
// caught by reference; a catcher shows or prints the text and never switches on it.
class HException {
public:
    explicit HException(QString message) : m_message(std::move(message)) {}
    virtual ~HException();
    const QString &message() const { return m_message; }

private:
    QString m_message;
};
