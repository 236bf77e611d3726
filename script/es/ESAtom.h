#pragma once
#include <QHash>
#include <QString>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

// An interned string. Atoms are compared by pointer; `index` is the atom's position in the
// table and is what the bytecode stores.
class ESAtom {
public:
    ESAtom(int index, QString text);
    const int index;
    const QString text;
    // The array element the text names (its canonical decimal form below 2^31 - 1), or -1.
    const qint32 element;
};

// The names the engine itself looks up, interned once per process.
struct ESWellKnownAtoms {
    ESAtom *length = nullptr;
    ESAtom *prototype = nullptr;
    ESAtom *null = nullptr;
    ESAtom *trueAtom = nullptr;
    ESAtom *falseAtom = nullptr;
    ESAtom *eval = nullptr;
    ESAtom *arguments = nullptr;
    ESAtom *callee = nullptr;
    ESAtom *constructor = nullptr;
    ESAtom *index = nullptr;
};

// The process-wide table of atoms. Atoms live until `shutdown`; texts computed at run time are
// plain strings and become atoms only when used as keys. Not guarded: only one thread at a time
// may intern.
//
// The decimal texts of the whole numbers below `numberAtoms` (element keys, mostly) are kept by
// number instead of in the map: interning such a text, or asking for the atom of its number,
// finds the same atom without hashing.
class ESAtomTable {
public:
    static constexpr std::uint32_t numberAtoms = std::uint32_t(1) << 22;

    static ESAtomTable &instance();
    // Releases every atom. Only while no context exists: on the way out of the process, or in a
    // fuzzer between inputs.
    static void shutdown();

    // Drops the atoms made after the table held `count`: only while no context refers to them,
    // as a fuzzer does between inputs, keeping the names every context makes.
    void releaseAbove(int count);

    ESAtom *intern(const QString &text);
    ESAtom *atomForIndex(unsigned index);
    // The atom of a whole number's decimal text, for 0 <= number < 2^32.
    ESAtom *atomForWholeNumber(double number);
    ESAtom *numberAtom(std::uint32_t number);   // number < numberAtoms
    ESAtom *atomAt(int index) const { return m_atoms[std::size_t(index)].get(); }
    int size() const { return int(m_atoms.size()); }
    const ESWellKnownAtoms &names() const { return m_names; }

private:
    ESAtomTable();

    // The key of the map: long texts hash by their length and a sample of their characters,
    // so interning the growing result of a concatenation loop does not rehash every character.
    // The hash is taken once per key: a growing table moves its keys without hashing again.
    struct Key {
        explicit Key(const QString &text);
        QString text;
        std::size_t hash;
        bool operator==(const Key &other) const { return hash == other.hash && text == other.text; }
    };
    friend std::size_t qHash(const Key &key, std::size_t seed) noexcept;

    ESAtom *newAtom(const QString &text);

    // Number atoms in chunks made on first use, so one far index costs one chunk.
    static constexpr std::uint32_t chunkSize = 4096;
    using NumberChunk = std::array<ESAtom *, chunkSize>;

    QHash<Key, ESAtom *> m_map;
    std::vector<std::unique_ptr<NumberChunk>> m_numberChunks;
    std::vector<std::unique_ptr<ESAtom>> m_atoms;
    ESWellKnownAtoms m_names;
};
