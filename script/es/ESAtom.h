#pragma once
#include <QHash>
#include <QString>
#include <memory>
#include <vector>

// An interned string. Atoms are compared by pointer; `index` is the atom's position in the
// table and is what the bytecode stores.
class ESAtom {
public:
    ESAtom(int index, QString text) : index(index), text(std::move(text)) {}
    const int index;
    const QString text;
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

// The process-wide table of atoms. Atoms live until `shutdown`: a script that keeps building
// strings keeps growing the table, since every concatenation result is interned. Not guarded:
// only one thread at a time may intern.
class ESAtomTable {
public:
    static constexpr int cachedNumbers = 1024;   // the decimal texts of 0..1023 are cached

    static ESAtomTable &instance();
    // Releases every atom; only the process exit path may call it.
    static void shutdown();

    ESAtom *intern(const QString &text);
    ESAtom *atomForIndex(unsigned index);
    // The atom of a whole number's decimal text, for 0 <= number < 2^32.
    ESAtom *atomForWholeNumber(double number);
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

    QHash<Key, ESAtom *> m_map;
    std::vector<ESAtom *> m_largeNumbers;   // decimal texts beyond the cache, filled on use
    std::vector<std::unique_ptr<ESAtom>> m_atoms;
    ESAtom *m_numbers[cachedNumbers] = {};
    ESWellKnownAtoms m_names;
};
