#pragma once
#include <QString>
#include <QStringView>
#include <cstdint>

// The text of a plain (not interned) string value, tag 4: a length over a buffer that only
// grows at its end. Appending to a string whose length reaches its buffer's end writes the new
// text behind it and makes a longer string over the same buffer; every string keeps seeing its
// own prefix, which never changes. So building a text piece by piece takes linear time and one
// buffer, however many values hold the intermediate results.
//
// Counted by the values that hold it (ESValue's copies and moves keep the count); the count is
// not atomic, so a string belongs to the thread of the context that made it. A view lives until
// the next append to the same buffer, which may move the characters: copy it before running
// script code.
class ESString {
public:
    ESString(const ESString &) = delete;
    ESString &operator=(const ESString &) = delete;

    // A new string of `text`; the first value that holds it takes the first count.
    [[nodiscard]] static ESString *make(QStringView text);
    // `left` followed by `right`, with room behind it for further appends.
    [[nodiscard]] static ESString *concat(QStringView left, QStringView right);
    // `left` followed by `right`: in place when `left` reaches the end of its buffer.
    [[nodiscard]] static ESString *append(const ESString *left, QStringView right);

    QStringView view() const { return QStringView(m_buffer->data, m_length); }
    qsizetype length() const { return m_length; }
    QString toString() const { return view().toString(); }

    void retain() { ++m_references; }
    void release()
    {
        if (--m_references == 0)
            destroy();
    }

private:
    // Characters [0, used) are written; every string over the buffer has a length <= used.
    struct Buffer {
        char16_t *data = nullptr;
        qsizetype used = 0;
        qsizetype capacity = 0;
        std::int32_t references = 0;   // strings over this buffer
    };

    ESString(Buffer *buffer, qsizetype length);
    ~ESString() = default;
    static Buffer *newBuffer(qsizetype capacity);
    static void reserve(Buffer *buffer, qsizetype capacity);
    static void write(Buffer *buffer, QStringView text);
    void destroy();

    Buffer *m_buffer;
    qsizetype m_length;
    std::int32_t m_references = 0;
};
