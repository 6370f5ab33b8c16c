// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_MEMORY_H
#define HNIPC_TESTS_MEMORY_H

#include "sanitized.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <malloc.h>
#include <unistd.h>

// What there is no telling is the same number at all times, so that nothing seems to grow:
// sanitizers keep what is freed for a while, and find leaks on their own.
static const long untold = -1;

#if defined(__GLIBC__) && !defined(HNIPC_SANITIZED)
#if __GLIBC_PREREQ(2, 33)
#define HNIPC_COUNTS_HEAP
#endif
#endif

// The bytes that this process holds of the heap, by the allocator's own count.
inline long heapInUse()
{
#ifdef HNIPC_COUNTS_HEAP
    return long(mallinfo2().uordblks);
#else
    return untold;
#endif
}

// The kilobytes of memory that a process occupies.
inline long residentKilobytes(qint64 pid)
{
#ifdef HNIPC_SANITIZED
    Q_UNUSED(pid);
    return untold;
#else
    QFile file(QString::fromLatin1("/proc/%1/statm").arg(pid));
    return file.open(QIODevice::ReadOnly)
        ? file.readAll().split(' ').value(1).toLong() * (sysconf(_SC_PAGESIZE) / 1024)
        : untold;
#endif
}

#endif
