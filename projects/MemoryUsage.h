#pragma once
#include <QString>
#include <QStringList>
#include <vector>

class MemoryMap;
class MemoryMapElement;

// A section of a linked program as the usage counts it: the bytes it takes where it runs and,
// for initialised data copied at start-up, where its initial values are stored.
struct PlacedSection {
    QString name;
    quint64 address = 0;       // where it runs
    quint64 loadAddress = 0;   // where its bytes are stored; equal to address unless copied
    quint64 size = 0;
    bool hasBytes = true;      // false for zero-filled sections: they take room only where they run
};

// What a program takes of each memory segment of a map, as a firmware engineer reads it after
// every link: "FLASH 12,340 / 262,144 4.7%".
class MemoryUsage {
public:
    struct Segment {
        const MemoryMapElement *segment;
        quint64 used = 0;
        QStringList sections;   // the sections with bytes in it, in the order given
    };

    // Counts the bytes of `sections` that fall into each memory segment of `map` (after its
    // addresses are calculated). A section that straddles segments counts in each for its part.
    MemoryUsage(MemoryMap &map, const std::vector<PlacedSection> &sections);

    [[nodiscard]] const std::vector<Segment> &segments() const { return m_segments; }
    // Bytes of sections that lie in no segment, and the sections they belong to.
    [[nodiscard]] quint64 outsideBytes() const { return m_outside; }
    [[nodiscard]] const QStringList &outsideSections() const { return m_outsideSections; }

    // The usage as a table, one line per segment: name, used / size, percentage.
    [[nodiscard]] QString table() const;

private:
    void place(const QString &name, quint64 start, quint64 size);

    std::vector<Segment> m_segments;
    quint64 m_outside = 0;
    QStringList m_outsideSections;
};
