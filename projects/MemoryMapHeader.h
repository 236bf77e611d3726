#pragma once
#include <QByteArray>
#include <QString>
#include <vector>

class MemoryMap;
class MemoryMapElement;

// The C header of a device's registers, written from its memory map: for firmware that reaches
// the hardware by name. Every macro name is made of the names in the map, upper case, with
// anything that cannot stand in a C name turned into "_":
//
//     #define FLASH_BASE 0x08000000U              a memory segment: start and size
//     #define FLASH_SIZE 0x00040000U
//     #define GPIOA_BASE 0x40020000U              a register group
//     #define GPIOA_MODER (*(volatile uint32_t *)0x40020000U)   a register, of its width
//     #define GPIOA_MODER_ADDRESS 0x40020000U
//     #define GPIOA_MODER_MODE1_BIT 2             a bit field: first bit and mask
//     #define GPIOA_MODER_MODE1_MASK 0x0000000CU
//     #define GPIOA_MODER_MODE1_OUTPUT 1          an enum of the field: its value
//     #define USART1_VECTOR 53                    a vector: its number
//
// Groups inside groups join their names. A register outside every group is named alone.
class MemoryMapHeader {
public:
    struct Options {
        QString guard;        // the include guard; empty: made from the map's file name
        QString prefix;       // put in front of every macro name
        QString sourceName;   // the map as the opening comment names it
        QString generator;    // the program, for the opening comment
    };

    // Throws HException, naming the file and line, when the map would give a wrong header: a
    // start that does not evaluate, a bit field outside its register, two different values
    // for one macro name. Calculates the map's addresses.
    [[nodiscard]] static QByteArray write(MemoryMap &map, const Options &options);

    // "GPIO A" -> "GPIO_A", "9lives" -> "_9LIVES".
    [[nodiscard]] static QString identifier(const QString &name);

private:
    MemoryMapHeader(MemoryMap &map, const Options &options);
    // Writes the macros of `top` and everything below it, in document order.
    void elements(const MemoryMapElement *top);
    void element(const MemoryMapElement *element, const QString &name);
    void segment(const MemoryMapElement *element, const QString &name);
    void group(const MemoryMapElement *element, const QString &name);
    void registerMacros(const MemoryMapElement *element, const QString &name);
    void bitField(const MemoryMapElement *element, const QString &name);
    void define(const MemoryMapElement *element, const QString &name, const QString &value);
    void comment(const MemoryMapElement *element, const QString &name);

    // A macro written so far: where its name and value stand in m_text.
    struct Definition {
        qsizetype name;
        qsizetype nameLength;
        qsizetype valueLength;
        const MemoryMapElement *element;
    };
    [[nodiscard]] QByteArrayView nameOf(const Definition &definition) const;
    [[nodiscard]] QByteArrayView valueOf(const Definition &definition) const;
    void growSlots();

    MemoryMap &m_map;
    QString m_prefix;
    QByteArray m_text;
    // The macros by name, in an open-addressed table of indices into m_definitions (plus one;
    // 0 is a free slot) over the text itself: a header of many thousand registers is written
    // without a copy of each name.
    std::vector<Definition> m_definitions;
    std::vector<quint32> m_slots;
};
