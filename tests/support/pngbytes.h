// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtEndian>

// Hand-made PNG bytes, for files that lie about themselves.

inline QByteArray be32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

inline quint32 crc32(const QByteArray& bytes)
{
    quint32 crc = 0xffffffffu;
    for (char c : bytes) {
        crc ^= quint8(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// A chunk with its length and CRC.
inline QByteArray pngChunk(const QByteArray& type, const QByteArray& data)
{
    return be32(quint32(data.size())) + type + data + be32(crc32(type + data));
}

inline const QByteArray kPngSignature("\x89PNG\r\n\x1a\n", 8);
