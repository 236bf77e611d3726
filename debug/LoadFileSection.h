#pragma once
#include <QString>
#include <memory>
#include <vector>

// One contiguous stretch of a load file: `size()` bytes meant for `address()` onwards.
class LoadFileSectionInterface {
public:
    virtual ~LoadFileSectionInterface();
    [[nodiscard]] virtual QString name() const = 0;
    [[nodiscard]] virtual quint32 address() const = 0;
    [[nodiscard]] virtual quint32 size() const = 0;
    // The content as stored, or with `cached` the copy that `load()` keeps.
    [[nodiscard]] virtual const uchar *data(bool cached) = 0;
    // A copy of the content, made on the first call and returned again until `unload()`.
    virtual const uchar *load() = 0;
    virtual void unload() = 0;
};

// A section over bytes that someone else owns (a binary file's buffer); they must outlive it.
class StandardLoadFileSection : public LoadFileSectionInterface {
public:
    StandardLoadFileSection(QString name, quint32 address, quint32 size, const uchar *bytes);
    ~StandardLoadFileSection() override;

    QString name() const override { return m_name; }
    quint32 address() const override { return m_address; }
    quint32 size() const override { return m_size; }
    const uchar *data(bool cached) override;
    const uchar *load() override;
    void unload() override;

protected:
    QString m_name;
    quint32 m_address;
    quint32 m_size;
    const uchar *m_bytes;
    std::unique_ptr<uchar[]> m_cache;   // null until load()
};

// The section of the text readers, which grows as records continue it. It owns its storage.
class ExpandingLoadFileSection : public StandardLoadFileSection {
public:
    explicit ExpandingLoadFileSection(quint32 address);
    ~ExpandingLoadFileSection() override;
    ExpandingLoadFileSection(const ExpandingLoadFileSection &) = delete;
    ExpandingLoadFileSection &operator=(const ExpandingLoadFileSection &) = delete;

    // Grows the content by `count` bytes and returns where they go, for the reader to decode
    // into. Earlier pointers into the content are invalid afterwards. Raises when the section
    // would pass 4 GiB or memory runs out.
    [[nodiscard]] uchar *extend(quint32 count);
    // The address after the last byte, which may be 2^32.
    [[nodiscard]] quint64 end() const { return quint64(m_address) + m_size; }

private:
    uchar *m_storage = nullptr;   // malloc'd, so that growth can stay in place
    size_t m_capacity = 0;
};

// The sections of a load file in file order. They are never sorted or merged.
class LoadFileSections {
public:
    LoadFileSectionInterface *add(std::unique_ptr<LoadFileSectionInterface> section);
    [[nodiscard]] int count() const { return int(m_sections.size()); }
    // Null outside 0..count()-1.
    [[nodiscard]] LoadFileSectionInterface *at(int index) const;
    void clear() { m_sections.clear(); }
    void swap(LoadFileSections &other) { m_sections.swap(other.m_sections); }

private:
    std::vector<std::unique_ptr<LoadFileSectionInterface>> m_sections;
};
