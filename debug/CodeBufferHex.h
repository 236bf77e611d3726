#pragma once
#include <QtGlobal>

// Upper-case hexadecimal digits written in place, for the text writers. Inline because each
// record of a large image goes through them many times.
namespace CodeBufferHex {

inline constexpr char digits[] = "0123456789ABCDEF";

inline char *putByte(char *to, unsigned byte)
{
    to[0] = digits[(byte >> 4) & 0xF];
    to[1] = digits[byte & 0xF];
    return to + 2;
}

// `count` digits of `value`, most significant first.
inline char *putDigits(char *to, quint32 value, int count)
{
    for (int i = count - 1; i >= 0; --i)
        to[count - 1 - i] = digits[(value >> (4 * i)) & 0xF];
    return to + count;
}

// Each byte as two digits followed by `separator` unless it is 0; adds the bytes to `sum`.
char *putBytes(char *to, const uchar *bytes, int count, char separator, unsigned &sum);

} // namespace CodeBufferHex
