// SPDX-License-Identifier: MIT
#include "app/imagefile.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QSaveFile>
#include <QtEndian>

namespace {

constexpr qint64 kMiB = 1024 * 1024;
constexpr qint64 kBytesPerDocumentPixel = 4;
const QByteArray kPngSignature("\x89PNG\r\n\x1a\n", 8);
constexpr qint64 kPngChunkFrame = 12; // length, type and CRC around the data
constexpr quint32 kPngMaxChunkLength = 0x7fffffff;

bool is_regular_readable_file(const QString& path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isReadable();
}

// Qt's PNG reader trusts a chunk's declared length and allocates and reads
// for it, which turns a tiny file into seconds of work and a gigabyte of
// memory. Walking the chunk list first costs one small read per chunk.
bool png_chunks_fit(QFile& file)
{
    const qint64 size = file.size();
    qint64 offset = kPngSignature.size();
    while (offset + 8 <= size) {
        if (!file.seek(offset))
            return false;
        const QByteArray header = file.read(8);
        if (header.size() != 8)
            return false;
        const quint32 length = qFromBigEndian<quint32>(header.constData());
        if (length > kPngMaxChunkLength || offset + kPngChunkFrame + qint64(length) > size)
            return false;
        if (header.mid(4, 4) == "IEND")
            return true;
        offset += kPngChunkFrame + length;
    }
    // Ran out of chunks without an end marker: leave the verdict to the reader.
    return offset == size;
}

bool passes_format_checks(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    if (file.peek(kPngSignature.size()) == kPngSignature)
        return png_chunks_fit(file);
    return true;
}

bool fits_allocation_limit(const QSize& size)
{
    if (!size.isValid())
        return true; // the reader's own limit still applies while decoding
    const qint64 bytes = qint64(size.width()) * size.height() * kBytesPerDocumentPixel;
    return bytes <= qint64(kImageAllocationLimitMiB) * kMiB;
}

} // namespace

QImage load_image_file(const QString& path)
{
    if (!is_regular_readable_file(path) || !passes_format_checks(path))
        return {};

    QImageReader::setAllocationLimit(kImageAllocationLimitMiB);
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    // Phones store portraits sideways with a tag saying how to turn them.
    reader.setAutoTransform(true);
    // A quarter turn swaps the sides but keeps the area, so the stored size
    // checks the upright picture too.
    if (!fits_allocation_limit(reader.size()))
        return {};

    QImage image;
    if (!reader.read(&image))
        return {};
    // Converting here, while the decoded image has a single owner, lets a
    // same-depth conversion happen in place instead of doubling the memory.
    image.convertTo(QImage::Format_ARGB32_Premultiplied);
    // Qt reads a name ending in "@2x" as a high-density picture, and every
    // painter on the document would then scale by that ratio.
    image.setDevicePixelRatio(1.0);
    return image;
}

bool save_image_file(const QImage& image, const QString& path)
{
    const QByteArray format = QFileInfo(path).suffix().toLower().toLatin1();
    if (format.isEmpty() || !QImageWriter::supportedImageFormats().contains(format))
        return false;

    // Encoding first means a picture the writer refuses never touches the
    // file, even when it has to be written in place.
    QByteArray encoded;
    QBuffer buffer(&encoded);
    buffer.open(QIODevice::WriteOnly);
    if (!QImageWriter(&buffer, format).write(image))
        return false;

    QSaveFile file(path);
    // A folder the user may not write to can still hold a file they may
    // overwrite; there the safe detour through a temporary file is impossible.
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (file.write(encoded) != encoded.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}
