// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>

// Memory figures of this process from Linux's /proc, shared by the tests, the
// fuzz replay and the benchmark.

// A field of /proc/self/status in KiB, or -1 when the system has none.
inline long procStatusKiB(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray prefix = QByteArray(field) + ':';
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).trimmed().split(' ').first().toLong();
    }
    return -1;
}

// Lowers the kernel's peak-RSS mark (VmHWM) to the current RSS, so that the
// next reading of VmHWM is the peak of what runs in between.
inline bool resetPeakRss()
{
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    return refs.open(QIODevice::WriteOnly) && refs.write("5") == 1;
}
