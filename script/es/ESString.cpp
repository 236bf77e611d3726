#include "script/es/ESString.h"
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// Room for appends, as a share of the length: half again keeps a text built by appending
// within twice its size, and the number of moves logarithmic.
qsizetype roomyCapacity(qsizetype length)
{
    constexpr qsizetype smallest = 16;
    return length < smallest ? smallest : length + length / 2;
}

} // namespace

ESString::ESString(Buffer *buffer, qsizetype length) : m_buffer(buffer), m_length(length)
{
    ++buffer->references;
}

ESString::Buffer *ESString::newBuffer(qsizetype capacity)
{
    auto *buffer = new Buffer;
    try {
        reserve(buffer, capacity);
    } catch (...) {
        delete buffer;
        throw;
    }
    return buffer;
}

// Large buffers grow by realloc, which moves pages rather than characters, so a growing text
// never needs its old and new copies at once.
void ESString::reserve(Buffer *buffer, qsizetype capacity)
{
    if (capacity <= buffer->capacity)
        return;
    void *data = std::realloc(buffer->data, std::size_t(capacity) * sizeof(char16_t));
    if (!data)
        throw std::bad_alloc();
    buffer->data = static_cast<char16_t *>(data);
    buffer->capacity = capacity;
}

void ESString::write(Buffer *buffer, QStringView text)
{
    if (!text.isEmpty())
        std::memcpy(buffer->data + buffer->used, text.utf16(), std::size_t(text.size()) * sizeof(char16_t));
    buffer->used += text.size();
}

ESString *ESString::make(QStringView text)
{
    Buffer *buffer = newBuffer(text.size());
    write(buffer, text);
    return new ESString(buffer, text.size());
}

ESString *ESString::concat(QStringView left, QStringView right)
{
    Buffer *buffer = newBuffer(roomyCapacity(left.size() + right.size()));
    write(buffer, left);
    write(buffer, right);
    return new ESString(buffer, buffer->used);
}

ESString *ESString::append(const ESString *left, QStringView right)
{
    Buffer *buffer = left->m_buffer;
    if (left->m_length != buffer->used)
        return concat(left->view(), right);
    const qsizetype length = left->m_length + right.size();
    if (length > buffer->capacity) {
        // `right` may be a view of this very buffer (s + s), which the move would leave behind.
        const auto begin = quintptr(buffer->data);
        const auto text = quintptr(right.utf16());
        const bool inside = !right.isEmpty() && text >= begin
                            && text < begin + quintptr(buffer->used) * sizeof(char16_t);
        reserve(buffer, roomyCapacity(length));
        if (inside)
            right = QStringView(buffer->data + (text - begin) / sizeof(char16_t), right.size());
    }
    write(buffer, right);
    return new ESString(buffer, length);
}

void ESString::destroy()
{
    if (--m_buffer->references == 0) {
        std::free(m_buffer->data);
        delete m_buffer;
    }
    delete this;
}
