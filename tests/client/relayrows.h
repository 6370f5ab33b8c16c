// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_RELAYROWS_H
#define HNIPC_TESTS_RELAYROWS_H

#include "expected/clientsignals.h"
#include "expected/samples.h"
#include "support/fakedaemons.h"

#include <QtTest/QTest>

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
