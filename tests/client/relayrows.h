// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_RELAYROWS_H
#define HNIPC_TESTS_RELAYROWS_H

#include "expected/clientsignals.h"
#include "expected/samples.h"
#include "support/fakedaemons.h"

#include <QtTest/QTest>

#include <cstddef>

// Adds a test row for each signal that a daemon sends, by its index.
inline void addRows()
{
    QTest::addColumn<int>("index");
    for (const Expected::ClientSignal &row : Expected::clientSignals) {
        if (row.member) {
            QTest::newRow(row.member) << row.index;
        }
    }
}

inline void addServers()
{
    QTest::addColumn<int>("server");
    for (int server = 0; server < Expected::ServerCount; ++server) {
        QTest::newRow(Expected::identities[server].tag) << server;
    }
}

// One signal of each daemon, for tests in which all signals of a daemon behave the same.
inline const Expected::ClientSignal &rowOf(int server)
{
    const Expected::ClientSignal *row = Expected::clientSignals;
    while (row->server != server) {
        ++row;
    }
    return *row;
}

inline bool emitRow(FakeDaemons *daemons, const Expected::ClientSignal &row, int round,
                    const QList<QByteArray> &more = QList<QByteArray>())
{
    return daemons->emitSignal(
        row.server, row.member,
        Expected::wireBody(Expected::argumentSamples(row.signature, round), more));
}

// An argument of another type. A type of the interface has the name of its Qt type.
struct Misfit
{
    const char *type;
    const char *wire;
};

// Emits the signal without its last arguments, and with each argument replaced by these misfits.
// Returns how many arguments were replaced; -1 if a signal could not be sent.
template <std::size_t count>
int emitMisfits(FakeDaemons *daemons, const Expected::ClientSignal &row,
                const Misfit (&misfits)[count])
{
    const QList<Expected::Sample> fitting = Expected::argumentSamples(row.signature, 1);
    bool areSent = true;
    int replaced = 0;
    for (int i = 0; i < fitting.size(); ++i) {
        const QByteArray shorter = Expected::wireBody(fitting.mid(0, i));
        areSent = daemons->emitSignal(row.server, row.member, shorter) && areSent;
        for (const Misfit &misfit : misfits) {
            if (QByteArray(misfit.type) != fitting.at(i).value.typeName()) {
                QList<Expected::Sample> changed = fitting;
                changed[i].wire = misfit.wire;
                const QByteArray body = Expected::wireBody(changed);
                areSent = daemons->emitSignal(row.server, row.member, body) && areSent;
                ++replaced;
            }
        }
    }
    return areSent ? replaced : -1;
}

// clang-format off
const Misfit simpleMisfits[] = {
    { "bool", "true" }, { "int", "42" }, { "uint", "uint32 42" }, { "qulonglong", "uint64 42" },
    { "double", "42.5" }, { "QString", "'42'" }, { "QStringList", "['42']" }, { "", "int64 42" },
    { "", "int16 42" }, { "", "uint16 42" }, { "", "byte 0x2a" }, { "", "objectpath '/a'" },
    { "", "signature 's'" }, { "", "[byte 0x2a]" }, { "", "<42>" },
};
// clang-format on

// Of the simple misfits, one has the type of the argument.
const int simpleMisfitCount = sizeof simpleMisfits / sizeof simpleMisfits[0] - 1;

inline int parameterCount(const Expected::ClientSignal &row)
{
    return int(Expected::argumentSamples(row.signature, 1).size());
}

// Sends the client's signal that no daemon sends, by all names that it could have on the wire.
inline bool emitStatusChanged(FakeDaemons *daemons)
{
    for (int server = 0; server < Expected::ServerCount; ++server) {
        const QByteArray tag = Expected::identities[server].tag;
        for (const char *const member : { "StatusChanged", "_StatusChanged", "M4StatusChanged" }) {
            if (!daemons->emitSignal(server, member, "(1, 'printer')")
                || !daemons->emitSignal(server, tag + member, "(1, 'printer')")
                || !daemons->emitSignal(server, tag + '_' + member, "(1, 'printer')")) {
                return false;
            }
        }
    }
    return true;
}

#endif
