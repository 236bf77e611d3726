#pragma once
#include <QByteArray>
#include <QString>
#include <cstdio>
#include <cstdlib>
#include <random>

// The undo benchmark's workload, shared by the program over CodeEdit and the one over
// QTextDocument so that both make the very same edits: COUNT one-character insertions at
// random positions of FILE, each its own operation, then undo until nothing is left. Both print
// a digest of the text after the insertions and whether undoing restored the original.
struct UndoWorkload {
    QString file;
    long count = 1000000;
    unsigned long long seed = 1;

    static UndoWorkload fromArguments(int argc, char **argv)
    {
        if (argc < 2) {
            std::fprintf(stderr, "usage: %s FILE [COUNT [SEED]]\n", argv[0]);
            std::exit(2);
        }
        UndoWorkload workload;
        workload.file = QString::fromLocal8Bit(argv[1]);
        if (argc > 2)
            workload.count = std::strtol(argv[2], nullptr, 10);
        if (argc > 3)
            workload.seed = std::strtoull(argv[3], nullptr, 10);
        return workload;
    }
};

// The positions: a line drawn from the line count, a column from the line's length plus one.
class UndoPositions {
public:
    explicit UndoPositions(unsigned long long seed) : m_random(seed) {}
    int next(int bound) { return int(m_random() % std::uint64_t(bound)); }
    static QString character(long i) { return QString(QChar(u'a' + int(i % 26))); }

private:
    std::mt19937_64 m_random;
};

inline quint64 textDigest(const QString &text)
{
    quint64 hash = 1469598103934665603ULL;
    for (const QChar c : text) {
        hash ^= c.unicode();
        hash *= 1099511628211ULL;
    }
    return hash;
}
