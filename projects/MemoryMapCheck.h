#pragma once
#include <QString>
#include <vector>

class MemoryMap;
class MemoryMapElement;

// One finding of a check, located in the file it came from.
struct MemoryMapProblem {
    QString location;   // "map.xml:12", or the file alone for a preprocessor message
    QString message;
    int file = 0;       // index into MemoryMap::files(), for the order of the report
    quint32 line = 0;
};

// What a device description can get wrong without failing to load: starts and sizes that do not
// evaluate (they count as 0), segments that overlap, registers outside the segment of their
// group, names given twice, addresses past 2^32, bit fields wider than their register.
class MemoryMapCheck {
public:
    // Checks `map` as loaded; calculates its addresses first.
    explicit MemoryMapCheck(MemoryMap &map);

    [[nodiscard]] const std::vector<MemoryMapProblem> &problems() const { return m_problems; }

private:
    void checkEvaluations();
    void checkRanges(const std::vector<MemoryMapElement *> &elements);
    void checkOverlaps(const std::vector<MemoryMapElement *> &elements);
    void checkRegisterPlaces(const std::vector<MemoryMapElement *> &elements);
    void checkNames(const std::vector<MemoryMapElement *> &elements);
    void checkBitFields(const std::vector<MemoryMapElement *> &elements);
    void add(const MemoryMapElement *element, const QString &message);

    MemoryMap &m_map;
    std::vector<MemoryMapProblem> m_problems;
};
