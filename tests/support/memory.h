// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_MEMORY_H
#define HNIPC_TESTS_MEMORY_H

#include "sanitized.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <malloc.h>
#include <unistd.h>

#ifdef HNIPC_SANITIZED
// A function of the sanitizers' allocator. The header that declares it is not part of g++.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

// Stands for an unknown value. With a sanitizer all values are unknown, because the sanitizer keeps
// freed memory for a while.
static const long untold = -1;
#ifdef HNIPC_SANITIZED
#define HNIPC_WHY_UNTOLD "a sanitizer replaces the heap"
#else
#define HNIPC_WHY_UNTOLD "this system does not count the memory in use"
#endif

#if defined(__GLIBC__) && !defined(HNIPC_SANITIZED)
#if __GLIBC_PREREQ(2, 33)
#define HNIPC_HAS_MALLINFO2
#endif
#endif

// The bytes of the heap that this process uses, as its allocator reports them.
inline long heapInUse()
{
#if defined(HNIPC_SANITIZED)
    return long(__sanitizer_get_current_allocated_bytes());
#elif defined(HNIPC_HAS_MALLINFO2)
    const struct mallinfo2 heap = mallinfo2();
    return long(heap.uordblks + heap.hblkhd);
#else
    return untold;
#endif
}

// Returns false if heapInUse() does not notice a new block, as under valgrind. Tests of memory are
// skipped then, because they would always pass.
inline bool isHeapCounted()
{
    const int size = 1000 * 1000; // more than the allocator caches
    const long before = heapInUse();
    const QByteArray block(size, 'x');
    // Another thread may free something meanwhile.
    return heapInUse() >= before + size / 2 && block.size() == size;
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
