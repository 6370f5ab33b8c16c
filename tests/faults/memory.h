// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_MEMORY_H
#define HNIPC_TESTS_MEMORY_H

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <malloc.h>
#include <unistd.h>

// Sanitizers keep what is freed for a while, so there is nothing to see in the memory in use; they
// find leaks on their own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HNIPC_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)                            \
    || __has_feature(memory_sanitizer)
#define HNIPC_SANITIZED
#endif
#endif

// The bytes that this process holds of the heap, or 0 where that is not told.
inline long heapInUse()
{
#if !defined(HNIPC_SANITIZED) && defined(__GLIBC__) && __GLIBC_PREREQ(2, 33)
    return long(mallinfo2().uordblks);
#else
    return 0;
#endif
}

// The kilobytes of memory that a process occupies, or 0 where that tells nothing.
inline long residentKilobytes(qint64 pid)
{
#ifdef HNIPC_SANITIZED
    Q_UNUSED(pid);
    return 0;
#else
    QFile file(QString::fromLatin1("/proc/%1/statm").arg(pid));
    return file.open(QIODevice::ReadOnly)
        ? file.readAll().split(' ').value(1).toLong() * (sysconf(_SC_PAGESIZE) / 1024)
        : 0;
#endif
}

#endif
