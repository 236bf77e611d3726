#pragma once
#include <QMap>
#include <QString>

class PCFA;

// A word list: an ordered map from exact (case-sensitive) name to the newest word of that name.
class Wordlist {
public:
    Wordlist(QString name, qint64 id) : name(std::move(name)), id(id) {}
    PCFA *find(const QString &word) const { return words.value(word, nullptr); }

    QString name;
    const qint64 id;   // the number the search-order words use
    QMap<QString, PCFA *> words;
};
