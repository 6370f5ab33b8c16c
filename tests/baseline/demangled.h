// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_DEMANGLED_H
#define HNIPC_TESTS_BASELINE_DEMANGLED_H

#include <QtCore/QByteArray>

#include <cstdlib>
#include <cxxabi.h>

// Compilers differ in the blank between two closing angle brackets.
inline QByteArray withoutBlanks(QByteArray type)
{
    while (type.contains("> >")) {
        type.replace("> >", ">>");
    }
    return type;
}

// The C++ name of a symbol or a type; the symbol itself if it has none.
inline QByteArray demangled(const QByteArray &symbol)
{
    int status = 0;
    char *const text = abi::__cxa_demangle(symbol.constData(), 0, 0, &status);
    const QByteArray result = text ? QByteArray(text) : symbol;
    std::free(text);
    return withoutBlanks(result);
}

#endif
